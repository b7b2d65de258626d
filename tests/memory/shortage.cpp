#include "shortage.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

// Which sanitizer there is, g++ says with macros and clang when asked.
#ifdef __clang__
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SHORTAGE_IS_SANITIZED
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SHORTAGE_IS_SANITIZED
#endif

namespace {

using shortage::Length;

// Constant-initialised: memory is allocated before any constructor ran.
constinit std::atomic<bool> isOn{false};
constinit std::atomic<bool> isLasting{false};
constinit std::atomic<std::intptr_t> left{0};  // until one fails
constinit std::atomic<bool> hasFailed{false};
thread_local int exemptions = 0;

bool fails() {
    if (!isOn || exemptions > 0)
        return false;
    const std::intptr_t before = left.fetch_sub(1);
    const bool isNow = isLasting ? before <= 1 : before == 1;
    if (isNow)
        hasFailed = true;
    return isNow;
}

bool failsForWantOf(int error) {
    if (!fails())
        return false;
    errno = error;
    return true;
}

}  // namespace

namespace shortage {

void begin(Length length, std::size_t number) {
    isLasting = length == Length::lasting;
    left = static_cast<std::intptr_t>(number);
    hasFailed = false;
    isOn = true;
}

bool end() {
    isOn = false;
    return hasFailed;
}

void exemptThisThread() {
    exemptions = 1;
}

Counted::Counted() {
    --exemptions;
}

Counted::~Counted() {
    ++exemptions;
}

void exempt(bool begins) {
    exemptions += begins ? 1 : -1;
}

}  // namespace shortage

// In front of the C library's, for all libraries.
#pragma GCC visibility push(default)
extern "C" {

#ifndef SHORTAGE_IS_SANITIZED
// The names that the C library keeps for those who replace them. Operator new comes by malloc.
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
    return failsForWantOf(ENOMEM) ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    return failsForWantOf(ENOMEM) ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) {
    return failsForWantOf(ENOMEM) ? nullptr : __libc_realloc(memory, size);
}

void* memalign(size_t alignment, size_t size) {
    return failsForWantOf(ENOMEM) ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
    return failsForWantOf(ENOMEM) ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
    if (fails())
        return ENOMEM;
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}
#endif

void* mmap(void* place, size_t size, int protection, int flags, int descriptor, off_t offset) {
    if (failsForWantOf(ENOMEM))
        return MAP_FAILED;
    return reinterpret_cast<void*>(
        syscall(SYS_mmap, place, size, protection, flags, descriptor, offset));
}

int shmget(key_t key, size_t size, int flags) {
    return failsForWantOf(ENOMEM) ? -1 : static_cast<int>(syscall(SYS_shmget, key, size, flags));
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                   void* argument) {
    static const auto next =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return fails() ? EAGAIN : next(thread, attributes, routine, argument);
}
}

#ifdef SHORTAGE_IS_SANITIZED

namespace {

void* allocated(size_t size, size_t alignment) noexcept {
    void* memory = nullptr;
    return fails() || posix_memalign(&memory, alignment, size) != 0 ? nullptr : memory;
}

void* orThrown(void* memory) {
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

constexpr size_t kUsual = alignof(std::max_align_t);

}  // namespace

void* operator new(size_t size) {
    return orThrown(allocated(size, kUsual));
}
void* operator new[](size_t size) {
    return orThrown(allocated(size, kUsual));
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return allocated(size, kUsual);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return allocated(size, kUsual);
}
void* operator new(size_t size, std::align_val_t alignment) {
    return orThrown(allocated(size, static_cast<size_t>(alignment)));
}
void* operator new[](size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocated(size, static_cast<size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t, std::align_val_t) noexcept {
    std::free(memory);
}

#endif
#pragma GCC visibility pop
