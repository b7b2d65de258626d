// CCaptureBase: the frame buffers, the frame size, and the frames that come in.
#include "frame_buffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bounded_memory_faults.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Allocation.

TEST_F(FrameBuffer, isAllocated) {
    capture_.AllocBuffer(700);
    EXPECT_NE(capture_.m_lpBuffer, nullptr);
    EXPECT_EQ(capture_.m_lpAppBuffer, nullptr);
    EXPECT_EQ(capture_.m_nbufSize, 700U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(bufferMessage(2,
                                          "CCaptureBase::AllocBuffer..dwSize = 700, "
                                          "m_nbufSize = 0"),
                            information("CCaptureBase::AllocBuffer [Mem] m_lpBuffer "
                                        "dwSize = 700, m_lpBuffer =<pointer>")));
}

class WindowCaptureType : public FrameBuffer, public testing::WithParamInterface<int> {};

TEST_P(WindowCaptureType, hasASecondBuffer) {
    ScriptedCapture capture(CAP_METHOD_COREGRAPHICS, static_cast<CAP_TYPE>(GetParam()));
    capture.AllocBuffer(700);
    EXPECT_NE(capture.m_lpAppBuffer, nullptr);
    EXPECT_THAT(trace_recorder::messages(),
                testing::Contains(information("CCaptureBase::AllocBuffer [Mem] m_lpAppBuffer "
                                              "dwSize = 700, m_lpAppBuffer = <pointer>")));
}

INSTANTIATE_TEST_SUITE_P(Types, WindowCaptureType, testing::Values(1, 2));

TEST_F(FrameBuffer, hasNoSecondBufferForOtherTypes) {
    ScriptedCapture capture(CAP_METHOD_COREGRAPHICS, static_cast<CAP_TYPE>(3));
    capture.AllocBuffer(700);
    EXPECT_EQ(capture.m_lpAppBuffer, nullptr);
}

TEST_F(FrameBuffer, isKeptWithItsContentWhenTheSizeIsTheSame) {
    fill();
    const unsigned char* const before = capture_.m_lpBuffer;
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    EXPECT_EQ(capture_.m_lpBuffer, before);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_EQ(trace_recorder::messages().size(), 1U);
}

TEST_F(FrameBuffer, isReplacedWhenTheSizeChanges) {
    capture_.AllocBuffer(700);
    trace_recorder::forget();
    capture_.AllocBuffer(800);
    EXPECT_EQ(capture_.m_nbufSize, 800U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(bufferMessage(2,
                                          "CCaptureBase::AllocBuffer..dwSize = 800, "
                                          "m_nbufSize = 700"),
                            information("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>"),
                            information("CCaptureBase::AllocBuffer [Mem] m_lpBuffer "
                                        "dwSize = 800, m_lpBuffer =<pointer>")));
}

TEST_F(FrameBuffer, ofSizeZeroIsNone) {
    ScriptedCapture capture(CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW);
    capture.AllocBuffer(700);
    capture.AllocBuffer(0);
    EXPECT_EQ(capture.m_lpBuffer, nullptr);
    EXPECT_EQ(capture.m_lpAppBuffer, nullptr);
    EXPECT_EQ(capture.m_nbufSize, 0U);
}

TEST_F(FrameBuffer, isNoneWhenMemoryIsShort) {
    memory_faults::failAllocation(7001);
    capture_.AllocBuffer(7001);
    EXPECT_EQ(capture_.m_lpBuffer, nullptr);
    EXPECT_EQ(capture_.m_nbufSize, 0U);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("CCaptureBase::AllocBuffer ERROR")));
}

TEST_F(FrameBuffer, isNoneWhenMemoryIsShortForTheSecondOne) {
    ScriptedCapture capture(CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW);
    memory_faults::failAllocation(7001, 1);
    capture.AllocBuffer(7001);
    EXPECT_EQ(capture.m_lpBuffer, nullptr);
    EXPECT_EQ(capture.m_lpAppBuffer, nullptr);
    EXPECT_EQ(capture.m_nbufSize, 0U);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("CCaptureBase::AllocBuffer ERROR")));
}

