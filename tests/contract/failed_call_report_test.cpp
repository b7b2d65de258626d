// How a bounded memory call that failed is reported, and that nothing else changes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "MonitorManager.h"
#include "failed_call.h"
#include "scripted_capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(FailedCall, isReportedWithItsPositionAndWithoutATag) {
    CapMgr_GenerateCaptureIndex();
    trace_recorder::forget();
    memory_faults::failBoundedCalls(-7);
    CapMgr_CaptureScreenBuffer(0);
    ASSERT_THAT(trace_recorder::rawTexts(), testing::SizeIs(2));
    EXPECT_THAT(trace_recorder::rawTexts()[0],
                testing::MatchesRegex("\\[src/component/captureManager/CaptureManager;[0-9]+\\] "
                                      "memset_s\\(&stRetDesktopData, sizeof\\(CAP_DESKTOP_DATA\\), "
                                      "0, sizeof\\(CAP_DESKTOP_DATA\\)\\) return=-7"));
    EXPECT_EQ(trace_recorder::messages()[0].level, 1);
    EXPECT_EQ(trace_recorder::messages()[0].flag, 0);
}

TEST_F(FailedCall, isReportedAfterTheSourcePositionWhenThatIsWanted) {
    CapMgr_GenerateCaptureIndex();
    trace_recorder::forget();
    trace_recorder::setFileLine(true);
    memory_faults::failBoundedCalls(kCode);
    CapMgr_CaptureScreenBuffer(0);
    EXPECT_THAT(trace_recorder::rawTexts()[0],
                testing::MatchesRegex("\\[src/component/captureManager/CaptureManager: [0-9]+\\] "
                                      "\\[src/component/captureManager/CaptureManager;[0-9]+\\] "
                                      "memset_s.*return=34"));
}

TEST_F(FailedCall, isBuiltInAStreamOfItsOwnWithoutTheFormat) {
    CapMgr_GenerateCaptureIndex();
    trace_recorder::setLevel(1);
    trace_recorder::forget();
    memory_faults::failBoundedCalls(kCode);
    CapMgr_LockScreenBuffer(0);
    const auto streams = trace_recorder::streams();
    ASSERT_EQ(streams.size(), 2U);
    EXPECT_EQ(streams[0].format, 4U) << "the message, destroyed first";
    EXPECT_NE(streams[1].format, 4U) << "the report in it";
    EXPECT_EQ(streams[0].text, streams[1].text);
    for (const StreamUse& stream : streams) {
        EXPECT_EQ(stream.capacity, 1024U);
        EXPECT_EQ(stream.growth, 32U);
    }
}

struct FirstCall {
    const char* name;
    std::function<void()> call;
};

class FirstFailedCall : public FailedCall, public testing::WithParamInterface<FirstCall> {};

// A record is cleared first of all: before the manager is made, which enumerates.
TEST_P(FirstFailedCall, isReportedBeforeTheManagerIsMade) {
    memory_faults::failBoundedCalls(kCode);
    GetParam().call();
    const auto messages = trace_recorder::messages();
    const auto report = std::find_if(messages.begin(), messages.end(),
                                     [](const Message& message) { return message.level == 1; });
    ASSERT_NE(report, messages.end());
    ASSERT_NE(report + 1, messages.end());
    EXPECT_EQ(*(report + 1), step("CPMO", "begin to update monitor information", "[NULL]"));
}

INSTANTIATE_TEST_SUITE_P(Functions, FirstFailedCall,
                         testing::Values(FirstCall{"describe",
                                                   [] {
                                                       CAP_MONITOR_INFO description{};
                                                       CapMgr_GetMonitorInfo(0, &description);
                                                   }},
                                         FirstCall{"capture",
                                                   [] { CapMgr_CaptureScreenBuffer(0); }},
                                         FirstCall{"lock", [] { CapMgr_LockScreenBuffer(0); }}),
                         [](const auto& instance) { return instance.param.name; });

class LevelWithoutReports : public FailedCall, public testing::WithParamInterface<int> {};

// The report is composed, in one stream, and written to nobody.
TEST_P(LevelWithoutReports, isSilent) {
    CapMgr_GenerateCaptureIndex();
    trace_recorder::setLevel(GetParam());
    trace_recorder::forget();
    memory_faults::failBoundedCalls(kCode);
    CapMgr_LockScreenBuffer(0);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    const auto streams = trace_recorder::streams();
    ASSERT_EQ(streams.size(), 1U);
    EXPECT_EQ(withoutPosition({1, streams[0].text}), failedCall(kClearRecord, kCode));
}

INSTANTIATE_TEST_SUITE_P(Levels, LevelWithoutReports, testing::Values(-1, 0));

class LevelWithReports : public FailedCall, public testing::WithParamInterface<int> {};

TEST_P(LevelWithReports, tellsThem) {
    CapMgr_GenerateCaptureIndex();
    trace_recorder::setLevel(GetParam());
    trace_recorder::forget();
    memory_faults::failBoundedCalls(kCode);
    CapMgr_LockScreenBuffer(0);
    EXPECT_THAT(reports(), ElementsAre(failedCall(kClearRecord, kCode)));
}

INSTANTIATE_TEST_SUITE_P(Levels, LevelWithReports, testing::Values(1, 2, 3));

TEST_F(FailedCall, stillHandsOutTheFrameOfARunningCapture) {
    const unsigned int index = startedCapture();
    memory_faults::failBoundedCalls(kCode);
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    EXPECT_NE(frame.pData, nullptr);
    EXPECT_EQ(frame.dwWidth, kMainWidth);
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(index), 3U);
    EXPECT_THAT(reports(),
                ElementsAre(failedCall(kClearRecord, kCode), failedCall(kClearLocked, kCode)));
}

// What could not be copied stays unset; the capture gets the size all the same.
TEST_F(FailedCall, stillSetsTheSizeOfACapture) {
    CapMgr_GenerateCaptureIndex();
    CMonitorManager& manager = *CMonitorManager::GetInstance();
    manager.GetCaptureMgr(0)->pCapture = new ScriptedCapture;
    trace_recorder::forget();
    memory_faults::failBoundedCalls(kCode);
    EXPECT_FALSE(CapMgr_SetCaptureFrameSize(0, {4000, 3}));
    EXPECT_EQ(trace_recorder::messages().back(),
              error("CCaptureBase::SetFrameRate... param nFrameSize error"));
    EXPECT_EQ(manager.GetCaptureMgr(0)->stFrameSize.dwWidth, 0U);
}

TEST_F(FailedCall, stillEndsTheName) {
    CapMgr_GetMonitorCount();
    memory_faults::failBoundedCalls(kCode);
    CAP_MONITOR_INFO info;
    std::memset(&info, 0x41, sizeof info);
    EXPECT_TRUE(CapMgr_GetMonitorInfo(0, &info));
    EXPECT_EQ(info.cstrName[MAX_MONITOR_NAME_LEN - 1], '\0');
    EXPECT_EQ(info.rcMonitor.left, kMainLeft);
}

}  // namespace
