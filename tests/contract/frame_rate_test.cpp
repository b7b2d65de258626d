// CCaptureBase: the rates, and the periods that they give.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contract_test.h"
#include "lock_recorder.h"
#include "scripted_capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FrameRate : public ContractTest {
  protected:
    void TearDown() override {
        capture_.StopCapture();
        ContractTest::TearDown();
    }

    ScriptedCapture capture_;
};

TEST_F(FrameRate, isThreeToBeginWith) {
    EXPECT_EQ(capture_.GetMaxFrameRate(), 3);
    EXPECT_EQ(capture_.GetCurFrameRate(), 3);
}

class InvalidMaximum : public FrameRate, public testing::WithParamInterface<int> {};

TEST_P(InvalidMaximum, changesNothing) {
    EXPECT_FALSE(capture_.SetMaxFrameRate(GetParam()));
    EXPECT_EQ(capture_.GetMaxFrameRate(), 3);
    EXPECT_EQ(capture_.GetCurFrameRate(), 3);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::SetMaxFrameRate... Begin!"),
                            error("CCaptureBase::SetMaxFrameRate... param nFrameRate invalid!")));
}

INSTANTIATE_TEST_SUITE_P(Values, InvalidMaximum, testing::Values(0, -1, -5, INT32_MIN));

TEST_F(FrameRate, isNotRaisedByARaisedMaximum) {
    EXPECT_TRUE(capture_.SetMaxFrameRate(10));
    EXPECT_EQ(capture_.GetMaxFrameRate(), 10);
    EXPECT_EQ(capture_.GetCurFrameRate(), 3);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::SetMaxFrameRate... Begin!"),
                            information("CCaptureBase::SetMaxFrameRate...End! FrameRate: 10")));
}

TEST_F(FrameRate, isUpdatedUpToTheMaximum) {
    capture_.SetMaxFrameRate(10);
    trace_recorder::forget();
    EXPECT_TRUE(capture_.UpdateFrameRate(20));
    EXPECT_EQ(capture_.GetCurFrameRate(), 10);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::UpdateFrameRate int, framerate: 20"),
                            information("CCaptureBase::UpdateFrameRate out, framerate: 10")));
}

TEST_F(FrameRate, isLoweredByALowerMaximum) {
    EXPECT_TRUE(capture_.SetMaxFrameRate(2));
    EXPECT_EQ(capture_.GetCurFrameRate(), 2);
    EXPECT_TRUE(capture_.SetMaxFrameRate(1)) << "the lowest there is";
    EXPECT_EQ(capture_.GetCurFrameRate(), 1);
}

TEST_F(FrameRate, hasNoUpperBoundHere) {
    EXPECT_TRUE(capture_.SetMaxFrameRate(1000000));
    EXPECT_EQ(capture_.GetMaxFrameRate(), 1000000);
}

TEST_F(FrameRate, isComparedUnsignedInAnUpdate) {
    EXPECT_TRUE(capture_.UpdateFrameRate(0xFFFFFFFF));
    EXPECT_EQ(capture_.GetCurFrameRate(), 3);
}

TEST_F(FrameRate, maySinkToZero) {
    EXPECT_TRUE(capture_.UpdateFrameRate(0));
    EXPECT_EQ(capture_.GetCurFrameRate(), 0);
}

TEST_F(FrameRate, isComparedAsAHugeNumberWithANegativeMaximum) {
    capture_.m_nMaxFrameRate = -1;
    EXPECT_TRUE(capture_.UpdateFrameRate(70000));
    EXPECT_EQ(capture_.GetCurFrameRate(), 70000);
}

TEST_F(FrameRate, isComparedSignedWithANewMaximum) {
    capture_.m_nCurFrameRate = -8;
    EXPECT_TRUE(capture_.SetMaxFrameRate(5));
    EXPECT_EQ(capture_.GetCurFrameRate(), -8);
}

TEST_F(FrameRate, changesWithoutAWordOfErrorOrALock) {
    capture_.SetMaxFrameRate(12);
    lock_recorder::forget();
    trace_recorder::forget();
    EXPECT_TRUE(capture_.UpdateFrameRate(11));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::UpdateFrameRate int, framerate: 11"),
                            information("CCaptureBase::UpdateFrameRate out, framerate: 11")));
    EXPECT_THAT(lock_recorder::ofThisThread(), IsEmpty());
}

struct Period {
    int rate;
    useconds_t milliseconds;
};

class FramePeriod : public FrameRate, public testing::WithParamInterface<Period> {};

TEST_P(FramePeriod, followsFromTheRate) {
    capture_.m_nCurFrameRate = GetParam().rate;
    capture_.StartCapture();
    driven_time::awaitSleep();
    runRounds(1);
    EXPECT_EQ(driven_time::awaitSleep(), GetParam().milliseconds * 1000);
}

INSTANTIATE_TEST_SUITE_P(
    Rates, FramePeriod,
    testing::Values(Period{0, 30}, Period{1, 1000}, Period{2, 500}, Period{3, 333}, Period{7, 142},
                    Period{8, 125}, Period{11, 90}, Period{13, 76}, Period{15, 66}, Period{25, 40},
                    Period{30, 33}, Period{31, 32}, Period{32, 31}, Period{33, 30}, Period{34, 30},
                    Period{60, 30}, Period{100, 30}, Period{999, 30}, Period{1000, 30},
                    Period{1001, 30}, Period{0x7FFFFFFF, 30}, Period{-1, 30}, Period{-40, 30}));

TEST_F(FrameRate, theCalendarTickIsInMilliseconds) {
    scripted::setCalendarClock(12, 345678901);
    EXPECT_EQ(capture_.UniversalGetTick(), 12345U);
}

TEST_F(FrameRate, theCalendarTickCountsAMillisecondThatIsJustOver) {
    scripted::setCalendarClock(12, 999000000);
    EXPECT_EQ(capture_.UniversalGetTick(), 12999U);
}

TEST_F(FrameRate, theCalendarTickIsCutTo32Bits) {
    scripted::setCalendarClock(1700000000, 999999999);
    EXPECT_EQ(capture_.UniversalGetTick(), static_cast<uint32_t>(1700000000999ULL));
}

TEST_F(FrameRate, theCalendarTickGivesItsPortBack) {
    capture_.UniversalGetTick();
    EXPECT_THAT(scripted::callsOf({"mach_host_self", "host_get_clock_service", "clock_get_time",
                                   "mach_port_deallocate"}),
                ElementsAre("mach_host_self()", "host_get_clock_service(515, 1, out)",
                            "clock_get_time(4103, out)", "mach_port_deallocate(259, 4103)"));
    EXPECT_THAT(scripted::leaks(), IsEmpty());
}

}  // namespace