TEST_F(FrameBuffer, isFreedUnderItsLock) {
    ScriptedCapture capture(CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW);
    capture.AllocBuffer(700);
    forgetEverything();
    capture.DeallocBuffer();
    EXPECT_THAT(
        lock_recorder::ofThisThread(),
        ElementsAre(LockUse{&capture.m_csBuffer, "lock"}, LockUse{&capture.m_csBuffer, "unlock"},
                    LockUse{&capture.m_csAppBuffer, "lock"},
                    LockUse{&capture.m_csAppBuffer, "unlock"}));
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>"),
                    information("CCaptureBase::DeallocBuffer[Mem], m_lpAppBuffer: <pointer>")));
}

TEST_F(FrameBuffer, isFreedOnlyOnce) {
    capture_.DeallocBuffer();
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_EQ(capture_.m_nbufSize, 0U);
}

// Frame size.

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

TEST_F(FrameBuffer, isResizedUnderBothLocks) {
    capture_.SetFrameSize({5, 4});
    EXPECT_THAT(lock_recorder::ofThisThread(),
                testing::IsSupersetOf({bufferUse("lock"), appBufferUse("lock")}));
    forgetEverything();
    capture_.SetFrameSize({6, 4});
    EXPECT_THAT(lock_recorder::ofThisThread(),
                ElementsAre(bufferUse("lock"), appBufferUse("lock"), appBufferUse("unlock"),
                            bufferUse("unlock")));
}

// Frames of the host's own.

TEST_F(FrameBuffer, takesAFrameOfItsOwnSize) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    forgetEverything();
    capture_.UpdateBuffer(picture_.data(), ScriptedCapture::kBytes);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::Capture... UpdateBuffer capture success  "
                                        "ID:0")));
    EXPECT_THAT(lock_recorder::ofThisThread(), ElementsAre(bufferUse("lock"), bufferUse("unlock")));
}

TEST_F(FrameBuffer, refusesAFrameOneByteTooLong) {
    fill();
    std::vector<unsigned char> longer(ScriptedCapture::kBytes + 1, 9);
    capture_.UpdateBuffer(longer.data(), ScriptedCapture::kBytes + 1);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(bufferMessage(0, " m_lpBuffer = NULL ||(unsigned)nLen <= m_nbufSize ")));
    EXPECT_TRUE(bufferIsFree());
}

TEST_F(FrameBuffer, refusesAFrameWithoutABuffer) {
    capture_.UpdateBuffer(picture_.data(), 1);
    EXPECT_THAT(
        trace_recorder::messagesOfLevel(0),
        ElementsAre(bufferMessage(0, " m_lpBuffer = NULL ||(unsigned)nLen <= m_nbufSize ")));
}

TEST_F(FrameBuffer, ignoresAFrameWhilePaused) {
    fill();
    capture_.PauseCapture(true);
    forgetEverything();
    const unsigned char pixel[4] = {};
    capture_.UpdateBuffer(pixel, sizeof pixel);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_THAT(lock_recorder::ofThisThread(), IsEmpty());
}

TEST_F(FrameBuffer, tracesEveryFiftiethFrameOfTheHost) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    trace_recorder::forget();
    for (int i = 0; i < 101; ++i) {
        capture_.UpdateBuffer(picture_.data(), 4);
    }
    const std::string text = "CCaptureBase::Capture... UpdateBuffer capture success  ID:";
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information(text + "0"), information(text + "50"), information(text + "100")));
}

// Frames of the backend.

TEST_F(FrameBuffer, takesABackendsFrameUnderItsLock) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    forgetEverything();
    EXPECT_EQ(capture_.Resize(picture_.data(), ScriptedCapture::kWidth * 4), 1U);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_THAT(lock_recorder::ofThisThread(), ElementsAre(bufferUse("lock"), bufferUse("unlock")));
}

TEST_F(FrameBuffer, takesNoBackendsFrameWithoutABuffer) {
    EXPECT_EQ(capture_.Resize(picture_.data(), ScriptedCapture::kWidth * 4), 0U);
    EXPECT_TRUE(bufferIsFree());
}

TEST_F(FrameBuffer, takesNoBackendsFrameWithoutData) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    EXPECT_EQ(capture_.Resize(nullptr, ScriptedCapture::kWidth * 4), 0U);
}
}  // namespace
