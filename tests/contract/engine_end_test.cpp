// CCaptureBase: how a capture thread tells its end, and what a stop does without it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <future>

#include "engine_loop.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(EngineLoop, resetsItsExitEventBeforeInitAndSetsItAfterTheLoop) {
    bool setInInit = true;
    bool setInUnInit = true;
    capture_.init = [&] {
        setInInit = capture_.m_eventCaptureExit.wait(0);
        return true;
    };
    capture_.unInit = [&] { setInUnInit = capture_.m_eventCaptureExit.wait(0); };
    capture_.SetStopEvent();
    capture_.m_bStop = true;
    EXPECT_EQ(CCaptureBase::CaptureThread(&capture_), nullptr);
    EXPECT_FALSE(setInInit);
    EXPECT_FALSE(setInUnInit);
    EXPECT_TRUE(capture_.m_eventCaptureExit.wait(0));
    capture_.unInit = [] {};
}

TEST_F(EngineLoop, setsItsExitEventAlsoWhenInitFails) {
    capture_.init = [] { return false; };
    CCaptureBase::CaptureThread(&capture_);
    EXPECT_TRUE(capture_.m_eventCaptureExit.wait(0));
}

// A stop that comes before the thread has run must not see the event of the run before.
TEST_F(EngineLoop, resetsItsExitEventInTheStartAlready) {
    capture_.SetStopEvent();
    thread_watch::failNextCreation(EAGAIN);
    capture_.StartCapture();
    EXPECT_FALSE(capture_.m_eventCaptureExit.wait(0));
}

TEST_F(EngineLoop, keepsItsExitEventWhenAStartFindsItRunning) {
    capture_.init = [] { return false; };
    capture_.StartCapture();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_EQ(capture_.StartCapture(), 0U);
    EXPECT_TRUE(capture_.m_eventCaptureExit.wait(0));
}

TEST_F(EngineLoop, waitsForNothingAfterInitFailed) {
    capture_.init = [] { return false; };
    capture_.StartCapture();
    ASSERT_TRUE(thread_watch::awaitNone());
    capture_.StopCapture();
    EXPECT_EQ(thread_watch::cancelled(), 0U);
    EXPECT_EQ(capture_.unInitCalls, 1) << "by the stop alone";
}

TEST_F(EngineLoop, isNotCancelledWhenItHasEndedAfterAll) {
    capture_.init = [] { return false; };
    capture_.StartCapture();
    ASSERT_TRUE(thread_watch::awaitNone());
    driven_time::timeOutNextEventWait();
    capture_.StopCapture();
    EXPECT_THAT(driven_time::eventWaits(), ElementsAre(3000U, 200U));
    EXPECT_EQ(thread_watch::cancelled(), 0U);
}

// Given up: the object may be gone by the time the thread leaves.
TEST_F(EngineLoop, isLeftAloneByAThreadThatWasGivenUp) {
    std::promise<void> captured;
    std::promise<void> givenUp;
    capture_.capture = [&] {
        captured.set_value();
        int before = 0;
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
        givenUp.get_future().wait();
        pthread_setcancelstate(before, nullptr);
        pthread_testcancel();
        return true;
    };
    capture_.StartCapture();
    captured.get_future().wait();
    driven_time::timeOutNextEventWait(2);
    capture_.StopCapture();
    givenUp.set_value();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_FALSE(capture_.m_eventCaptureExit.wait(0)) << "not even its end is told";
    EXPECT_EQ(capture_.m_dwFrameID, 0U) << "nor is the frame counted";
}

TEST_F(EngineLoop, startsAndStopsAsEverAfterAThreadWasGivenUp) {
    start();
    driven_time::timeOutNextEventWait(2);
    capture_.StopCapture();
    ASSERT_TRUE(thread_watch::awaitNone());
    driven_time::reset();
    start();
    capture_.StopCapture();
    EXPECT_EQ(thread_watch::cancelled(), 1U) << "the first one";
    EXPECT_THAT(driven_time::eventWaits(), ElementsAre(3000U));
}

TEST_F(EngineLoop, isLeftAloneByAThreadThatWasGivenUpBeforeItBegan) {
    thread_watch::holdNext();
    EXPECT_EQ(capture_.StartCapture(), 0U);
    driven_time::timeOutNextEventWait(2);
    capture_.StopCapture();
    thread_watch::letGo();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_THAT(trace_recorder::messagesOfOtherThreads(), IsEmpty());
    EXPECT_EQ(capture_.initCalls, 0);
}

}  // namespace
