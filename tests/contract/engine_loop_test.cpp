// CCaptureBase: the capture thread and its loop.
#include "engine_loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "lock_recorder.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(EngineLoop, createsOneDetachedThread) {
    start();
    EXPECT_EQ(thread_watch::created(), 1U);
    EXPECT_TRUE(thread_watch::lastWasDetached());
    EXPECT_EQ(thread_watch::lastScopeAsked(), PTHREAD_SCOPE_PROCESS);
    EXPECT_TRUE(thread_watch::attributesDestroyed());
}

TEST_F(EngineLoop, refusesASecondStartKindly) {
    start();
    trace_recorder::forget();
    EXPECT_EQ(capture_.StartCapture(), 0U);
    EXPECT_EQ(thread_watch::created(), 1U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CCaptureBase::StartCapture()... Begin! capType:4"),
                    warning("CCaptureBase::StartCapture()... Capture thread is already running!")));
}

TEST_F(EngineLoop, resumesWithASecondStart) {
    start();
    capture_.PauseCapture(true);
    capture_.StartCapture();
    EXPECT_FALSE(capture_.m_bPause);
}

TEST_F(EngineLoop, reportsThatNoThreadCouldBeMade) {
    thread_watch::failNextCreation(EAGAIN);
    EXPECT_EQ(capture_.StartCapture(), 1U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::StartCapture()... Begin! capType:4"),
                            error("CCaptureBase::StartCapture()... Begin CaptureThread failed")));
    EXPECT_FALSE(capture_.m_bCaptureThreadRunning);
    EXPECT_FALSE(thread_watch::attributesDestroyed()) << "they stay undestroyed on this path";
}

TEST_F(EngineLoop, startsAfterAFailedStart) {
    thread_watch::failNextCreation(EAGAIN);
    ASSERT_EQ(capture_.StartCapture(), 1U);
    start();
    EXPECT_EQ(thread_watch::created(), 1U);
}

TEST_F(EngineLoop, stopsAtOnceAfterAFailedStart) {
    thread_watch::failNextCreation(EAGAIN);
    ASSERT_EQ(capture_.StartCapture(), 1U);
    capture_.StopCapture();
    EXPECT_THAT(driven_time::eventWaits(), IsEmpty());
}

TEST_F(EngineLoop, tracesTheThreadFromBeginToEnd) {
    start();
    capture_.StopCapture();
    ASSERT_TRUE(trace_recorder::await("[KXSC] CCaptureBase::CaptureThread()... End!"));
    EXPECT_THAT(
        trace_recorder::messagesOfOtherThreads(),
        ElementsAre(information("CCaptureBase::CaptureThread()... Begin!"),
                    information("CCaptureBase::Capture()... Begin"), information("m_bStop = false"),
                    information("CCaptureBase::Capture... capture success  ID:0"),
                    information("CCaptureBase::Capture()... End"),
                    information("CCaptureBase::CaptureThread()... End!")));
}

TEST_F(EngineLoop, tracesAStop) {
    start();
    trace_recorder::forget();
    capture_.StopCapture();
    EXPECT_THAT(trace_recorder::messagesOfThisThread(),
                ElementsAre(information("CCaptureBase::StopCapture... Begin!"),
                            information("CCaptureBase::StopCapture... End!!")));
}

TEST_F(EngineLoop, waitsUpToThreeSecondsForItsThread) {
    start();
    capture_.StopCapture();
    EXPECT_THAT(driven_time::eventWaits(), ElementsAre(3000U));
    EXPECT_EQ(thread_watch::cancelled(), 0U);
}

TEST_F(EngineLoop, unInitialisesOnTheThreadAndOnceMoreInTheStop) {
    start();
    capture_.StopCapture();
    EXPECT_EQ(capture_.unInitCalls, 2);
}

TEST_F(EngineLoop, forgetsItsFramesWhenStopped) {
    start();
    EXPECT_EQ(capture_.m_dwFrameID, 1U);
    capture_.StopCapture();
    EXPECT_EQ(capture_.m_dwFrameID, 0U);
    EXPECT_FALSE(capture_.m_bCaptureThreadRunning);
}

TEST_F(EngineLoop, startsAgainAfterAStop) {
    start();
    capture_.StopCapture();
    driven_time::reset();
    EXPECT_EQ(start(), 1 * kMs);
    EXPECT_EQ(capture_.initCalls, 2);
    EXPECT_EQ(thread_watch::created(), 2U);
}

TEST_F(EngineLoop, stopsWithoutAThread) {
    capture_.StopCapture();
    EXPECT_THAT(driven_time::eventWaits(), IsEmpty());
    EXPECT_EQ(capture_.unInitCalls, 1);
}

// The thread sleeps, which it may be cancelled in; no time is left for it.
TEST_F(EngineLoop, cancelsAThreadThatDoesNotEndInTime) {
    start();
    driven_time::timeOutNextEventWait();
    trace_recorder::forget();
    capture_.StopCapture();
    EXPECT_EQ(thread_watch::cancelled(), 1U);
    EXPECT_THAT(
        trace_recorder::messagesOfThisThread(),
        ElementsAre(information("CCaptureBase::StopCapture... Begin!"),
                    information("CCaptureBase::StopCature... Close capture thread timeout!"),
                    information("CCaptureBase::StopCapture... End!!")));
    EXPECT_TRUE(thread_watch::awaitNone());
}

