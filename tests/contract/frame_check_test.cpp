// CCaptureBase::CheckARGBData: how long frames are held back, and what is told of them.
#include "frame_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <mutex>

#include "next_definition.h"

namespace {

struct BoundedFormat {
    size_t size;
    size_t count;
    std::string format;

    bool operator==(const BoundedFormat&) const = default;
};

// Never destroyed: a capture thread may format while the program ends.
struct BoundedFormats {
    std::mutex mutex;
    std::vector<BoundedFormat> formats;

    static BoundedFormats& instance() {
        static BoundedFormats& formats = *new BoundedFormats;
        return formats;
    }
};

void forgetFormats() {
    const std::lock_guard<std::mutex> lock(BoundedFormats::instance().mutex);
    BoundedFormats::instance().formats.clear();
}

std::vector<BoundedFormat> boundedFormats() {
    const std::lock_guard<std::mutex> lock(BoundedFormats::instance().mutex);
    return BoundedFormats::instance().formats;
}

}  // namespace

// Stands in front of bounded formatting, which the library uses for one small number.
int snprintf_s(char* buffer, size_t size, size_t count, const char* format, ...) {
    static const auto next = nextDefinition<decltype(&snprintf_s)>("snprintf_s");
    {
        const std::lock_guard<std::mutex> lock(BoundedFormats::instance().mutex);
        BoundedFormats::instance().formats.push_back({size, count, format});
    }
    va_list arguments;
    va_start(arguments, format);
    const int number = va_arg(arguments, int);
    va_end(arguments);
    return next(buffer, size, count, "%d", number);
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(FrameCheck, skipsNoData) {
    fill(4, 4);
    EXPECT_FALSE(delivered());
    trace_recorder::forget();
    EXPECT_FALSE(capture_.CheckARGBData(nullptr, 4, 4));
    EXPECT_EQ(capture_.m_nSkipCaptureFrame, 1) << "no counter is touched";
    EXPECT_EQ(capture_.m_dwSkipFrameTick, 5000U);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(FrameCheck, skipsAFrameWithoutPixels) {
    fill(4, 4);
    const auto* const data = reinterpret_cast<const unsigned char*>(pixels_.data());
    EXPECT_FALSE(capture_.CheckARGBData(data, 0, 4));
    EXPECT_FALSE(capture_.CheckARGBData(data, 4, 0));
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
    EXPECT_EQ(capture_.m_nSkipCaptureFrame, 1);
    EXPECT_EQ(capture_.m_dwSkipFrameTick, 6001U);
}

TEST_F(FrameCheck, tracesTheUniformFrameThatItLetsThrough) {
    fill(4, 4, 0xFF000001);
    EXPECT_FALSE(delivered());
    driven_time::advance(1001);
    trace_recorder::forget();
    EXPECT_TRUE(delivered());
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(framePath(1,
                                      "CCaptureBase::CheckARGBData nSkipCaptureFrame=2, rgb=1, "
                                      "width=4, height=4, dwFrameID=0, pixel_ratio=0, ratio=0, "
                                      "skipFrameTick=5000, currentTick=6001",
                                      1)));
}

// One second from the first frame of the run, whatever came in between.
TEST_F(FrameCheck, doesNotStartTheSecondAnewWithEachUniformFrame) {
    fill(40, 30);
    for (int i = 0; i < 11; ++i) {
        EXPECT_FALSE(delivered());
        driven_time::advance(100);
    }
    EXPECT_TRUE(delivered()) << "1100 ms after the first";
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

TEST_F(FrameCheck, formatsTheCountBoundedly) {
    forgetFormats();
    fill(4, 4);
    delivered();
    EXPECT_THAT(boundedFormats(), ElementsAre(BoundedFormat{4, 3, "%d"}));
}

TEST_F(FrameCheck, tracesAtLevelOne) {
    trace_recorder::setLevel(1);
    fill(4, 4);
    EXPECT_FALSE(delivered());
    EXPECT_EQ(trace_recorder::messages().size(), 1U);
}

TEST_F(FrameCheck, tracesNothingBelowLevelOne) {
    trace_recorder::setLevel(0);
    forgetFormats();
    fill(4, 4);
    EXPECT_FALSE(delivered());
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_THAT(boundedFormats(), IsEmpty()) << "nothing is built";
    EXPECT_EQ(capture_.m_nSkipCaptureFrame, 1);
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

}  // namespace
