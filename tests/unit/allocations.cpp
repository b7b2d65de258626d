#include "allocations.h"

#include <atomic>
#include <cerrno>

// Which sanitizer there is, g++ says with macros and clang when asked.
#ifdef __clang__
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__
#elif __has_feature(thread_sanitizer)
#define __SANITIZE_THREAD__
#endif
#endif

namespace {

// Constant-initialised: memory is allocated before any constructor ran.
constinit std::atomic<size_t> allocations{0};

}  // namespace

size_t allocationsSoFar() {
    return allocations;
}

bool areAlignedOnesCounted() {
#ifdef __SANITIZE_THREAD__
    return false;
#else
    return true;
#endif
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

// A sanitizer's memory functions must stay; it tells of each use. Declared here, as g++ comes
// without the header.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onAllocation)(const volatile void*,
                                                                              size_t),
                                                         void (*onRelease)(const volatile void*));

namespace {

void countAllocation(const volatile void*, size_t) {
    ++allocations;
}

void ignoreRelease(const volatile void*) {}

[[maybe_unused]] const int kInstalled =
    __sanitizer_install_malloc_and_free_hooks(countAllocation, ignoreRelease);

}  // namespace

#else

// The C library's own ones, under the names that it keeps for those who replace them. Operator new
// comes by malloc, and what is released needs no counting. Other libraries have to see them, the
// one with operator new among these, whatever this project hides.
#pragma GCC visibility push(default)
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
    ++allocations;
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) {
    ++allocations;
    return __libc_realloc(memory, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
    ++allocations;
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
    ++allocations;
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}
}
#pragma GCC visibility pop

#endif
