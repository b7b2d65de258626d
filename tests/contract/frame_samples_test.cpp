// CCaptureBase::CheckARGBData: which pixels it looks at, and what it compares them with.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "frame_check.h"

namespace {

struct Differences {
    uint32_t count;
    bool delivered;
};

// 40 x 30 pixels: three samples may differ.
class DifferingSamples : public FrameCheck, public testing::WithParamInterface<Differences> {};

TEST_P(DifferingSamples, areContentPastAQuarterPerCent) {
    fill(40, 30);
    dirtySamples(GetParam().count);
    EXPECT_EQ(delivered(), GetParam().delivered);
}

INSTANTIATE_TEST_SUITE_P(Counts, DifferingSamples,
                         testing::Values(Differences{0, false}, Differences{1, false},
                                         Differences{3, false}, Differences{4, true},
                                         Differences{200, true}));

TEST_F(FrameCheck, looksAtOddColumnsOfEvenRowsOnly) {
    fill(40, 30);
    for (uint32_t y = 0; y < 30; ++y) {
        for (uint32_t x = 0; x < 40; ++x) {
            const bool corner = (x == 0 || x == 39) && (y == 0 || y == 29);
            if (!corner && (y % 2 == 1 || x % 2 == 0)) {
                set(x, y);
            }
        }
    }
    EXPECT_FALSE(delivered());
}

// Each pixel by itself, where none may differ.

struct FrameSize {
    uint32_t width;
    uint32_t height;
};

class SmallFrame : public FrameCheck, public testing::WithParamInterface<FrameSize> {
  protected:
    bool isCorner(uint32_t x, uint32_t y) const {
        return (x == 0 || x == width_ - 1) && (y == 0 || y == height_ - 1);
    }
};

TEST_P(SmallFrame, isContentByAnyPixelInAnOddColumnOfAnEvenRow) {
    for (uint32_t y = 0; y < GetParam().height; ++y) {
        for (uint32_t x = 0; x < GetParam().width; ++x) {
            fill(GetParam().width, GetParam().height);
            set(x, y);
            if (!isCorner(x, y)) {
                EXPECT_EQ(delivered(), y % 2 == 0 && x % 2 == 1) << x << ", " << y;
            }
        }
    }
}

// The pixel at half of (height + 1) x width decides where only opposite corners agree.
TEST_P(SmallFrame, isContentByItsCentreWhereOppositeCornersAgree) {
    const uint32_t centre = (GetParam().height + 1) * GetParam().width / 2;
    for (uint32_t y = 0; y < GetParam().height; ++y) {
        for (uint32_t x = 0; x < GetParam().width; ++x) {
            fill(GetParam().width, GetParam().height);
            set(width_ - 1, 0, 0xFF00C000);
            set(0, height_ - 1, 0xFF0000C0);
            const bool sample = y % 2 == 0 && x % 2 == 1;
            if (!isCorner(x, y) && !sample) {
                set(x, y);
                EXPECT_EQ(delivered(), y * width_ + x == centre) << x << ", " << y;
            }
        }
    }
}

// Odd widths: the corners are no samples.
INSTANTIATE_TEST_SUITE_P(Sizes, SmallFrame,
                         testing::Values(FrameSize{7, 5}, FrameSize{7, 4}, FrameSize{3, 7},
                                         FrameSize{5, 6}));

struct Limit {
    FrameSize size;
    uint32_t differing;  // the most that may
};

class DifferenceLimit : public FrameCheck, public testing::WithParamInterface<Limit> {};

TEST_P(DifferenceLimit, isAFourHundredthOfThePixels) {
    const Limit& row = GetParam();
    fill(row.size.width, row.size.height);
    dirtySamples(row.differing);
    EXPECT_FALSE(delivered());
    const std::string text = trace_recorder::rawTexts().back();
    const std::string limit = std::to_string(row.differing);
    EXPECT_THAT(text, testing::HasSubstr("pixel_ratio=" + limit + ", ratio=" + limit + ", "));
    dirtySamples(row.differing + 1);
    EXPECT_TRUE(delivered());
}

INSTANTIATE_TEST_SUITE_P(Sizes, DifferenceLimit,
                         testing::Values(Limit{{21, 19}, 0}, Limit{{20, 20}, 1}, Limit{{401, 1}, 1},
                                         Limit{{47, 17}, 1}, Limit{{40, 20}, 2}, Limit{{41, 29}, 2},
                                         Limit{{161, 91}, 36}));

// Which corner the frame is compared with.

struct Corners {
    uint32_t topLeft;
    uint32_t topRight;
    uint32_t bottomLeft;
    uint32_t bottomRight;
    uint32_t rest;
    std::optional<uint32_t> reference;  // none: content
};

class FrameCorners : public FrameCheck, public testing::WithParamInterface<Corners> {};

// 40 x 30 pixels: up to three samples may differ, and the upper right corner is one.
TEST_P(FrameCorners, chooseTheColourToCompareWith) {
    const Corners& row = GetParam();
    fill(40, 30, row.rest);
    set(0, 0, row.topLeft);
    set(39, 0, row.topRight);
    set(0, 29, row.bottomLeft);
    set(39, 29, row.bottomRight);
    EXPECT_EQ(delivered(), !row.reference.has_value());
    if (row.reference) {
        EXPECT_THAT(trace_recorder::rawTexts().back(),
                    testing::HasSubstr(", rgb=" + std::to_string(*row.reference) + ","));
    }
}

constexpr std::nullopt_t kContent = std::nullopt;

INSTANTIATE_TEST_SUITE_P(
    Colours, FrameCorners,
    testing::Values(Corners{1, 1, 1, 1, 1, 1},         // all agree
                    Corners{1, 1, 1, 2, 1, 1},         // all but one, each in turn
                    Corners{2, 1, 1, 1, 1, 1},         //
                    Corners{1, 2, 1, 1, 1, 1},         //
                    Corners{1, 1, 2, 1, 1, 1},         //
                    Corners{1, 2, 2, 1, 1, 1},         // opposite ones, with the centre
                    Corners{1, 2, 3, 1, 1, 1},         //
                    Corners{1, 2, 3, 1, 4, kContent},  // opposite ones, without the centre
                    Corners{2, 1, 1, 3, 1, kContent},  // the other opposite ones
                    Corners{2, 1, 1, 2, 1, kContent},  //
                    Corners{1, 1, 2, 2, 1, kContent},  // upper and lower ones
                    Corners{1, 2, 1, 2, 1, kContent},  // left and right ones
                    Corners{1, 2, 3, 4, 1, kContent},  // none
                    Corners{1, 1, 1, 1, 2, kContent},  // a frame around something else
                    Corners{2, 1, 1, 1, 2, kContent},  //
                    Corners{0xFF000001, 0x01000001, 1, 0x80000001, 0x7F000001, 1},  // alpha aside
                    Corners{0xFFFFFF, 0xFFFFFF, 0xFFFFFF, 0xFFFFFF, 0xFFFFFF, 0xFFFFFF}));

TEST_F(FrameCheck, readsColoursOfAllThreeBytes) {
    for (const uint32_t other : {0xFF000001U, 0xFF000100U, 0xFF010000U}) {
        fill(7, 5, 0xFF000000);
        set(1, 0, other);
        EXPECT_TRUE(delivered()) << std::hex << other;
    }
}

TEST_F(FrameCheck, deliversABorderAroundContent) {
    fill(40, 30);
    for (uint32_t y = 1; y < 29; ++y) {
        for (uint32_t x = 1; x < 39; ++x) {
            set(x, y);
        }
    }
    EXPECT_TRUE(delivered());
}

TEST_F(FrameCheck, holdsBackABorderAroundADotAtTheCentre) {
    fill(40, 30);
    set(20, 15);
    EXPECT_FALSE(delivered());
}

TEST_F(FrameCheck, samplesNoColumnOfASinglePixelColumn) {
    fill(1, 30);
    for (uint32_t y = 1; y < 29; ++y) {
        set(0, y);
    }
    EXPECT_FALSE(delivered());
}

TEST_F(FrameCheck, takesASinglePixelForUniform) {
    fill(1, 1);
    EXPECT_FALSE(delivered());
}

TEST_F(FrameCheck, readsRowsThatDoNotBeginAtAnEvenAddress) {
    fill(7, 5);
    std::vector<unsigned char> bytes(pixels_.size() * 4 + 1);
    std::memcpy(bytes.data() + 1, pixels_.data(), pixels_.size() * 4);
    EXPECT_FALSE(capture_.CheckARGBData(bytes.data() + 1, 7, 5));
}

}  // namespace
