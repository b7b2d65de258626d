// Memory of the C library and of the C++ language as on macOS.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

namespace {

TEST(Allocation, ReallocationToNothingLeavesASmallestPiece) {
    void* const memory = std::realloc(std::malloc(100), 0);
    EXPECT_NE(memory, nullptr);
    std::free(memory);
}

TEST(Allocation, OfAlignedMemoryIsAligned) {
    for (size_t alignment = sizeof(void*); alignment <= 4096; alignment *= 2) {
        void* memory = nullptr;
        ASSERT_EQ(posix_memalign(&memory, alignment, 100), 0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % alignment, 0U);
        std::free(memory);
    }
}

struct alignas(512) Aligned {
    char bytes[512];
};

TEST(Allocation, OfAlignedObjectsIsAligned) {
    const auto objects = std::make_unique<Aligned[]>(3);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(objects.get()) % alignof(Aligned), 0U);
}

TEST(Allocation, OfNothingIsSomething) {
    const std::unique_ptr<char[]> first(new char[0]);
    const std::unique_ptr<char[]> second(new char[0]);
    EXPECT_NE(first, second);
}

TEST(Allocation, OfTooMuchIsNoneWhereNoExceptionIsWanted) {
    const volatile size_t tooMuch = SIZE_MAX / 4;
    EXPECT_EQ(::operator new(tooMuch, std::nothrow), nullptr);
    EXPECT_EQ(std::malloc(tooMuch), nullptr);
    EXPECT_EQ(errno, ENOMEM);
}

}  // namespace
