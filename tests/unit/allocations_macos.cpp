// Where each library's imports name the library that they are for, as on macOS: operator new, of
// which a program's own one is every library's, and the C library's functions for all who look for
// them in the program first, as they do with a flat namespace.
#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "allocations.h"

#define IN_FRONT __attribute__((visibility("default")))

namespace {

// Constant-initialised: memory is allocated before any constructor ran.
constinit std::atomic<size_t> allocations{0};

template <typename Function>
Function systems(const char* symbol) {
    void* const found = dlsym(RTLD_NEXT, symbol);
    if (found == nullptr) {
        std::fprintf(stderr, "counted allocations: the system has no %s\n", symbol);
        std::abort();
    }
    return reinterpret_cast<Function>(found);
}

void* orThrow(void* memory) {
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void* aligned(size_t size, std::align_val_t alignment) {
    void* memory = nullptr;
    return posix_memalign(&memory, static_cast<size_t>(alignment), size) == 0 ? memory : nullptr;
}

}  // namespace

size_t allocationsSoFar() {
    return allocations;
}

bool areAlignedOnesCounted() {
    return true;
}

extern "C" {

IN_FRONT void* malloc(size_t size) {
    static const auto next = systems<void* (*)(size_t)>("malloc");
    ++allocations;
    return next(size);
}

IN_FRONT void* calloc(size_t count, size_t size) {
    static const auto next = systems<void* (*)(size_t, size_t)>("calloc");
    ++allocations;
    return next(count, size);
}

IN_FRONT void* realloc(void* memory, size_t size) {
    static const auto next = systems<void* (*)(void*, size_t)>("realloc");
    ++allocations;
    return next(memory, size);
}

IN_FRONT int posix_memalign(void** memory, size_t alignment, size_t size) {
    static const auto next = systems<int (*)(void**, size_t, size_t)>("posix_memalign");
    ++allocations;
    return next(memory, alignment, size);
}
}

// All forms that the libraries may use: a form that is not here would be another library's.

IN_FRONT void* operator new(size_t size) {
    return orThrow(malloc(size));
}

IN_FRONT void* operator new[](size_t size) {
    return orThrow(malloc(size));
}

IN_FRONT void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return malloc(size);
}

IN_FRONT void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return malloc(size);
}

IN_FRONT void* operator new(size_t size, std::align_val_t alignment) {
    return orThrow(aligned(size, alignment));
}

IN_FRONT void* operator new[](size_t size, std::align_val_t alignment) {
    return orThrow(aligned(size, alignment));
}

IN_FRONT void* operator new(size_t size, std::align_val_t alignment,
                            const std::nothrow_t&) noexcept {
    return aligned(size, alignment);
}

IN_FRONT void* operator new[](size_t size, std::align_val_t alignment,
                              const std::nothrow_t&) noexcept {
    return aligned(size, alignment);
}

IN_FRONT void operator delete(void* memory) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete[](void* memory) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete[](void* memory, size_t) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete(void* memory, size_t, std::align_val_t) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete[](void* memory, size_t, std::align_val_t) noexcept {
    std::free(memory);
}
