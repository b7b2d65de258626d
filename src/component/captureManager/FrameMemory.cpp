#include "FrameMemory.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace {

// Memory that is freed next is never read, so the compiler must be told that somebody may.
void clear(unsigned char* frame, std::size_t size) {
    std::memset(frame, 0, size);
    asm volatile("" : : "r"(frame) : "memory");
}

}  // namespace

#ifdef MADV_HUGEPAGE

namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

bool takesLargePages(std::size_t size) {
    return size >= kLargePage;
}

}  // namespace

unsigned char* AllocateFrame(std::size_t size) noexcept {
    if (!takesLargePages(size)) {
        return new (std::nothrow) unsigned char[size];
    }
    const std::size_t whole = (size + kLargePage - 1) / kLargePage * kLargePage;
    auto* const frame = new (std::align_val_t{kLargePage}, std::nothrow) unsigned char[whole];
    if (frame != nullptr) {
        const int before = errno;
        madvise(frame, whole, MADV_HUGEPAGE);  // small pages will do as well
        errno = before;
    }
    return frame;
}

void FreeFrame(unsigned char* frame, std::size_t size) noexcept {
    if (frame == nullptr) {
        return;
    }
    clear(frame, size);
    if (takesLargePages(size)) {
        ::operator delete[](frame, std::align_val_t{kLargePage});
    } else {
        delete[] frame;
    }
}

#else

unsigned char* AllocateFrame(std::size_t size) noexcept {
    return new (std::nothrow) unsigned char[size];
}

void FreeFrame(unsigned char* frame, std::size_t size) noexcept {
    if (frame == nullptr) {
        return;
    }
    clear(frame, size);
    delete[] frame;
}

#endif
