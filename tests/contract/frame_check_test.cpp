// CCaptureBase::CheckARGBData: which frames are held back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "contract_test.h"
#include "scripted_capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint32_t kGrey = 0xFF303030;
constexpr uint32_t kRed = 0xFFC00000;

class FrameCheck : public ContractTest {
  protected:
    // A frame of one colour; width x height pixels.
    void fill(uint32_t width, uint32_t height, uint32_t colour = kGrey) {
        width_ = width;
        height_ = height;
        pixels_.assign(size_t{width} * height, colour);
    }

    void set(uint32_t x, uint32_t y, uint32_t colour = kRed) {
        pixels_[size_t{y} * width_ + x] = colour;
    }

    // Makes the first count samples of the scan red: odd columns of even rows.
    void dirtySamples(uint32_t count) {
        for (uint32_t y = 0; y < height_ && count > 0; y += 2) {
            for (uint32_t x = 1; x + 1 < width_ && count > 0; x += 2, --count) {
                set(x, y);
            }
        }
    }

    bool delivered() {
        return capture_.CheckARGBData(reinterpret_cast<const unsigned char*>(pixels_.data()),
                                      width_, height_);
    }

    ScriptedCapture capture_;
    std::vector<uint32_t> pixels_;
    uint32_t width_ = 0;
    uint32_t height_ = 0;
};

TEST_F(FrameCheck, skipsNoData) {
    EXPECT_FALSE(capture_.CheckARGBData(nullptr, 4, 4));
    EXPECT_EQ(capture_.m_nSkipCaptureFrame, 0);
}

TEST_F(FrameCheck, deliversAFrameWithFourDifferentCorners) {
    fill(40, 30);
    set(0, 0, 1);
    set(39, 0, 2);
    set(0, 29, 3);
    set(39, 29, 4);
    EXPECT_TRUE(delivered());
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(FrameCheck, holdsAUniformFrameBackForOneSecond) {
    fill(40, 30);
    EXPECT_FALSE(delivered());
    driven_time::advance(1000);
    EXPECT_FALSE(delivered()) << "not more than 1000 ms";
    driven_time::advance(1);
    EXPECT_TRUE(delivered());
    EXPECT_EQ(capture_.m_nSkipCaptureFrame, 0);
    EXPECT_EQ(capture_.m_dwSkipFrameTick, 0U);
    EXPECT_FALSE(delivered()) << "a new run begins";
}

TEST_F(FrameCheck, measuresARunAcrossTheWrapOfTheTick) {
    driven_time::setTick(0xFFFFFF00);
    fill(40, 30);
    EXPECT_FALSE(delivered());
    driven_time::advance(1000);
    EXPECT_FALSE(delivered());
    driven_time::advance(1);
    EXPECT_TRUE(delivered());
}

TEST_F(FrameCheck, startsARunAgainWhenItBeganAtTickZero) {
    driven_time::setTick(0);
    fill(40, 30);
    EXPECT_FALSE(delivered());
    EXPECT_EQ(capture_.m_dwSkipFrameTick, 0U);
    driven_time::advance(5000);
    EXPECT_FALSE(delivered());
    EXPECT_EQ(capture_.m_dwSkipFrameTick, 5000U);
}

TEST_F(FrameCheck, endsARunWithContent) {
    fill(40, 30);
    EXPECT_FALSE(delivered());
    set(0, 0);
    set(39, 0, 5);
    EXPECT_TRUE(delivered());
    EXPECT_EQ(capture_.m_nSkipCaptureFrame, 0);
    driven_time::advance(5000);
    fill(40, 30);
    EXPECT_FALSE(delivered());
}

TEST_F(FrameCheck, tracesEveryUniformFrame) {
    fill(40, 30, 0xFF000102);
    dirtySamples(2);
    capture_.OnCaptureSuccess();
    trace_recorder::forget();
    delivered();
    driven_time::advance(7);
    delivered();
    const std::string sizes =
        ", rgb=258, width=40, height=30, dwFrameID=1, pixel_ratio=2, ratio=3, skipFrameTick=";
    const std::string text = "CCaptureBase::CheckARGBData nSkipCaptureFrame=";
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(framePath(1, text + "1" + sizes + "0, currentTick=5000", 1),
                            framePath(1, text + "2" + sizes + "5000, currentTick=5007", 1)));
}

TEST_F(FrameCheck, countsUniformFramesUpTo255) {
    fill(4, 4);
    for (int i = 0; i < 256; ++i) {
        delivered();
    }
    EXPECT_EQ(capture_.m_nSkipCaptureFrame, 0) << "wraps at 256";
    const auto texts = trace_recorder::rawTexts();
    EXPECT_THAT(texts[254], testing::HasSubstr("nSkipCaptureFrame=255,"));
    EXPECT_THAT(texts[255], testing::HasSubstr("nSkipCaptureFrame=0,"));
}

TEST_F(FrameCheck, tracesNothingBelowLevelOne) {
    trace_recorder::setLevel(0);
    fill(4, 4);
    EXPECT_FALSE(delivered());
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(FrameCheck, doesNotLookAtAlpha) {
    fill(40, 30, 0xFF303030);
    for (uint32_t y = 0; y < 30; ++y) {
        for (uint32_t x = 0; x < 40; ++x) {
            set(x, y, 0x303030 | ((x + y) << 24));
        }
    }
    EXPECT_FALSE(delivered());
}

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

// Which corner the frame is compared with.

TEST_F(FrameCheck, comparesWithTheThreeCornersThatAgree) {
    fill(40, 30);
    set(0, 0, kRed);
    EXPECT_FALSE(delivered()) << "right and lower corners";
    fill(40, 30);
    set(39, 29, kRed);
    EXPECT_FALSE(delivered()) << "left and upper corners";
}

TEST_F(FrameCheck, comparesWithTheCentreWhenOppositeCornersAgree) {
    fill(40, 30);
    set(39, 0, kRed);
    set(0, 29, 0xFF00C000);
    EXPECT_FALSE(delivered());
    pixels_[((30 + 1) * 40) / 2] = kRed;
    EXPECT_TRUE(delivered());
}

TEST_F(FrameCheck, deliversWhenTheOtherOppositeCornersAgree) {
    fill(40, 30);
    set(0, 0, kRed);
    set(39, 29, 0xFF00C000);
    EXPECT_TRUE(delivered());
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

}  // namespace
