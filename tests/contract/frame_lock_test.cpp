// CCaptureBase: frames handed out to readers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "frame_buffer.h"
#include "thread_watch.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kBound = std::chrono::seconds(10);

TEST_F(FrameBuffer, isNotThereBeforeTheFirstFrame) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    forgetEverything();
    EXPECT_TRUE(allZero(capture_.LockBuffer()));
    EXPECT_THAT(lock_recorder::ofThisThread(), ElementsAre(bufferUse("unlock")));
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_TRUE(bufferIsFree());
}

// The unlock without a lock must not let the owner's lock go.
TEST_F(FrameBuffer, isNotUnlockedForItsOwnerByAReaderOfNothing) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    capture_.m_csBuffer.lock();
    std::async(std::launch::async, [this] { capture_.LockBuffer(); }).get();
    EXPECT_TRUE(bufferIsHeld());
}

TEST_F(FrameBuffer, isHandedOutLocked) {
    fill();
    const CAP_DESKTOP_DATA data = capture_.LockBuffer();
    EXPECT_EQ(data.pData, capture_.m_lpBuffer);
    EXPECT_EQ(data.dwWidth, ScriptedCapture::kWidth);
    EXPECT_EQ(data.dwHeight, ScriptedCapture::kHeight);
    EXPECT_EQ(data.dwDataLen, ScriptedCapture::kBytes);
    EXPECT_THAT(data.reserved1, testing::Each(0U));
    EXPECT_EQ(data.reserved2, 0U);
    EXPECT_TRUE(bufferIsHeld());
}

TEST_F(FrameBuffer, isFreeAgainWhenUnlocked) {
    fill();
    capture_.LockBuffer();
    EXPECT_EQ(capture_.UnlockBuffer(), 3);
    EXPECT_TRUE(bufferIsFree());
}

TEST_F(FrameBuffer, hasTheScaledSize) {
    fill();
    capture_.SetFrameSize({5, 4});
    const CAP_DESKTOP_DATA data = capture_.LockBuffer();
    EXPECT_EQ(data.dwWidth, 5U);
    EXPECT_EQ(data.dwHeight, 4U);
    EXPECT_EQ(data.dwDataLen, 80U);
    capture_.UnlockBuffer();
}

TEST_F(FrameBuffer, isNotHeldWhenThereIsAFrameAndNoBuffer) {
    capture_.OnCaptureSuccess();
    const Journal journal(lockNames(capture_));
    const CAP_DESKTOP_DATA data = capture_.LockBuffer();
    EXPECT_EQ(data.pData, nullptr);
    EXPECT_EQ(data.dwWidth, ScriptedCapture::kWidth);
    EXPECT_EQ(data.dwDataLen, ScriptedCapture::kBytes);
    EXPECT_THAT(journal.entries(), ElementsAre("memset_s(56, 56)", "lock buffer", "unlock buffer"));
    EXPECT_TRUE(bufferIsFree());
}

TEST_F(FrameBuffer, isNotHandedOutWhileStopping) {
    fill();
    capture_.m_bStop = true;
    EXPECT_TRUE(allZero(capture_.LockBuffer()));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(bufferMessage(2, "CCaptureBase::LockBuffer m_bStop == true.")));
    EXPECT_THAT(lock_recorder::ofThisThread(), IsEmpty());
}

TEST_F(FrameBuffer, isClearedFromTheRecordFirstThenLocked) {
    fill();
    {
        const Journal journal(lockNames(capture_));
        capture_.LockBuffer();
        EXPECT_THAT(journal.entries(), ElementsAre("memset_s(56, 56)", "lock buffer"));
    }
    const Journal journal(lockNames(capture_));
    capture_.UnlockBuffer();
    EXPECT_THAT(journal.entries(), ElementsAre("unlock buffer"));
}

