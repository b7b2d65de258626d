// The definition that comes next in the order in which the loader looks symbols up: the one that an
// interposer of this program stands in front of.
#ifndef CONTRACT_NEXT_DEFINITION_H
#define CONTRACT_NEXT_DEFINITION_H

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

// What this program puts in front of a library's symbol must be visible to the loader.
#define INTERPOSED __attribute__((visibility("default")))

template <typename Function>
Function nextDefinition(const char* symbol) {
    void* const found = dlsym(RTLD_NEXT, symbol);
    if (found == nullptr) {
        std::fprintf(stderr, "contract tests: no definition of %s behind this one\n", symbol);
        std::abort();
    }
    return reinterpret_cast<Function>(found);
}

#endif
