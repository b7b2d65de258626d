// The exported functions that hand out frames.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "CaptureBase.h"
#include "MonitorManager.h"
#include "contract_test.h"
#include "lock_recorder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const Message kUnknownInstance =
    error("CMonitorManager::GetCaptureInstance... Capture Index Invalid!");

class FrameAccess : public ContractTest {
  protected:
    static bool allZero(const CAP_DESKTOP_DATA& data) {
        const CAP_DESKTOP_DATA zero{};
        return std::memcmp(&data, &zero, sizeof data) == 0;
    }
};

TEST_F(FrameAccess, locksTheFrameThatTheDisplayShows) {
    const unsigned int index = startedCapture();
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    ASSERT_NE(frame.pData, nullptr);
    EXPECT_EQ(frame.dwWidth, kMainWidth);
    EXPECT_EQ(frame.dwHeight, kMainHeight);
    EXPECT_EQ(frame.dwDataLen, kMainWidth * kMainHeight * 4);
    uint32_t pixel = 0;
    std::memcpy(&pixel, frame.pData + (13 * kMainWidth + 27) * 4, sizeof pixel);
    EXPECT_EQ(pixel, scripted::colourfulPixel(27, 13));
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 3U);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(FrameAccess, holdsTheLockUntilTheUnlock) {
    const unsigned int index = startedCapture();
    CapMgr_LockScreenBuffer(index);
    ASSERT_THAT(lock_recorder::ofThisThread(), SizeIs(1));
    EXPECT_EQ(lock_recorder::ofThisThread()[0].operation, "lock");
    CapMgr_UnlockScreenBuffer(index);
    EXPECT_EQ(lock_recorder::ofThisThread()[1].operation, "unlock");
    EXPECT_EQ(lock_recorder::ofThisThread()[1].section, lock_recorder::ofThisThread()[0].section);
}

TEST_F(FrameAccess, keepsTheCaptureThreadFromWritingALockedFrame) {
    const unsigned int index = startedCapture();
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    const std::vector<uint8_t> before(frame.pData, frame.pData + frame.dwDataLen);
    scripted::change(kMain, [](scripted::Display& display) {
        display.pixel = [](size_t x, size_t y) { return scripted::colourfulPixel(x + 1, y); };
    });
    driven_time::wake();
    ASSERT_TRUE(trace_recorder::await("[KXSS]CCaptureMac::DoCapture ready to lock."));
    EXPECT_EQ(std::vector<uint8_t>(frame.pData, frame.pData + frame.dwDataLen), before);
    CapMgr_UnlockScreenBuffer(index);
    ASSERT_TRUE(driven_time::awaitSleep());
    CapMgr_LockScreenBuffer(index);
    EXPECT_NE(std::vector<uint8_t>(frame.pData, frame.pData + frame.dwDataLen), before);
    CapMgr_UnlockScreenBuffer(index);
}

// A uniform picture is held back at first, so that the capture runs and has no frame.
TEST_F(FrameAccess, hasNoFrameBeforeTheFirstIsDelivered) {
    scripted::change(kMain, [](scripted::Display& display) {
        display.rowPadding = 0;
        display.pixel = [](size_t, size_t) { return 0U; };
    });
    const unsigned int index = startedCapture();
    EXPECT_TRUE(allZero(CapMgr_LockScreenBuffer(index)));
    ASSERT_THAT(lock_recorder::ofThisThread(), SizeIs(1));
    EXPECT_EQ(lock_recorder::ofThisThread()[0].operation, "unlock");
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 3U);
}

TEST_F(FrameAccess, survivesUnlocksWithoutALock) {
    const unsigned int index = startedCapture();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 3U);
    }
    runRounds(2);
    EXPECT_NE(CapMgr_LockScreenBuffer(index).pData, nullptr);
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 3U);
}

TEST_F(FrameAccess, hasNothingOfAnIndexThatWasNotStarted) {
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    trace_recorder::forget();
    EXPECT_TRUE(allZero(CapMgr_LockScreenBuffer(index)));
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 0U);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(FrameAccess, hasNothingOfAnUnknownIndex) {
    CapMgr_GetMonitorCount();
    trace_recorder::forget();
    EXPECT_TRUE(allZero(CapMgr_LockScreenBuffer(5)));
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(5), 0U);
    EXPECT_TRUE(allZero(CapMgr_CaptureScreenBuffer(5)));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(kUnknownInstance, kUnknownInstance, kUnknownInstance,
                            framePath(0, " pCapture == NULL")));
}

TEST_F(FrameAccess, hasNothingOfAStoppedCapture) {
    const unsigned int index = startedCapture();
    CapMgr_StopCapture(index, 0);
    EXPECT_TRUE(allZero(CapMgr_LockScreenBuffer(index)));
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 0U);
}

TEST_F(FrameAccess, capturesNothingOnTheHostsThread) {
    const unsigned int index = startedCapture();
    EXPECT_TRUE(allZero(CapMgr_CaptureScreenBuffer(index)));
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(FrameAccess, tracesACaptureWithoutAnObject) {
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    trace_recorder::forget();
    EXPECT_TRUE(allZero(CapMgr_CaptureScreenBuffer(index)));
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(framePath(0, " pCapture == NULL")));
}

// Frames of the host's own.

TEST_F(FrameAccess, takesTheHostsFrame) {
    const unsigned int index = startedCapture();
    const std::vector<unsigned char> picture(kMainWidth * kMainHeight * 4, 0x42);
    CapMgr_UpdateScreenBuffer(index, picture.data(), static_cast<unsigned int>(picture.size()));
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    EXPECT_EQ(std::vector<unsigned char>(frame.pData, frame.pData + frame.dwDataLen), picture);
    CapMgr_UnlockScreenBuffer(index);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(eachFrame("CAPTURE_MANAGER_API UpdateScreenBuffer... capture index: 0, "
                                      "bmp length:58604"),
                            information("CCaptureBase::Capture... UpdateBuffer capture success  "
                                        "ID:0")));
}

TEST_F(FrameAccess, takesNoHostsFrameWithoutACapture) {
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    trace_recorder::forget();
    const unsigned char pixel[4] = {};
    CapMgr_UpdateScreenBuffer(index, pixel, 4);
    CapMgr_UpdateScreenBuffer(5, pixel, 4);
    const Message none = error("CAPTURE_MANAGER_API UpdateScreenBuffer... pCapture == NULL");
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(eachFrame("CAPTURE_MANAGER_API UpdateScreenBuffer... capture index: 0, "
                                      "bmp length:4"),
                            none,
                            eachFrame("CAPTURE_MANAGER_API UpdateScreenBuffer... capture index: 5, "
                                      "bmp length:4"),
                            kUnknownInstance, none));
}

}  // namespace
