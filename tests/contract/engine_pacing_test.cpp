// CCaptureBase: how long the loop sleeps, and when it gives up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

#include "engine_loop.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Pacing.

TEST_F(EngineLoop, waitsOneMillisecondBeforeTheSecondFrameIsIn) {
    EXPECT_EQ(start(), 1 * kMs);
    EXPECT_EQ(nextSleep(), 333 * kMs);
}

// Each round of the first frames takes the 40 ms that pass in the middle of it.
TEST_F(EngineLoop, waitsOutWhatTheRoundLeavesOfThePeriod) {
    capture_.capture = [] {
        driven_time::advance(40);
        return true;
    };
    start();
    EXPECT_EQ(nextSleep(), (333 - 40) * kMs);
}

struct SpentTime {
    uint32_t spent;
    useconds_t wait;
};

class RoundOf333Ms : public EngineLoop, public testing::WithParamInterface<SpentTime> {};

TEST_P(RoundOf333Ms, waitsForWhatIsLeftAtLeastOneMillisecond) {
    capture_.capture = [] {
        driven_time::advance(GetParam().spent);
        return true;
    };
    start();
    EXPECT_EQ(nextSleep(), GetParam().wait * kMs);
}

INSTANTIATE_TEST_SUITE_P(Spent, RoundOf333Ms,
                         testing::Values(SpentTime{0, 333}, SpentTime{1, 332}, SpentTime{332, 1},
                                         SpentTime{333, 1}, SpentTime{334, 1}, SpentTime{5000, 1}));

TEST_F(EngineLoop, pacesAcrossTheWrapOfTheTick) {
    driven_time::setTick(0xFFFFFFF0);
    capture_.capture = [] {
        driven_time::advance(30);
        return true;
    };
    start();
    EXPECT_EQ(nextSleep(), (333 - 30) * kMs);
}

TEST_F(EngineLoop, neverWaitsOutThePeriodInPacingModeOne) {
    capture_.m_nPacingMode = 1;
    EXPECT_EQ(start(), 1 * kMs);
    EXPECT_EQ(nextSleep(), 1 * kMs);
    EXPECT_EQ(nextSleep(), 1 * kMs);
}

TEST_F(EngineLoop, waitsAtMostOneSecond) {
    capture_.SetMaxFrameRate(1);
    start();
    EXPECT_EQ(nextSleep(), 1000 * kMs);
}

TEST_F(EngineLoop, sleepsHalfASecondARoundWhilePaused) {
    start();
    capture_.PauseCapture(true);
    EXPECT_EQ(nextSleep(), 500000U);
    EXPECT_EQ(nextSleep(), 500000U);
    capture_.PauseCapture(false);
    EXPECT_EQ(nextSleep(), 333 * kMs);
}

TEST_F(EngineLoop, takesANewRateAtItsNextRound) {
    start();
    EXPECT_EQ(nextSleep(), 333 * kMs);
    capture_.SetMaxFrameRate(30);
    capture_.UpdateFrameRate(15);
    EXPECT_EQ(nextSleep(), 66 * kMs);
}

TEST_F(EngineLoop, tracesEveryFiftiethFrame) {
    for (int i = 0; i < 101; ++i) {
        capture_.OnCaptureSuccess();
    }
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::Capture... capture success  ID:0"),
                            information("CCaptureBase::Capture... capture success  ID:50"),
                            information("CCaptureBase::Capture... capture success  ID:100")));
    EXPECT_EQ(capture_.m_dwFrameID, 101U);
}

class UncountedMethod : public EngineLoop {
  protected:
    ScriptedCapture uncounted_{static_cast<CAP_METHOD>(10)};
};

TEST_F(UncountedMethod, neverCountsFramesAndNeverPaces) {
    uncounted_.StartCapture();
    driven_time::awaitSleep();
    runRounds(4);
    EXPECT_EQ(uncounted_.m_dwFrameID, 0U);
    EXPECT_THAT(driven_time::sleeps(), ElementsAre(1 * kMs, 1 * kMs, 1 * kMs, 1 * kMs, 1 * kMs));
    uncounted_.StopCapture();
    EXPECT_EQ(trace_recorder::count("[KXSC] CCaptureBase::Capture... capture success  ID:0"), 0U);
}

// Failures.

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
