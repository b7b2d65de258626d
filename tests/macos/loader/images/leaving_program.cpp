// Prints what is destroyed when a program leaves main, in that order.
#include <cstdio>

namespace {

struct Noted {
    const char* name;
    ~Noted() { std::puts(name); }
};

const Noted global{"global"};
thread_local Noted ofTheThread{"thread-local"};

}  // namespace

int main() {
    std::puts(ofTheThread.name == nullptr ? "" : "main");
    return 0;
}
