// CCaptureBase: the size in which frames are delivered.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "frame_buffer.h"
#include "scaler_recorder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(FrameBuffer, takesTheMonitorsOwnSize) {
    EXPECT_TRUE(capture_.SetFrameSize({ScriptedCapture::kWidth, ScriptedCapture::kHeight}));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::SetFrameSize... Begin!"),
                            information("CCaptureBase::SetFrameSize...End! w: 21,h:13")));
}

TEST_F(FrameBuffer, takesASinglePixel) {
    EXPECT_TRUE(capture_.SetFrameSize({1, 1}));
    EXPECT_EQ(capture_.m_oScaling.GetCapFrameSize().dwWidth, 1U);
    EXPECT_EQ(capture_.m_oScaling.GetCapFrameSize().dwHeight, 1U);
}

struct RefusedSize {
    CAP_SIZE size;
    const char* text;
};

class FrameSizeOutOfBounds : public FrameBuffer, public testing::WithParamInterface<RefusedSize> {};

TEST_P(FrameSizeOutOfBounds, isRefused) {
    EXPECT_FALSE(capture_.SetFrameSize(GetParam().size));
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CCaptureBase::SetFrameSize... Begin!"), error(GetParam().text)));
    EXPECT_EQ(capture_.m_oScaling.GetCapFrameSize().dwWidth, ScriptedCapture::kWidth);
}

constexpr const char* kInvalid = "CCaptureBase::SetFrameRate... param nFrameSize invalid!";
constexpr const char* kTooLarge = "CCaptureBase::SetFrameRate... param nFrameSize error";

INSTANTIATE_TEST_SUITE_P(Sizes, FrameSizeOutOfBounds,
                         testing::Values(RefusedSize{{0, 5}, kInvalid},
                                         RefusedSize{{5, 0}, kInvalid},
                                         RefusedSize{{0, 0}, kInvalid},
                                         RefusedSize{{0, 500}, kInvalid},
                                         RefusedSize{{ScriptedCapture::kWidth + 1, 5}, kTooLarge},
                                         RefusedSize{{5, ScriptedCapture::kHeight + 1}, kTooLarge},
                                         RefusedSize{{0xFFFFFFFF, 0xFFFFFFFF}, kTooLarge}));

TEST_F(FrameBuffer, isClearedByANewSizeAndKeepsItsOwn) {
    fill();
    capture_.SetFrameSize({5, 4});
    EXPECT_EQ(bufferContent(), std::vector<unsigned char>(ScriptedCapture::kBytes, 0));
    EXPECT_EQ(capture_.m_nbufSize, ScriptedCapture::kBytes);
}

TEST_F(FrameBuffer, isClearedAndScaledAnewUnderBothLocks) {
    windowCapture_.AllocBuffer(ScriptedCapture::kBytes);
    std::fill_n(windowCapture_.m_lpAppBuffer, ScriptedCapture::kBytes,
                static_cast<unsigned char>(0x3C));
    const Journal journal(lockNames(windowCapture_));
    windowCapture_.SetFrameSize({5, 4});
    EXPECT_THAT(journal.entries(),
                ElementsAre("[KXSC] CCaptureBase::SetFrameSize... Begin!", "lock buffer",
                            "lock app buffer", "memset_s(1092, 1092)", "memset_s(1092, 1092)",
                            "memcpy_s(8, 8)", "memcpy_s(8, 8)", "memcpy_s(8, 8)",
                            "[KXSC] CCaptureBase::SetFrameSize...End! w: 5,h:4",
                            "unlock app buffer", "unlock buffer"));
    EXPECT_EQ(std::count(windowCapture_.m_lpAppBuffer,
                         windowCapture_.m_lpAppBuffer + ScriptedCapture::kBytes, 0),
              ScriptedCapture::kBytes);
}

TEST_F(FrameBuffer, needNotBeThereForANewSize) {
    const Journal journal(lockNames(capture_));
    EXPECT_TRUE(capture_.SetFrameSize({5, 4}));
    EXPECT_THAT(journal.entries(), testing::Not(testing::Contains("memset_s(0, 0)")));
    EXPECT_EQ(capture_.m_lpBuffer, nullptr);
}

TEST_F(FrameBuffer, keepsItsContentAndItsLocksWhenASizeIsRefused) {
    fill();
    EXPECT_FALSE(capture_.SetFrameSize({0, 4}));
    EXPECT_FALSE(capture_.SetFrameSize({ScriptedCapture::kWidth + 1, 4}));
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_THAT(lock_recorder::ofThisThread(), IsEmpty());
}

// The bounds are the monitor's size, whichever way round its rectangle is.
TEST_F(FrameBuffer, isBoundByTheSizeOfAnUpsideDownMonitor) {
    ScriptedCapture capture(CMonitor(0, -8, -6, 32), CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP);
    EXPECT_TRUE(capture.SetFrameSize({8, 6}));
    EXPECT_FALSE(capture.SetFrameSize({9, 6}));
    EXPECT_FALSE(capture.SetFrameSize({8, 7}));
}

TEST_F(FrameBuffer, scalesToTheNewSizeFromTheMonitors) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    capture_.SetFrameSize({5, 4});
    scaler_recorder::forget();
    EXPECT_EQ(capture_.Resize(picture_.data(), ScriptedCapture::kWidth * 4), 1U);
    EXPECT_THAT(scaler_recorder::calls(), ElementsAre("BilinearInterpolation(21, 13, 5, 4, 4)"));
}

}  // namespace
