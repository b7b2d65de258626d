#include <cstdio>

#include "numbers.h"

int main() {
    std::printf("%d %d %s\n", systemNumber(), systemVariable,
                &gnu_get_libc_version == nullptr ? "no other" : "another's");
    return 0;
}
