// The exported capture control functions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "CaptureBase.h"
#include "MonitorManager.h"
#include "contract_test.h"
#include "thread_watch.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const Message kUnknownRecord = error("CMonitorManager::GetCaptureMgr... Capture Index Invalid!");
const Message kUnknownInstance =
    error("CMonitorManager::GetCaptureInstance... Capture Index Invalid!");

class Control : public ContractTest {
  protected:
    void SetUp() override {
        ContractTest::SetUp();
        index_ = CapMgr_GenerateCaptureIndex();
        forgetEverything();
    }

    uint32_t start(int method = 4, int type = 0, unsigned int version = 0,
                   unsigned int monitor = 0) const {
        return CapMgr_StartCapture(index_, monitor, static_cast<CAP_METHOD>(method),
                                   static_cast<CAP_TYPE>(type), version, PARALLEL_CAPTURE_MODE);
    }

    // Started, its thread asleep after the first frame, and what was recorded so far forgotten.
    void run() const {
        ASSERT_EQ(start(), 0U);
        ASSERT_TRUE(driven_time::awaitSleep());
        forgetEverything();
    }

    CCaptureBase* capture() const {
        return CMonitorManager::GetInstance()->GetCaptureInstance(index_);
    }
    StructCaptureMgr& record() const {
        return *CMonitorManager::GetInstance()->GetCaptureMgr(index_);
    }

    unsigned int index_ = 0;
};

// Start.

TEST_F(Control, startsNothingUnderAnUnknownIndex) {
    EXPECT_EQ(CapMgr_StartCapture(5, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 3,
                                  PARALLEL_CAPTURE_MODE),
              1U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CAPTURE_MANAGER_API StartCapture... capture index: 5, "
                                "monitor index: 0, capture type: 4, share type: 0, "
                                "CustomVersion: 3"),
                    step("CPST", "begin to start capture",
                         "[CapIndex:5, MonitorIndex:0, CapType:4, ShareType:0, CustomVer:3]"),
                    kUnknownRecord, error("StartCapture... param dwCaptureIndex invalid!")));
    EXPECT_EQ(thread_watch::created(), 0U);
    EXPECT_EQ(CMonitorManager::GetInstance()->GetCaptureMgr(5), nullptr);
}

class RefusedType : public Control, public testing::WithParamInterface<int> {};

TEST_P(RefusedType, startsNothing) {
    EXPECT_EQ(start(GetParam()), 1U);
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(trace_recorder::messages().back(),
              warning("StartCapture()... AddCaptureInstance failed!"));
    EXPECT_EQ(thread_watch::created(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Types, RefusedType, testing::Values(1, 2, 3, 5, -1));

TEST_F(Control, tracesSignedTypesAsSigned) {
    start(-4, -2);
    EXPECT_EQ(trace_recorder::messages()[1],
              step("CPST", "begin to start capture",
                   "[CapIndex:0, MonitorIndex:0, CapType:-4, ShareType:-2, CustomVer:0]"));
}

TEST_F(Control, startsNothingOnAnUnknownMonitor) {
    EXPECT_EQ(start(4, 0, 0, 9), 1U);
    EXPECT_EQ(trace_recorder::messages().back(),
              warning("StartCapture()... AddCaptureInstance failed!"));
}

TEST_F(Control, reportsThatNoThreadCouldBeMade) {
    thread_watch::failNextCreation(EAGAIN);
    EXPECT_EQ(start(), 1U);
    EXPECT_EQ(trace_recorder::messages().back(),
              step("CPST", "start capture end", "[Ret:1, CapType:4, FrameRate:0]"));
    EXPECT_NE(capture(), nullptr);
}

TEST_F(Control, poursStoredSettingsIntoTheCapture) {
    CapMgr_SetMaxFrameRate(index_, 2);
    CapMgr_SetCaptureFrameSize(index_, {40, 30});
    CapMgr_SetExcludeWnd(index_, window(8), CAP_EXC_WND_ADD);
    CapMgr_SetExcludeWnd(index_, window(3), CAP_EXC_WND_ADD);
    trace_recorder::forget();
    ASSERT_EQ(start(), 0U);
    const auto messages = trace_recorder::messagesOfThisThread();
    const auto poured = std::find(messages.begin(), messages.end(),
                                  information("CCaptureBase::SetCaptureMode end."));
    EXPECT_THAT(std::vector<Message>(poured, messages.end()),
                ElementsAre(information("CCaptureBase::SetCaptureMode end."),
                            information("CCaptureBase::SetMaxFrameRate... Begin!"),
                            information("CCaptureBase::SetMaxFrameRate...End! FrameRate: 2"),
                            information("CCaptureBase::SetFrameSize... Begin!"),
                            information("CCaptureBase::SetFrameSize...End! w: 40,h:30"),
                            information("CCaptureBase::SetExcludeWnd... Begin!"),
                            information("CCaptureBase::SetExcludeWnd... End!"),
                            information("CCaptureBase::SetExcludeWnd... Begin!"),
                            information("CCaptureBase::SetExcludeWnd... End!"),
                            information("CCaptureBase::StartCapture()... Begin! capType:4"),
                            information("CCaptureBase::StartCapture()... End!"),
                            step("CPST", "start capture end", "[Ret:0, CapType:4, FrameRate:2]")));
    EXPECT_EQ(capture()->GetMaxFrameRate(), 2);
}

TEST_F(Control, startsAlthoughAStoredSizeIsTooLarge) {
    CapMgr_SetCaptureFrameSize(index_, {4000, 3000});
    EXPECT_EQ(start(), 0U);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("CCaptureBase::SetFrameRate... param nFrameSize error")));
}

