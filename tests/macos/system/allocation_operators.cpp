// The allocation functions of macOS's C++ library, of which a process has one set: in terms of
// malloc, so that what one image allocates another may free.
//
// A failure ends the process: std::bad_alloc would have to be of the type that the image's own copy
// of the C++ library catches, which nothing outside the image can make.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "symbol_table.h"

namespace system_library {
namespace {

void* tryAligned(size_t size, size_t alignment) {
    void* memory = nullptr;
    const size_t least = std::max(alignment, sizeof(void*));
    return posix_memalign(&memory, least, std::max(size, size_t{1})) == 0 ? memory : nullptr;
}

void* tryPlain(size_t size) {
    return std::malloc(std::max(size, size_t{1}));
}

void* checked(void* memory, size_t size) {
    if (memory == nullptr) {
        std::fprintf(stderr, "system library: operator new has no %zu bytes left\n", size);
        std::abort();
    }
    return memory;
}

void* plain(size_t size) {
    return checked(tryPlain(size), size);
}

void* plainOrNull(size_t size, const void*) {
    return tryPlain(size);
}

void* aligned(size_t size, size_t alignment) {
    return checked(tryAligned(size, alignment), size);
}

void* alignedOrNull(size_t size, size_t alignment, const void*) {
    return tryAligned(size, alignment);
}

// However large and however aligned it was said to be.
void release(void* memory) {
    std::free(memory);
}

const Registration registration{
    symbol("__Znwm", plain),
    symbol("__Znam", plain),
    symbol("__ZnwmRKSt9nothrow_t", plainOrNull),
    symbol("__ZnamRKSt9nothrow_t", plainOrNull),
    symbol("__ZnwmSt11align_val_t", aligned),
    symbol("__ZnamSt11align_val_t", aligned),
    symbol("__ZnwmSt11align_val_tRKSt9nothrow_t", alignedOrNull),
    symbol("__ZnamSt11align_val_tRKSt9nothrow_t", alignedOrNull),
    symbol("__ZdlPv", release),
    symbol("__ZdaPv", release),
    symbol("__ZdlPvm", release),
    symbol("__ZdaPvm", release),
    symbol("__ZdlPvSt11align_val_t", release),
    symbol("__ZdaPvSt11align_val_t", release),
    symbol("__ZdlPvmSt11align_val_t", release),
    symbol("__ZdaPvmSt11align_val_t", release),
};

}  // namespace
}  // namespace system_library
