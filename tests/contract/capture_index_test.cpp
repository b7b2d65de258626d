// CapMgr_GenerateCaptureIndex and CapMgr_MonitorScreenInfo.
#include <CoreGraphics/CGGeometry.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MonitorManager.h"
#include "ScreenInfo.h"
#include "contract_test.h"

namespace {

using testing::ElementsAre;

class CaptureIndex : public ContractTest {
  protected:
    static bool sameRect(const CGRect& a, const CGRect& b) {
        return a.origin.x == b.origin.x && a.origin.y == b.origin.y &&
               a.size.width == b.size.width && a.size.height == b.size.height;
    }
};

TEST_F(CaptureIndex, countsFromZero) {
    EXPECT_EQ(CapMgr_GenerateCaptureIndex(), 0U);
    EXPECT_EQ(CapMgr_GenerateCaptureIndex(), 1U);
    EXPECT_EQ(CapMgr_GenerateCaptureIndex(), 2U);
}

TEST_F(CaptureIndex, startsAgainAtZeroWithANewManager) {
    CapMgr_GenerateCaptureIndex();
    CMonitorManager::DeleteInstance();
    EXPECT_EQ(CapMgr_GenerateCaptureIndex(), 0U);
}

TEST_F(CaptureIndex, isTracedBetweenTwoSteps) {
    CapMgr_GenerateCaptureIndex();
    trace_recorder::forget();
    CapMgr_GenerateCaptureIndex();
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(step("CPCR", "begin to create capture", "[NULL]"),
                    information("CAPTURE_MANAGER_API GenerateCaptureIndex... capture index: 1"),
                    step("CPCR", "create capture end", "[CapIndex:1]")));
}

class MonitorScreenInfo : public CaptureIndex {
  protected:
    void SetUp() override {
        CaptureIndex::SetUp();
        plugInSecond();
        scripted::setScale(kSecond, 2);
        CapMgr_GetMonitorCount();
        trace_recorder::forget();
    }

    double scale_ = -1;
    CGRect frame_ = CGRectMake(-1, -1, -1, -1);
};

// From an upper left at (7, 3) with y down to a lower left with y up, below the main display's top.
TEST_F(MonitorScreenInfo, reportsPointsFromTheMainDisplaysLowerLeft) {
    scripted::moveTo(kMain, 0, 0);
    scripted::moveTo(kSecond, 161, 3);
    CapMgr_MonitorScreenInfo(1, &scale_, &frame_);
    EXPECT_EQ(scale_, 2.0);
    EXPECT_TRUE(sameRect(frame_, CGRectMake(161, 91 - (3 + 60), 80, 60)));
}

TEST_F(MonitorScreenInfo, isTracedWithDisplayMonitorAndScale) {
    CapMgr_MonitorScreenInfo(1, &scale_, &frame_);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CMonitorManager::GetMonitor..m_vec_monitor.size() = 2"),
                            information("CapMgr_MonitorScreenInfo dwMonitorIndex=1, displayID=69, "
                                        "monitor=<pointer>, backingScaleFactor=2")));
}

TEST_F(MonitorScreenInfo, isNotTracedBelowLevelTwo) {
    trace_recorder::setLevel(1);
    CapMgr_MonitorScreenInfo(1, &scale_, &frame_);
    EXPECT_EQ(scale_, 2.0);
    EXPECT_THAT(trace_recorder::messages(), testing::IsEmpty());
    EXPECT_THAT(trace_recorder::streams(), testing::IsEmpty());
}

TEST_F(MonitorScreenInfo, makesTheManagerAndHasNoEntryTrace) {
    CMonitorManager::DeleteInstance();
    trace_recorder::forget();
    CapMgr_MonitorScreenInfo(4294967295U, &scale_, &frame_);
    const auto messages = trace_recorder::messages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front(), step("CPMO", "begin to update monitor information", "[NULL]"));
    EXPECT_EQ(messages.back(),
              information("CapMgr_MonitorScreenInfo dwMonitorIndex=4294967295, displayID=0, "
                          "monitor=<pointer>, backingScaleFactor=1"));
}

// Its display is 0, which the main screen answers for.
TEST_F(MonitorScreenInfo, ofAVirtualMonitorIsTheMainScreens) {
    CapMgr_GenerateMonitor(40, 30, 32);
    trace_recorder::forget();
    CapMgr_MonitorScreenInfo(2, &scale_, &frame_);
    EXPECT_TRUE(sameRect(frame_, CGRectMake(0, 0, 161, 91)));
    EXPECT_EQ(trace_recorder::messages().back(),
              information("CapMgr_MonitorScreenInfo dwMonitorIndex=2, displayID=0, "
                          "monitor=<pointer>, backingScaleFactor=1"));
    EXPECT_EQ(trace_recorder::rawTexts().back().find("monitor=0x0"), std::string::npos);
}

TEST_F(MonitorScreenInfo, pastTheCountReportsTheMainScreenOfDisplayZero) {
    double mainScale = 0;
    CGRect mainFrame{};
    CapMgr_MonitorScreenInfo(0, &mainScale, &mainFrame);
    trace_recorder::forget();
    CapMgr_MonitorScreenInfo(2, &scale_, &frame_);
    EXPECT_EQ(scale_, mainScale);
    EXPECT_TRUE(sameRect(frame_, mainFrame));
    EXPECT_THAT(trace_recorder::rawTexts(),
                testing::Contains("[KXSC] CapMgr_MonitorScreenInfo dwMonitorIndex=2, displayID=0, "
                                  "monitor=0x0, backingScaleFactor=1"));
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), testing::IsEmpty());
}

TEST_F(MonitorScreenInfo, withoutAScaleTracesZero) {
    CapMgr_MonitorScreenInfo(0, nullptr, &frame_);
    EXPECT_THAT(trace_recorder::messages(),
                testing::Contains(information("CapMgr_MonitorScreenInfo dwMonitorIndex=0, "
                                              "displayID=722, monitor=<pointer>, "
                                              "backingScaleFactor=0")));
    EXPECT_TRUE(sameRect(frame_, CGRectMake(0, 0, 161, 91)));
}

TEST_F(MonitorScreenInfo, withoutAFrameFillsTheScale) {
    CapMgr_MonitorScreenInfo(1, &scale_, nullptr);
    EXPECT_EQ(scale_, 2.0);
}

TEST_F(MonitorScreenInfo, withoutEitherOutputStillTraces) {
    CapMgr_MonitorScreenInfo(0, nullptr, nullptr);
    EXPECT_EQ(trace_recorder::messages().size(), 2U);
}

TEST_F(MonitorScreenInfo, ofADisplayThatIsGoneIsTheMainScreens) {
    scripted::unplug(kSecond);
    CapMgr_MonitorScreenInfo(1, &scale_, &frame_);
    EXPECT_EQ(scale_, 1.0);
    EXPECT_TRUE(sameRect(frame_, CGRectMake(0, 0, 161, 91)));
}

TEST_F(MonitorScreenInfo, withoutAnyScreenIsAllZero) {
    scripted::unplug(kSecond);
    scripted::unplug(kMain);
    CapMgr_MonitorScreenInfo(0, &scale_, &frame_);
    EXPECT_EQ(scale_, 0.0);
    EXPECT_TRUE(sameRect(frame_, CGRect{}));
}

TEST_F(MonitorScreenInfo, ofAnUnknownDisplayIsTheMainScreens) {
    ScreenInfo(4711, &scale_, &frame_);
    EXPECT_EQ(scale_, 1.0);
    EXPECT_TRUE(sameRect(frame_, CGRectMake(0, 0, 161, 91)));
}

}  // namespace
