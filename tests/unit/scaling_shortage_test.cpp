// Scaling while memory is short; a program of its own, as it has the process's operator new fail.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <thread>

#include "images.h"
#include "kxcommon64.h"

// Not inlined, or the compiler sees free called on what a new expression gave.
#define IN_FRONT __attribute__((visibility("default"), noinline))

namespace {

thread_local bool isShort = false;

void* allocated(size_t size, size_t alignment) {
    void* memory = nullptr;
    if (isShort || posix_memalign(&memory, alignment, size) != 0) {
        throw std::bad_alloc();
    }
    return memory;
}

void scale(const Scaling& scaling, const Bytes& source, Bytes& target) {
    BilinearInterpolation(source.data(), scaling.source.width, scaling.source.height, target.data(),
                          scaling.target.width, scaling.target.height, scaling.bytesPerPixel);
}

}  // namespace

// In the library, too, whose C++ library need not be this program's.

IN_FRONT void* operator new(size_t size) {
    return allocated(size, alignof(std::max_align_t));
}

IN_FRONT void* operator new(size_t size, std::align_val_t alignment) {
    return allocated(size, static_cast<size_t>(alignment));
}

IN_FRONT void operator delete(void* memory) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}

IN_FRONT void operator delete(void* memory, size_t, std::align_val_t) noexcept {
    std::free(memory);
}

namespace {

TEST(ScalingShortOfMemory, leavesTheTargetAndScalesTheNextFrame) {
    const Scaling scaling{{201, 77}, {150, 90}, 4};
    const Bytes source = noise(scaling.sourceBytes());
    const Bytes untouched(scaling.targetBytes(), 0x77);
    Bytes target = untouched;
    isShort = true;
    scale(scaling, source, target);
    isShort = false;
    EXPECT_EQ(target, untouched);

    scale(scaling, source, target);
    Bytes elsewhere = untouched;
    std::thread([&] { scale(scaling, source, elsewhere); }).join();
    EXPECT_NE(target, untouched);
    EXPECT_EQ(target, elsewhere);
}

}  // namespace