TEST_F(FrameBuffer, isLookedForAfterAStopIsLookedFor) {
    capture_.m_bStop = true;
    const Journal journal(lockNames(capture_));
    capture_.LockBuffer();
    EXPECT_THAT(journal.entries(), ElementsAre("memset_s(56, 56)",
                                               "[KXAS] CCaptureBase::LockBuffer m_bStop == true."));
}

TEST_F(FrameBuffer, ofTheWindowIsNeverHandedOut) {
    windowCapture_.AllocBuffer(ScriptedCapture::kBytes);
    windowCapture_.OnCaptureSuccess();
    EXPECT_EQ(windowCapture_.LockBuffer().pData, windowCapture_.m_lpBuffer);
    windowCapture_.UnlockBuffer();
}

TEST_F(FrameBuffer, isUnlockedWithAnotherResultAfterAStop) {
    fill();
    capture_.StopCapture();
    forgetEverything();
    EXPECT_EQ(capture_.UnlockBuffer(), 0);
    EXPECT_THAT(lock_recorder::ofThisThread(), ElementsAre(bufferUse("unlock"))) << "all the same";
}

TEST_F(FrameBuffer, isUnlockedWithAnotherResultWhileStopping) {
    fill();
    capture_.m_bStop = true;
    EXPECT_EQ(capture_.UnlockBuffer(), 0);
}

TEST_F(FrameBuffer, mayBeUnlockedWithoutALock) {
    EXPECT_EQ(capture_.UnlockBuffer(), 3);
    EXPECT_TRUE(bufferIsFree());
}

TEST_F(FrameBuffer, isNotWrittenWhileAReaderHoldsIt) {
    fill();
    capture_.LockBuffer();
    auto writer = std::async(std::launch::async, [this] {
        return capture_.Resize(picture_.data(), ScriptedCapture::kWidth * 4);
    });
    EXPECT_EQ(writer.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    capture_.UnlockBuffer();
    EXPECT_EQ(writer.wait_for(kBound), std::future_status::ready);
}

// The capture thread waits in its next frame for a reader that stops without unlocking.
class ReaderThatStops : public FrameBuffer {
  protected:
    void SetUp() override {
        FrameBuffer::SetUp();
        capture_.init = [this] {
            capture_.AllocBuffer(ScriptedCapture::kBytes);
            return true;
        };
        capture_.capture = [this] {
            return capture_.Resize(picture_.data(), ScriptedCapture::kWidth * 4) == 1;
        };
        capture_.unInit = [this] { capture_.DeallocBuffer(); };
        ASSERT_EQ(capture_.StartCapture(), 0U);
        ASSERT_TRUE(driven_time::awaitSleep());
    }

    // With the frame locked, lets the thread come to its next one.
    void lockAndGoOn() {
        ASSERT_NE(capture_.LockBuffer().pData, nullptr);
        driven_time::wake();
        for (int i = 0; i < 10000 && capture_.captureCalls < 2; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ASSERT_EQ(capture_.captureCalls, 2);
    }
};

TEST_F(ReaderThatStops, cancelsTheThreadAndMayUnlockThen) {
    lockAndGoOn();
    driven_time::timeOutNextEventWait();
    capture_.StopCapture();
    EXPECT_EQ(thread_watch::cancelled(), 1U);
    EXPECT_TRUE(thread_watch::awaitNone());
    EXPECT_EQ(capture_.m_lpBuffer, nullptr);
    EXPECT_EQ(capture_.UnlockBuffer(), 0) << "the thread could not take the stop for done";
    EXPECT_TRUE(bufferIsFree());
}

TEST_F(ReaderThatStops, letsTheThreadEndByUnlockingFirst) {
    lockAndGoOn();
    EXPECT_EQ(capture_.UnlockBuffer(), 3);
    capture_.StopCapture();
    EXPECT_EQ(thread_watch::cancelled(), 0U);
    EXPECT_EQ(capture_.UnlockBuffer(), 3) << "the thread took the stop for done";
}

}  // namespace
