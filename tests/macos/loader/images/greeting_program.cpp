// Prints what it got from libgreeting.dylib, then its arguments; exits with their number.
#include <cstdio>

#include "greeting.h"

int main(int argc, char** argv) {
    std::printf("greeting %d\n", greetingNumber());
    std::printf("spare %d\n", &spareNumber == nullptr ? -1 : spareNumber());
    for (int i = 1; i < argc; ++i) {
        std::printf("argument %s\n", argv[i]);
    }
    return argc - 1;
}
