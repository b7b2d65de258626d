// CCaptureBase: the capture thread and its loop.
#include "engine_loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(EngineLoop, createsOneDetachedThread) {
    start();
    EXPECT_EQ(thread_watch::created(), 1U);
    EXPECT_TRUE(thread_watch::lastWasDetached());
    EXPECT_EQ(thread_watch::lastScopeAsked(), PTHREAD_SCOPE_PROCESS);
    EXPECT_TRUE(thread_watch::attributesDestroyed());
}

TEST_F(EngineLoop, tracesItsMethodAtTheStart) {
    ScriptedCapture other(static_cast<CAP_METHOD>(-3));
    forgetEverything();
    thread_watch::failNextCreation(ENOMEM);
    EXPECT_EQ(other.StartCapture(), 1U);
    EXPECT_EQ(trace_recorder::messages().front(),
              information("CCaptureBase::StartCapture()... Begin! capType:-3"));
}

TEST_F(EngineLoop, tracesAStart) {
    start();
    EXPECT_THAT(trace_recorder::messagesOfThisThread(),
                ElementsAre(information("CCaptureBase::StartCapture()... Begin! capType:4"),
                            information("CCaptureBase::StartCapture()... End!")));
    EXPECT_TRUE(capture_.m_bCaptureThreadRunning);
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
    EXPECT_TRUE(capture_.m_bStop) << "no loop was there to clear it";
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::StopCapture... Begin!"),
                            information("CCaptureBase::StopCapture... End!!")));
}

TEST_F(EngineLoop, forgetsItsThreadWhenStopped) {
    start();
    EXPECT_NE(capture_.m_hCaptureThread, pthread_t{});
    capture_.StopCapture();
    EXPECT_EQ(capture_.m_hCaptureThread, pthread_t{});
    capture_.StopCapture();
    EXPECT_EQ(driven_time::eventWaits().size(), 1U) << "nothing to wait for the second time";
}

TEST_F(EngineLoop, isMarkedAsStoppingAndNotRunningBeforeTheStopUninitialises) {
    capture_.m_bCaptureThreadRunning = true;
    capture_.m_dwFrameID = 5;
    bool asExpected = false;
    capture_.unInit = [&] {
        asExpected =
            capture_.m_bStop && !capture_.m_bCaptureThreadRunning && capture_.m_dwFrameID == 5U;
    };
    capture_.StopCapture();
    EXPECT_TRUE(asExpected);
    EXPECT_EQ(capture_.m_dwFrameID, 0U);
    capture_.unInit = [] {};
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

// One round: what the backend is asked, in order.
TEST_F(EngineLoop, initialisesThenTellsMessagesThenCapturesThenUninitialises) {
    std::vector<std::string> order;
    capture_.init = [&order] { return order.emplace_back("Init"), true; };
    capture_.message = [&order] { order.emplace_back("CaptureThreadMsgProc"); };
    capture_.capture = [&] {
        order.emplace_back("DoCapture");
        capture_.m_bStop = capture_.captureCalls == 2;
        return true;
    };
    capture_.unInit = [&order] { order.emplace_back("UnInit"); };
    capture_.StartCapture();
    driven_time::runFreely();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_THAT(order, ElementsAre("Init", "CaptureThreadMsgProc", "DoCapture",
                                   "CaptureThreadMsgProc", "DoCapture", "UnInit"));
    capture_.unInit = [] {};
}

TEST_F(EngineLoop, looksForAPauseAfterTheMessageProcedure) {
    capture_.message = [this] { capture_.m_bPause = true; };
    EXPECT_EQ(start(), 500000U);
    EXPECT_EQ(capture_.captureCalls, 0);
}

TEST_F(EngineLoop, uninitialisesBeforeItTakesTheStopForDone) {
    bool stopping = false;
    capture_.capture = [this] { return capture_.m_bStop = true; };
    capture_.unInit = [&] { stopping = capture_.m_bStop; };
    capture_.StartCapture();
    driven_time::runFreely();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_TRUE(stopping);
    EXPECT_FALSE(capture_.m_bStop);
    capture_.unInit = [] {};
}

TEST_F(EngineLoop, forgetsTheFramesAndTheFailureOfTheRunBefore) {
    capture_.m_dwFrameID = 77;
    capture_.m_iCapFailResult = -4;
    capture_.m_nPacingMode = 1;
    start();
    EXPECT_EQ(capture_.m_dwFrameID, 1U);
    EXPECT_EQ(capture_.GetCapFailResult(), 0);
}

TEST_F(EngineLoop, forgetsNothingWhenInitFails) {
    capture_.m_dwFrameID = 77;
    capture_.m_iCapFailResult = -4;
    capture_.init = [this] {
        capture_.m_bStop = true;
        return false;
    };
    capture_.StartCapture();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_EQ(capture_.m_dwFrameID, 77U);
    EXPECT_EQ(capture_.GetCapFailResult(), -4);
    EXPECT_TRUE(capture_.m_bStop);
}

TEST_F(EngineLoop, theThreadEntryRunsTheLoopOnTheThreadThatCallsIt) {
    capture_.m_bStop = true;
    EXPECT_EQ(CCaptureBase::CaptureThread(&capture_), nullptr);
    EXPECT_THAT(
        trace_recorder::messagesOfThisThread(),
        ElementsAre(information("CCaptureBase::CaptureThread()... Begin!"),
                    information("CCaptureBase::Capture()... Begin"), information("m_bStop = true"),
                    information("CCaptureBase::Capture()... End"),
                    information("CCaptureBase::CaptureThread()... End!")));
}

}  // namespace
