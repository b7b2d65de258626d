// Bounded memory calls that fail: each is reported and changes nothing else.
#include "failed_call.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "CaptureMac.h"
#include "Monitor.h"
#include "MonitorManager.h"
#include "bounded_memory_faults.h"
#include "scripted_capture.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

struct Place {
    const char* name;
    std::function<void()> prepare;
    std::function<void()> act;
    const char* source;
    std::vector<const char*> calls;
};

class FailedCallAt : public FailedCall, public testing::WithParamInterface<Place> {};

TEST_P(FailedCallAt, isReported) {
    GetParam().prepare();
    trace_recorder::forget();
    memory_faults::failBoundedCalls(kCode);
    GetParam().act();
    std::vector<Message> expected;
    for (const char* call : GetParam().calls) {
        expected.push_back(failedCall(call, kCode));
    }
    EXPECT_EQ(reports(), expected);
    for (const Message& message : trace_recorder::messagesOfLevel(1)) {
        EXPECT_THAT(message.text, testing::StartsWith("[src/component/captureManager/" +
                                                      std::string(GetParam().source) + ";"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Places, FailedCallAt,
    testing::Values(
        Place{"monitorName",
              [] {},
              [] { EXPECT_EQ(CMonitor(722, 0).GetName(), "Panel 722"); },
              "Monitor",
              {"memset_s(displayName, MAX_MONITOR_NAME_LEN, 0, MAX_MONITOR_NAME_LEN)"}},
        Place{"monitorInfo",
              [] { CapMgr_GetMonitorCount(); },
              [] {
                  CAP_MONITOR_INFO description{};
                  EXPECT_TRUE(CapMgr_GetMonitorInfo(0, &description));
                  EXPECT_EQ(description.dwBitsPerPixel, 32U);
              },
              "CaptureManager",
              {"memset_s(pMonitorInfo, sizeof(CAP_MONITOR_INFO), 0, sizeof(CAP_MONITOR_INFO))",
               "strncpy_s(pMonitorInfo->cstrName, MAX_MONITOR_NAME_LEN, cstrMonitorName, "
               "MAX_MONITOR_NAME_LEN - 1)"}},
        Place{"monitorInfoPastTheCount",
              [] { CapMgr_GetMonitorCount(); },
              [] {
                  CAP_MONITOR_INFO description{};
                  EXPECT_FALSE(CapMgr_GetMonitorInfo(1, &description));
              },
              "CaptureManager",
              {"memset_s(pMonitorInfo, sizeof(CAP_MONITOR_INFO), 0, sizeof(CAP_MONITOR_INFO))"}},
        Place{"captureIndex",
              [] { CapMgr_GetMonitorCount(); },
              [] {
                  EXPECT_EQ(CapMgr_GenerateCaptureIndex(), 0U);
                  EXPECT_EQ(CMonitorManager::GetInstance()->GetCaptureMgr(0)->stFrameSize.dwWidth,
                            0U);
              },
              "MonitorManager",
              {"memset_s(&(pCapMgr->stFrameSize), sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE))"}},
        Place{"storedSize",
              [] { CapMgr_GenerateCaptureIndex(); },
              [] {
                  EXPECT_TRUE(CapMgr_SetCaptureFrameSize(0, {4, 3}));
              },
              "CaptureManager",
              {"memcpy_s(&pCapMgr->stFrameSize, sizeof(CAP_SIZE), &stSize, sizeof(CAP_SIZE))"}},
        Place{"captureScreen",
              [] { CapMgr_GenerateCaptureIndex(); },
              [] { EXPECT_EQ(CapMgr_CaptureScreenBuffer(0).pData, nullptr); },
              "CaptureManager",
              {kClearRecord}},
        Place{"lockScreen",
              [] { CapMgr_GenerateCaptureIndex(); },
              [] { EXPECT_EQ(CapMgr_LockScreenBuffer(0).pData, nullptr); },
              "CaptureManager",
              {kClearRecord}},
        Place{"scalerMade",
              [] {},
              [] { const CCaptureScaling scaling; },
              "CaptureScaling",
              {"memset_s(&m_sOriFrameSize, sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE))",
               "memset_s(&m_sFinalFrameSize, sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE))",
               "memset_s(&m_sCapFrameSize, sizeof(CAP_SIZE), 0, sizeof(CAP_SIZE))"}}),
    [](const auto& instance) { return instance.param.name; });

// Places that need an object of the test's own.

class FailedCallOfACapture : public FailedCall {
  protected:
    void SetUp() override {
        FailedCall::SetUp();
        capture_.AllocBuffer(ScriptedCapture::kBytes);
        trace_recorder::forget();
        memory_faults::failBoundedCalls(kCode);
    }

    ScriptedCapture capture_{CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW};
};

TEST_F(FailedCallOfACapture, isReportedWhenAFrameIsLocked) {
    capture_.OnCaptureSuccess();
    const CAP_DESKTOP_DATA data = capture_.LockBuffer();
    EXPECT_EQ(data.pData, capture_.m_lpBuffer);
    capture_.UnlockBuffer();
    EXPECT_THAT(reports(), ElementsAre(failedCall(kClearLocked, kCode)));
}

TEST_F(FailedCallOfACapture, isReportedForBothBuffersWhenTheSizeIsSet) {
    EXPECT_TRUE(capture_.SetFrameSize({5, 4}));
    const auto clear = [](const char* buffer) {
        return failedCall("memset_s(" + std::string(buffer) +
                              ", m_nbufSize * sizeof(uint8), 0, m_nbufSize * sizeof(uint8))",
                          kCode);
    };
    EXPECT_THAT(
        reports(),
        ElementsAre(clear("m_lpBuffer"), clear("m_lpAppBuffer"), failedCall(kCopySource, kCode),
                    failedCall(kCopyTarget, kCode), failedCall(kDeliverSource, kCode)));
}

TEST_F(FailedCallOfACapture, isReportedWhenTheHostsFrameIsCopied) {
    const unsigned char pixel[4] = {};
    capture_.UpdateBuffer(pixel, sizeof pixel);
    EXPECT_THAT(reports(),
                ElementsAre(failedCall("memcpy_s(m_lpBuffer, m_nbufSize, pData, nLen)", kCode)));
}

// The sizes were not copied, so both are still alike.
TEST_F(FailedCallOfACapture, isReportedWhenTheScalerIsInitialised) {
    EXPECT_TRUE(capture_.m_oScaling.Initialize({4, 3}, {2, 1}));
    EXPECT_THAT(reports(),
                ElementsAre(failedCall(kCopySource, kCode), failedCall(kCopyTarget, kCode),
                            failedCall(kDeliverSource, kCode)));
}

TEST_F(FailedCallOfACapture, isReportedWhenTheScaledSizeIsDelivered) {
    memory_faults::failBoundedCalls(0);
    capture_.m_oScaling.Initialize({4, 3}, {2, 1});
    memory_faults::failBoundedCalls(kCode);
    EXPECT_EQ(capture_.m_oScaling.RefreshScalingAlg(), 3);
    EXPECT_THAT(reports(), ElementsAre(failedCall(kDeliverTarget, kCode)));
}

// Frames of CoreGraphics.

class FailedCallOfAMacCapture : public FailedCall {
  protected:
    void SetUp() override {
        FailedCall::SetUp();
        const CMonitor monitor(kMain, 0);
        capture_ =
            std::make_unique<CCaptureMac>(&monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP);
        ASSERT_TRUE(capture_->Init());
        trace_recorder::forget();
        memory_faults::failBoundedCalls(kCode);
    }

    void TearDown() override {
        capture_->UnInit();
        capture_.reset();
        FailedCall::TearDown();
    }

    std::unique_ptr<CCaptureMac> capture_;
};

TEST_F(FailedCallOfAMacCapture, isReportedForEachRowThatIsRepacked) {
    capture_->ChangeBmpDataTo4BytesAligned();
    EXPECT_THAT(
        reports(),
        ElementsAreArray(std::vector<Message>(
            kMainHeight,
            failedCall("memcpy_s(pRowData, nWidth * 4, pRowOrginData, nWidth * 4)", kCode))));
}

// These two are errors of their own, not reports of a failed call.

TEST_F(FailedCallOfAMacCapture, isAnErrorWhenABlackFrameCannotBeMade) {
    scripted::fail("CGWindowListCreateImage");
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("CCaptureMac::DoCapture()... imageRef is null!"),
                            error("CCaptureMac::DoCapture()... memset_s failed, err = 34")));
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(FailedCallOfAMacCapture, isAnErrorWhenTheFrameCannotBeClearedOnAChange) {
    scripted::presentImagesOf(4, 4);
    EXPECT_FALSE(capture_->DoCapture());
    EXPECT_EQ(trace_recorder::messagesOfLevel(0).back(),
              error("CCaptureMac::DoCapture()... memset_s failed, err = 34"));
}

}  // namespace
