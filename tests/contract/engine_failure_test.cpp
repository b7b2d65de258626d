// CCaptureBase: how the loop tries again, and when it gives up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

#include "engine_loop.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FailingLoop : public EngineLoop {
  protected:
    void SetUp() override {
        EngineLoop::SetUp();
        capture_.capture = [this] { return captures_.load(); };
    }

    static constexpr const char* kTimeout = "[KXSC] CCaptureBase::Capture() failed timout=";

    static std::vector<Message> timeouts() {
        std::vector<Message> found;
        for (const Message& message : trace_recorder::messagesOfLevel(0)) {
            if (message.text.rfind(kTimeout, 0) == 0) {
                found.push_back(message);
            }
        }
        return found;
    }

    std::atomic<bool> captures_{false};
};

TEST_F(FailingLoop, retriesAfterAShortSleepAndAfterAPacedOneInTurn) {
    captures_ = true;
    start();
    nextSleep();
    captures_ = false;
    EXPECT_EQ(nextSleep(), 2000U);
    EXPECT_EQ(nextSleep(), 333 * kMs);
    EXPECT_EQ(nextSleep(), 2000U);
    EXPECT_EQ(nextSleep(), 333 * kMs);
}

TEST_F(FailingLoop, pacesRetriesByOneMillisecondBeforeTheSecondFrame) {
    EXPECT_EQ(start(), 2000U);
    EXPECT_EQ(nextSleep(), 1 * kMs);
    EXPECT_EQ(nextSleep(), 2000U);
}

TEST_F(FailingLoop, startsARunOfFailuresAnewAfterAFrame) {
    start();
    nextSleep();
    captures_ = true;
    nextSleep();
    captures_ = false;
    EXPECT_EQ(nextSleep(), 2000U);
}

TEST_F(FailingLoop, goesOnForTenSecondsAndEndsAfterMore) {
    start();
    driven_time::advance(9998);
    EXPECT_EQ(nextSleep(), 1 * kMs) << "2 ms of sleep make it 10000";
    EXPECT_THAT(timeouts(), IsEmpty());
    driven_time::wake();
    EXPECT_TRUE(thread_watch::awaitNone());
    EXPECT_THAT(timeouts(),
                ElementsAre(error("CCaptureBase::Capture() failed timout=10001, uiTryCapCount=2")));
    EXPECT_TRUE(capture_.m_bCaptureFailed);
    EXPECT_EQ(capture_.unInitCalls, 1);
}

TEST_F(FailingLoop, isCountedFromTheFirstFailureOfTheRun) {
    captures_ = true;
    start();
    driven_time::advance(60000);
    captures_ = false;
    nextSleep();
    nextSleep();
    EXPECT_THAT(timeouts(), IsEmpty());
}

TEST_F(FailingLoop, measuresAcrossTheWrapOfTheTick) {
    driven_time::setTick(0xFFFFFFF0);
    start();
    driven_time::advance(20000);
    driven_time::wake();
    EXPECT_TRUE(thread_watch::awaitNone());
    EXPECT_THAT(timeouts(),
                ElementsAre(error("CCaptureBase::Capture() failed timout=20002, uiTryCapCount=1")));
}

TEST_F(FailingLoop, endsByItselfAboutTenSecondsAfterTheFirstFailure) {
    capture_.StartCapture();
    driven_time::runFreely();
    EXPECT_TRUE(thread_watch::awaitNone());
    EXPECT_EQ(timeouts().size(), 1U);
    EXPECT_EQ(capture_.unInitCalls, 1);
    EXPECT_FALSE(capture_.m_bStop);
}

// Two short and paced sleeps in turn make 335 ms: the sixty-first try comes 10050 ms after the
// first.
TEST_F(FailingLoop, sleepsShortAndPacedInTurnForTenSeconds) {
    captures_ = true;
    start();
    nextSleep();
    captures_ = false;
    driven_time::runFreely();
    ASSERT_TRUE(thread_watch::awaitNone());
    std::vector<useconds_t> expected = {1 * kMs, 333 * kMs};
    for (int pair = 0; pair < 30; ++pair) {
        expected.insert(expected.end(), {2 * kMs, 333 * kMs});
    }
    EXPECT_EQ(driven_time::sleeps(), expected);
    EXPECT_THAT(timeouts(), ElementsAre(error("CCaptureBase::Capture() failed timout=10050, "
                                              "uiTryCapCount=60")));
}