TEST_F(EngineLoop, endsWhenInitFails) {
    capture_.init = [] { return false; };
    EXPECT_EQ(capture_.StartCapture(), 0U);
    EXPECT_TRUE(thread_watch::awaitNone());
    EXPECT_EQ(capture_.captureCalls, 0);
    EXPECT_EQ(capture_.unInitCalls, 0);
    EXPECT_TRUE(capture_.m_bCaptureThreadRunning);
    EXPECT_THAT(trace_recorder::messagesOfOtherThreads(),
                ElementsAre(information("CCaptureBase::CaptureThread()... Begin!"),
                            information("CCaptureBase::Capture()... Begin"),
                            error("CCaptureBase::Capture... Init failed"),
                            information("CCaptureBase::CaptureThread()... End!")));
}

TEST_F(EngineLoop, refusesAStartAfterInitFailedUntilItIsStopped) {
    capture_.init = [] { return false; };
    capture_.StartCapture();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_EQ(capture_.StartCapture(), 0U);
    EXPECT_EQ(thread_watch::created(), 1U);
    capture_.StopCapture();
    EXPECT_EQ(capture_.StartCapture(), 0U);
    EXPECT_EQ(thread_watch::created(), 2U);
}

TEST_F(EngineLoop, capturesNothingWhenStoppedDuringInit) {
    capture_.init = [this] {
        capture_.m_bStop = true;
        return true;
    };
    capture_.StartCapture();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_EQ(capture_.captureCalls, 0);
    EXPECT_EQ(capture_.unInitCalls, 1);
    EXPECT_FALSE(capture_.m_bStop) << "cleared when the loop has ended";
    EXPECT_EQ(trace_recorder::count("[KXSC] m_bStop = true"), 1U);
}

TEST_F(EngineLoop, callsTheMessageProcedureEachRoundAlsoWhenPaused) {
    start();
    capture_.PauseCapture(true);
    nextSleep();
    nextSleep();
    EXPECT_EQ(capture_.messageCalls, 3);
    EXPECT_EQ(capture_.captureCalls, 1);
}

TEST_F(EngineLoop, theThreadEntryIgnoresANullObject) {
    EXPECT_EQ(CCaptureBase::CaptureThread(nullptr), nullptr);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::CaptureThread()... Begin!"),
                            information("CCaptureBase::CaptureThread()... End!")));
}

// Pause and mode.

TEST_F(EngineLoop, pausesAndResumesOnce) {
    EXPECT_TRUE(capture_.PauseCapture(true));
    EXPECT_FALSE(capture_.PauseCapture(true));
    EXPECT_TRUE(capture_.PauseCapture(false));
    EXPECT_FALSE(capture_.PauseCapture(false));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::PauseCapture... Pause!"),
                            information("CCaptureBase::PauseCapture... Resume!")));
}

TEST_F(EngineLoop, doesNotSwitchModesWithoutSerialSupport) {
    EXPECT_FALSE(capture_.SwitchMode(0));
    EXPECT_FALSE(capture_.SwitchMode(1));
    EXPECT_FALSE(capture_.m_bPause);
    EXPECT_THAT(trace_recorder::messages(),
                Each(information("CCaptureBase::SwitchMode()... disable")));
}

TEST_F(EngineLoop, switchesModesWithSerialSupport) {
    capture_.serial = true;
    EXPECT_TRUE(capture_.SwitchMode(0));
    EXPECT_TRUE(capture_.m_bPause);
    EXPECT_EQ(capture_.GetCaptureMode(), SERIAL_CAPTURE_MODE);
    EXPECT_TRUE(capture_.SwitchMode(1));
    EXPECT_FALSE(capture_.m_bPause);
    EXPECT_EQ(capture_.GetCaptureMode(), PARALLEL_CAPTURE_MODE);
    EXPECT_FALSE(capture_.SwitchMode(2));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::SwitchMode()... SERIAL_CAPTURE_MODE"),
                            information("CCaptureBase::SwitchMode()... PARALLEL_CAPTURE_MODE"),
                            information("CCaptureBase::SwitchMode()... unknowed")));
}

TEST_F(EngineLoop, makesSerialModeParallelWithoutSupport) {
    capture_.SetCaptureMode(SERIAL_CAPTURE_MODE);
    EXPECT_EQ(capture_.GetCaptureMode(), PARALLEL_CAPTURE_MODE);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CCaptureBase::SetCaptureMode begin. cap mode:0"),
                    information("CCaptureBase::SetCaptureMode, not support serial, change to "
                                "parallel."),
                    information("CCaptureBase::SetCaptureMode end.")));
}

TEST_F(EngineLoop, storesSerialModeWithSupportAndDoesNotPause) {
    capture_.serial = true;
    capture_.SetCaptureMode(SERIAL_CAPTURE_MODE);
    EXPECT_EQ(capture_.GetCaptureMode(), SERIAL_CAPTURE_MODE);
    EXPECT_FALSE(capture_.m_bPause);
}

TEST_F(EngineLoop, knowsNoErrors) {
    EXPECT_EQ(capture_.GetLastErrorCode(), 0U);
    EXPECT_EQ(capture_.GetErrorCount(), 0U);
    EXPECT_EQ(capture_.CCaptureBase::CaptureScreen().pData, nullptr);
    EXPECT_FALSE(capture_.CCaptureBase::SerialModeEnabled());
    EXPECT_TRUE(capture_.CCaptureBase::DoCapture());
}

// Locks of an object's life.

TEST(EngineLocks, areInitialisedAndCleanedUpInOrder) {
    std::vector<LockUse> expected;
    lock_recorder::forget();
    {
        const ScriptedCapture capture;
        const VQ_Critical_Section* const sections[] = {&capture.m_csBuffer, &capture.m_csAppBuffer,
                                                       &capture.m_csExcludeWnd,
                                                       &capture.m_csReserved};
        for (const char* operation : {"init", "cleanup"}) {
            for (const VQ_Critical_Section* section : sections) {
                expected.push_back({section, operation});
            }
        }
    }
    EXPECT_EQ(lock_recorder::ofThisThread(), expected);
}

}  // namespace
