// CCaptureBase: frames handed out to readers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "frame_buffer.h"

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
    EXPECT_FALSE(bufferIsFree());
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
    EXPECT_FALSE(bufferIsFree());
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
    const CAP_DESKTOP_DATA data = capture_.LockBuffer();
    EXPECT_EQ(data.pData, nullptr);
    EXPECT_THAT(lock_recorder::ofThisThread(), testing::Contains(bufferUse("unlock")));
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

}  // namespace