TEST_F(FailingLoop, tracesNothingOfItsTriesButTheEnd) {
    capture_.StartCapture();
    driven_time::runFreely();
    ASSERT_TRUE(thread_watch::awaitNone());
    const auto messages = trace_recorder::messagesOfOtherThreads();
    ASSERT_EQ(messages.size(), 6U);
    EXPECT_EQ(messages[2], information("m_bStop = false"));
    EXPECT_EQ(messages[3].level, 0);
    EXPECT_EQ(messages[4], information("CCaptureBase::Capture()... End"));
    EXPECT_EQ(messages[5], information("CCaptureBase::CaptureThread()... End!"));
}

struct Elapsed {
    uint32_t firstTick;
    uint32_t milliseconds;
    bool over;
};

class FailuresAt : public FailingLoop, public testing::WithParamInterface<Elapsed> {};

// The short sleep after the first failure is part of the time.
TEST_P(FailuresAt, areOverPastTenSeconds) {
    driven_time::setTick(GetParam().firstTick);
    start();
    driven_time::advance(GetParam().milliseconds - 2);
    driven_time::wake();
    if (GetParam().over) {
        ASSERT_TRUE(thread_watch::awaitNone());
        EXPECT_EQ(trace_recorder::messagesOfLevel(0).front().text,
                  kTimeout + std::to_string(GetParam().milliseconds) + ", uiTryCapCount=1");
    } else {
        EXPECT_EQ(driven_time::awaitSleep(), 1 * kMs);
        EXPECT_THAT(timeouts(), IsEmpty());
    }
    EXPECT_EQ(capture_.m_bCaptureFailed, GetParam().over);
}

INSTANTIATE_TEST_SUITE_P(Ticks, FailuresAt,
                         testing::Values(Elapsed{5000, 9999, false}, Elapsed{5000, 10000, false},
                                         Elapsed{5000, 10001, true}, Elapsed{0, 10000, false},
                                         Elapsed{0, 10001, true}, Elapsed{0xFFFFFFFF, 10000, false},
                                         Elapsed{0xFFFFFFFF, 10001, true},
                                         Elapsed{0xFFFFE000, 10000, false},
                                         Elapsed{0xFFFFE000, 10001, true}));

// The time is looked at when a round begins: what its own DoCapture takes comes later.
TEST_F(FailingLoop, isMeasuredFromTheEndOfTheFirstTryToTheBeginningOfAnother) {
    capture_.capture = [] {
        driven_time::advance(9000);
        return false;
    };
    EXPECT_EQ(start(), 2000U);
    EXPECT_EQ(nextSleep(), 1 * kMs) << "2 ms after the end of the first";
    EXPECT_EQ(nextSleep(), 2000U) << "9003 ms";
    driven_time::wake();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_THAT(timeouts(), ElementsAre(error("CCaptureBase::Capture() failed timout=18005, "
                                              "uiTryCapCount=3")));
}

TEST_F(FailingLoop, goesOnThroughAPause) {
    start();
    capture_.PauseCapture(true);
    nextSleep();
    driven_time::advance(10000);
    capture_.PauseCapture(false);
    driven_time::wake();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_THAT(timeouts(), ElementsAre(error("CCaptureBase::Capture() failed timout=10502, "
                                              "uiTryCapCount=1")));
}

TEST_F(FailingLoop, countsTriesAnewAfterAFrame) {
    start();
    runRounds(5);
    captures_ = true;
    nextSleep();
    captures_ = false;
    nextSleep();
    driven_time::advance(20000);
    driven_time::wake();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_THAT(timeouts(), ElementsAre(error("CCaptureBase::Capture() failed timout=20002, "
                                              "uiTryCapCount=1")));
}

TEST_F(FailingLoop, countsNoFrame) {
    start();
    runRounds(6);
    EXPECT_EQ(capture_.m_dwFrameID, 0U);
}

TEST_F(FailingLoop, leavesItsMarkThroughAnotherStart) {
    start();
    driven_time::advance(20000);
    driven_time::wake();
    ASSERT_TRUE(thread_watch::awaitNone());
    EXPECT_EQ(capture_.StartCapture(), 0U) << "refused: taken for running until it is stopped";
    EXPECT_EQ(thread_watch::created(), 1U);
    capture_.StopCapture();
    driven_time::reset();
    captures_ = true;
    start();
    EXPECT_TRUE(capture_.m_bCaptureFailed);
    EXPECT_EQ(capture_.GetCapFailResult(), 0) << "tells nothing of it";
}

TEST_F(FailingLoop, isStoppedAfterItEnded) {
    start();
    driven_time::advance(20000);
    driven_time::wake();
    ASSERT_TRUE(thread_watch::awaitNone());
    capture_.StopCapture();
    EXPECT_EQ(thread_watch::cancelled(), 0U);
    EXPECT_EQ(capture_.unInitCalls, 2);
}

}  // namespace
