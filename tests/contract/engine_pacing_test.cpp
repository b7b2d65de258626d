// CCaptureBase: how long the loop sleeps.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_loop.h"

namespace {

using testing::ElementsAre;

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

// The round's time begins before the message procedure.
TEST_F(EngineLoop, countsTheMessageProcedureIntoTheRound) {
    capture_.message = [] { driven_time::advance(100); };
    start();
    EXPECT_EQ(nextSleep(), (333 - 100) * kMs);
}

TEST_F(EngineLoop, takesTheRateAtTheBeginningOfARound) {
    capture_.capture = [this] { return capture_.UpdateFrameRate(2); };
    capture_.SetMaxFrameRate(30);
    capture_.UpdateFrameRate(25);
    start();
    EXPECT_EQ(nextSleep(), 500 * kMs) << "set in the round before";
    capture_.UpdateFrameRate(10);
    EXPECT_EQ(nextSleep(), 100 * kMs) << "not the one set in the middle";
}

struct Wait {
    int pacingMode;
    uint32_t framesBefore;
    useconds_t milliseconds;
};

class WaitAfterAFrame : public EngineLoop, public testing::WithParamInterface<Wait> {};

// At 15 frames a second.
TEST_P(WaitAfterAFrame, isOneMillisecondForTheFirstTwoAndInPacingModeOne) {
    capture_.SetMaxFrameRate(15);
    capture_.UpdateFrameRate(15);
    capture_.m_nPacingMode = GetParam().pacingMode;
    start();
    capture_.m_dwFrameID = GetParam().framesBefore;
    EXPECT_EQ(nextSleep(), GetParam().milliseconds * kMs);
}

INSTANTIATE_TEST_SUITE_P(Waits, WaitAfterAFrame,
                         testing::Values(Wait{0, 0, 1}, Wait{0, 1, 66}, Wait{0, 2, 66},
                                         Wait{0, 1000, 66}, Wait{1, 0, 1}, Wait{1, 1, 1},
                                         Wait{1, 1000, 1}, Wait{-1, 1, 66}, Wait{2, 1, 66},
                                         Wait{2, 0, 1}));

// After one millisecond each for the first two: the first counted frame is not the second yet.
TEST_F(EngineLoop, paces) {
    start();
    runRounds(3);
    EXPECT_THAT(driven_time::sleeps(), ElementsAre(1 * kMs, 333 * kMs, 333 * kMs, 333 * kMs));
    EXPECT_EQ(capture_.m_dwFrameID, 4U);
}

TEST_F(EngineLoop, tracesNoFrameBetweenTheFirstAndTheFiftieth) {
    start();
    runRounds(100);
    EXPECT_THAT(
        trace_recorder::messagesOfOtherThreads(),
        ElementsAre(information("CCaptureBase::CaptureThread()... Begin!"),
                    information("CCaptureBase::Capture()... Begin"), information("m_bStop = false"),
                    information("CCaptureBase::Capture... capture success  ID:0"),
                    information("CCaptureBase::Capture... capture success  ID:50"),
                    information("CCaptureBase::Capture... capture success  ID:100")));
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

}  // namespace