TEST_F(Control, keepsTheRunningCaptureOfASecondStart) {
    run();
    const CCaptureBase* const first = capture();
    EXPECT_EQ(start(), 0U);
    EXPECT_EQ(capture(), first);
    EXPECT_EQ(thread_watch::created(), 1U);
    const auto messages = trace_recorder::messagesOfThisThread();
    EXPECT_THAT(messages,
                AllOf(Contains(error("CMonitorManager::AddCaptureInstance()... Capture is already "
                                     "existed!")),
                      Contains(warning("CCaptureBase::StartCapture()... Capture thread is already "
                                       "running!"))));
    EXPECT_EQ(messages.back(),
              step("CPST", "start capture end", "[Ret:0, CapType:4, FrameRate:0]"));
}

TEST_F(Control, replacesTheRunningCaptureOfAnotherStart) {
    run();
    EXPECT_EQ(start(4, 1), 0U);
    EXPECT_EQ(thread_watch::created(), 2U);
    EXPECT_EQ(trace_recorder::count("[KXSC] CCaptureMac::~CCaptureMac()... End"), 1U);
    EXPECT_EQ(capture()->GetCapType(), CAP_TYPE_APP_WINDOW);
}

TEST_F(Control, startsInParallelModeWhereSerialIsAsked) {
    CapMgr_StartCapture(index_, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                        SERIAL_CAPTURE_MODE);
    trace_recorder::forget();
    EXPECT_FALSE(CapMgr_IsSerialCapMode(index_));
}

TEST_F(Control, isNotSerialWithoutACapture) {
    EXPECT_FALSE(CapMgr_IsSerialCapMode(index_));
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_FALSE(CapMgr_IsSerialCapMode(5));
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(kUnknownInstance));
}

// Stop.

TEST_F(Control, stopsAndKeepsTheRecord) {
    CapMgr_SetExcludeWnd(index_, window(3), CAP_EXC_WND_ADD);
    run();
    EXPECT_TRUE(CapMgr_StopCapture(index_, 0));
    EXPECT_EQ(capture(), nullptr);
    EXPECT_THAT(record().vecPresetExcludeWnd, ElementsAre(window(3)));
    EXPECT_TRUE(thread_watch::awaitNone());
}

TEST_F(Control, forgetsPresetWindowsWhenStoppedWithTheFlag) {
    CapMgr_SetExcludeWnd(index_, window(3), CAP_EXC_WND_ADD);
    run();
    EXPECT_TRUE(CapMgr_StopCapture(index_, 1));
    EXPECT_THAT(record().vecPresetExcludeWnd, IsEmpty());
}

TEST_F(Control, keepsPresetWindowsForAnyOtherFlag) {
    CapMgr_SetExcludeWnd(index_, window(3), CAP_EXC_WND_ADD);
    run();
    EXPECT_TRUE(CapMgr_StopCapture(index_, 2));
    EXPECT_THAT(record().vecPresetExcludeWnd, ElementsAre(window(3)));
}

TEST_F(Control, stopsNothingAndKeepsPresetWindowsWithoutACapture) {
    CapMgr_SetExcludeWnd(index_, window(3), CAP_EXC_WND_ADD);
    trace_recorder::forget();
    EXPECT_FALSE(CapMgr_StopCapture(index_, 1));
    EXPECT_THAT(record().vecPresetExcludeWnd, ElementsAre(window(3)));
    EXPECT_THAT(trace_recorder::rawTexts(),
                ElementsAre("[KXSC] CAPTURE_MANAGER_API StopCapture...  capture index: 0",
                            "[KXSC][CPSP][STEP][begin to stop capture][CapIndex:0, FlushWnd:1, "
                            "pCapture:0x0]",
                            "[KXSC][CPSP][STEP][stop capture end][Ret:false]"));
}

TEST_F(Control, stopsNothingUnderAnUnknownIndex) {
    EXPECT_FALSE(CapMgr_StopCapture(5, -3));
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(
            information("CAPTURE_MANAGER_API StopCapture...  capture index: 5"), kUnknownInstance,
            step("CPSP", "begin to stop capture", "[CapIndex:5, FlushWnd:-3, pCapture:<pointer>]"),
            step("CPSP", "stop capture end", "[Ret:false]")));
}

