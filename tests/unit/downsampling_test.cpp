// RgbDownsampling against the rule of its header.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "expect_return.h"
#include "guarded_buffer.h"
#include "images.h"
#include "kxcommon64.h"
#include "sparse_image.h"

namespace {

// One row of grey pixels, 4 bytes each, the channels offset by 0, 1, 2 and 3.
Bytes greyRow(const std::vector<int>& levels) {
    Bytes row;
    for (const int level : levels) {
        for (int channel = 0; channel < 4; ++channel) {
            row.push_back(static_cast<unsigned char>(level + channel));
        }
    }
    return row;
}

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST(RgbDownsampling, averagesBlocksOfTwoByTwo) {
    Bytes source = greyRow({0, 100, 8, 8}) + greyRow({100, 200, 8, 16});
    Bytes target(2 * 4);
    RgbDownsampling(4, 2, 16, source.data(), target.data());
    EXPECT_EQ(target, greyRow({100, 10}));
}

TEST(RgbDownsampling, roundsHalvesUp) {
    Bytes source = greyRow({1, 1}) + greyRow({2, 2});
    Bytes target(4);
    RgbDownsampling(2, 2, 8, source.data(), target.data());
    EXPECT_EQ(target, greyRow({2}));
}

TEST(RgbDownsampling, averagesWhatIsThereAtOddEdges) {
    Bytes source = greyRow({10, 20, 30}) + greyRow({30, 40, 50}) + greyRow({60, 80, 200});
    Bytes target(2 * 2 * 4);
    RgbDownsampling(3, 3, 12, source.data(), target.data());
    EXPECT_EQ(target, greyRow({25, 40}) + greyRow({70, 200}));
}

TEST(RgbDownsampling, skipsTheSourcesRowPadding) {
    const Bytes padding(8, 255);
    Bytes source = greyRow({10, 20}) + padding + greyRow({30, 40}) + padding;
    Bytes target(4);
    RgbDownsampling(2, 2, 16, source.data(), target.data());
    EXPECT_EQ(target, greyRow({25}));
}

TEST(RgbDownsampling, endsWithTheLastPixelWhereTheLastRowHasNoPadding) {
    constexpr int kPitch = 4 * 4 + 20;
    GuardedBuffer sourceBuffer(4096);
    GuardedBuffer targetBuffer(4096);
    const auto source = sourceBuffer.place(kAtBack, 2 * kPitch + 3 * 4);
    std::ranges::fill(source, static_cast<unsigned char>(90));
    const auto target = targetBuffer.place(kAtBack, 2 * 2 * 4);
    RgbDownsampling(3, 3, kPitch, source.data(), target.data());
    EXPECT_TRUE(std::ranges::equal(target, Bytes(2 * 2 * 4, 90)));
    EXPECT_TRUE(targetBuffer.isSurroundingUntouched());
}

TEST(RgbDownsampling, readsBeyondFourGigabytes) {
    SparseImage source(size_t{INT_MAX} * 2 + 8);
    std::fill_n(source.at(size_t{INT_MAX} * 2), 8, 200);
    Bytes target(2 * 4, 7);
    RgbDownsampling(2, 3, INT_MAX, source.at(0), target.data());
    EXPECT_EQ(target, Bytes(4, 0) + Bytes(4, 200));
}

struct Refused {
    const char* what;
    unsigned width;
    unsigned height;
    int pitch;
};

std::ostream& operator<<(std::ostream& out, const Refused& refused) {
    return out << refused.what;
}

class RgbDownsamplingRefuses : public testing::TestWithParam<Refused> {};

TEST_P(RgbDownsamplingRefuses, andLeavesTheTargetUntouched) {
    Bytes source(64, 200);
    Bytes target(64, 7);
    RgbDownsampling(GetParam().width, GetParam().height, GetParam().pitch, source.data(),
                    target.data());
    EXPECT_EQ(target, Bytes(64, 7));
}

TEST_P(RgbDownsamplingRefuses, withoutLookingAtTheMemory) {
    GuardedBuffer nothing(0);
    unsigned char* const untouchable = nothing.place(kAtBack, 0).data();
    expectReturn([&] {
        RgbDownsampling(GetParam().width, GetParam().height, GetParam().pitch, untouchable,
                        untouchable);
    });
}

INSTANTIATE_TEST_SUITE_P(
    BadArguments, RgbDownsamplingRefuses,
    testing::Values(Refused{"width 0", 0, 2, 8}, Refused{"height 0", 2, 0, 8},
                    Refused{"no size and no pitch", 0, 0, 0}, Refused{"pitch too small", 2, 2, 7},
                    Refused{"pitch 0", 2, 2, 0}, Refused{"negative pitch", 2, 2, -8},
                    Refused{"least pitch", 2, 2, INT_MIN},
                    Refused{"row past 32 bits", 0x40000000, 2, 0},
                    Refused{"row of 4 bytes past 32 bits", 0x40000001, 2, 4},
                    Refused{"row past the largest pitch", 0x20000000, 2, INT_MAX},
                    Refused{"widest row", UINT_MAX, UINT_MAX, INT_MAX}));

TEST(RgbDownsampling, refusesNullPointers) {
    Bytes pixels(16, 7);
    RgbDownsampling(2, 2, 8, nullptr, pixels.data());
    EXPECT_EQ(pixels, Bytes(16, 7));
    expectReturn([&] {
        RgbDownsampling(2, 2, 8, pixels.data(), nullptr);
        RgbDownsampling(2, 2, 8, nullptr, nullptr);
    });
}

}  // namespace
