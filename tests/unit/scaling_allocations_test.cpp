// Frame after frame is scaled without allocating; a program of its own, as it counts allocations.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "allocations.h"
#include "images.h"
#include "kxcommon64.h"

namespace {

struct Frame {
    explicit Frame(const Scaling& s)
        : scaling(s), source(noise(s.sourceBytes())), target(s.targetBytes()) {}

    void scale() {
        BilinearInterpolation(source.data(), scaling.source.width, scaling.source.height,
                              target.data(), scaling.target.width, scaling.target.height,
                              scaling.bytesPerPixel);
    }

    void halve() {
        RgbDownsampling(static_cast<unsigned>(scaling.source.width),
                        static_cast<unsigned>(scaling.source.height), scaling.source.width * 4,
                        source.data(), target.data());
    }

    Scaling scaling;
    Bytes source;
    Bytes target;
};

class ScalingAllocations : public testing::TestWithParam<Scaling> {};

TEST_P(ScalingAllocations, endWithTheFirstFrame) {
    Frame frame(GetParam());
    frame.scale();
    const size_t before = allocationsSoFar();
    for (int i = 0; i < 100; ++i) {
        frame.scale();
    }
    EXPECT_EQ(allocationsSoFar(), before);
}

TEST_P(ScalingAllocations, endWithTheFirstFrameOfEitherOfTwoSizes) {
    Frame frame(GetParam());
    Frame other({{201, 77}, {150, 90}, 4});
    frame.scale();
    other.scale();
    const size_t before = allocationsSoFar();
    for (int i = 0; i < 100; ++i) {
        frame.scale();
        other.scale();
    }
    EXPECT_EQ(allocationsSoFar(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, ScalingAllocations,
    testing::Values(Scaling{{192, 108}, {128, 72}, 4}, Scaling{{192, 108}, {96, 54}, 4},
                    Scaling{{192, 108}, {64, 36}, 4}, Scaling{{192, 108}, {191, 107}, 4},
                    Scaling{{128, 72}, {192, 108}, 4}, Scaling{{192, 108}, {16, 9}, 4},
                    Scaling{{192, 108}, {192, 54}, 4}, Scaling{{192, 108}, {96, 108}, 4},
                    Scaling{{192, 108}, {128, 72}, 3}, Scaling{{192, 108}, {128, 72}, 1}));

TEST(HalvingAllocations, areNone) {
    Frame frame({{192, 108}, {96, 54}, 4});
    frame.halve();
    const size_t before = allocationsSoFar();
    for (int i = 0; i < 100; ++i) {
        frame.halve();
    }
    EXPECT_EQ(allocationsSoFar(), before);
}

template <typename Allocation>
size_t allocationsOf(Allocation allocate) {
    const size_t before = allocationsSoFar();
    // Volatile: an allocation that nobody looks at need not be made.
    void* volatile const memory = allocate();
    const size_t after = allocationsSoFar();
    std::free(memory);
    return after - before;
}

template <typename Item>
size_t allocationsOfAVector() {
    const size_t before = allocationsSoFar();
    const std::vector<Item> items(100);
    [[maybe_unused]] const Item* const volatile lookedAt = items.data();
    return allocationsSoFar() - before;
}

// Without this, the tests above could not fail.
TEST(AllocationsSoFar, countEveryWayToAllocate) {
    EXPECT_EQ(allocationsOf([] { return std::malloc(100); }), 1U);
    EXPECT_EQ(allocationsOf([] { return std::calloc(100, 2); }), 1U);
    EXPECT_EQ(allocationsOf([] { return std::realloc(nullptr, 100); }), 1U);
    EXPECT_EQ(allocationsOf([] {
                  void* memory = nullptr;
                  return posix_memalign(&memory, 64, 128) == 0 ? memory : nullptr;
              }),
              areAlignedOnesCounted() ? 1U : 0U);
    EXPECT_EQ(allocationsOfAVector<int>(), 1U);
    struct alignas(64) Line {
        unsigned char bytes[64];
    };
    EXPECT_EQ(allocationsOfAVector<Line>(), 1U);
}

}  // namespace