TEST_F(Control, startsAgainAfterAStop) {
    run();
    CapMgr_StopCapture(index_, 0);
    driven_time::reset();
    EXPECT_EQ(start(), 0U);
    ASSERT_TRUE(driven_time::awaitSleep());
    EXPECT_NE(CapMgr_LockScreenBuffer(index_).pData, nullptr);
    CapMgr_UnlockScreenBuffer(index_);
}

// Pause and resume.

TEST_F(Control, pausesAndResumesOnce) {
    run();
    EXPECT_TRUE(CapMgr_PauseCapture(index_));
    EXPECT_FALSE(CapMgr_PauseCapture(index_));
    EXPECT_TRUE(CapMgr_ResumeCapture(index_));
    EXPECT_FALSE(CapMgr_ResumeCapture(index_));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API PauseCapture... capture index: 0"),
                            information("CCaptureBase::PauseCapture... Pause!"),
                            information("CAPTURE_MANAGER_API PauseCapture... capture index: 0"),
                            information("CAPTURE_MANAGER_API ResumeCapture... capture index: 0"),
                            information("CCaptureBase::PauseCapture... Resume!"),
                            information("CAPTURE_MANAGER_API ResumeCapture... capture index: 0")));
}

TEST_F(Control, pausesNothingWithoutACapture) {
    EXPECT_FALSE(CapMgr_PauseCapture(index_));
    EXPECT_FALSE(CapMgr_ResumeCapture(index_));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API PauseCapture... capture index: 0"),
                            information("CAPTURE_MANAGER_API ResumeCapture... capture index: 0")));
}

TEST_F(Control, pausesNothingUnderAnUnknownIndex) {
    EXPECT_FALSE(CapMgr_PauseCapture(5));
    EXPECT_FALSE(CapMgr_ResumeCapture(5));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API PauseCapture... capture index: 5"),
                            kUnknownInstance,
                            information("CAPTURE_MANAGER_API ResumeCapture... capture index: 5"),
                            kUnknownInstance));
}

TEST_F(Control, capturesNothingWhilePaused) {
    run();
    CapMgr_PauseCapture(index_);
    runRounds(2);
    EXPECT_EQ(scripted::countCalls("CGWindowListCreateImage"), 0U);
    CapMgr_ResumeCapture(index_);
    runRounds(1);
    EXPECT_EQ(scripted::countCalls("CGWindowListCreateImage"), 1U);
}

// Frame size.

TEST_F(Control, storesASizeBeforeAStart) {
    EXPECT_TRUE(CapMgr_SetCaptureFrameSize(index_, {4000, 1}));
    EXPECT_EQ(record().stFrameSize.dwWidth, 4000U);
    EXPECT_EQ(record().stFrameSize.dwHeight, 1U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("SetCaptureFrameSize... cap index: 0, w: 4000, h: 1")));
}

TEST_F(Control, appliesASizeStoredBeforeTheStart) {
    CapMgr_SetCaptureFrameSize(index_, {40, 30});
    run();
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index_);
    EXPECT_EQ(frame.dwWidth, 40U);
    EXPECT_EQ(frame.dwHeight, 30U);
    CapMgr_UnlockScreenBuffer(index_);
}

TEST_F(Control, appliesASizeAtOnceWhileRunning) {
    run();
    EXPECT_TRUE(CapMgr_SetCaptureFrameSize(index_, {40, 30}));
    EXPECT_EQ(CapMgr_LockScreenBuffer(index_).dwWidth, 40U);
    CapMgr_UnlockScreenBuffer(index_);
}

TEST_F(Control, storesASizeThatTheRunningCaptureRefuses) {
    run();
    EXPECT_FALSE(CapMgr_SetCaptureFrameSize(index_, {4000, 30}));
    EXPECT_EQ(record().stFrameSize.dwWidth, 4000U);
}

class ZeroSize : public Control, public testing::WithParamInterface<CAP_SIZE> {};

TEST_P(ZeroSize, isRefused) {
    CapMgr_SetCaptureFrameSize(index_, {40, 30});
    trace_recorder::forget();
    EXPECT_FALSE(CapMgr_SetCaptureFrameSize(index_, GetParam()));
    EXPECT_EQ(record().stFrameSize.dwWidth, 40U);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("SetFrameRate... param stSize invalid!")));
}

INSTANTIATE_TEST_SUITE_P(Sizes, ZeroSize,
                         testing::Values(CAP_SIZE{0, 100}, CAP_SIZE{100, 0}, CAP_SIZE{0, 0}));

TEST_F(Control, refusesASizeUnderAnUnknownIndexBeforeItLooksAtIt) {
    EXPECT_FALSE(CapMgr_SetCaptureFrameSize(5, {0, 0}));
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("SetCaptureFrameSize... cap index: 5, w: 0, h: 0"), kUnknownRecord,
                    error("SetCaptureFrameSize... param dwCaptureIndex invalid!")));
}

}  // namespace
