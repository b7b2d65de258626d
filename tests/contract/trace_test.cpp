// The form of every message: position, tag, level, flag, and when nothing is built at all.
#include <CoreGraphics/CGGeometry.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <sstream>

#include "CaptureScaling.h"
#include "MonitorManager.h"
#include "contract_test.h"
#include "thread_watch.h"

namespace {

using testing::AllOf;
using testing::Each;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

class TraceForm : public ContractTest {
  protected:
    // Every exported function once, with a started capture under index 0; results as text.
    static std::string callEverything() {
        std::string results;
        const auto add = [&results](auto value) { results += std::to_string(value) + " "; };
        CAP_MONITOR_INFO info{};
        double scale = 0;
        CGRect frame{};
        add(CapMgr_GenerateCaptureIndex());
        add(CapMgr_GetMonitorCount());
        add(CapMgr_GetMonitorInfo(0, &info));
        add(CapMgr_GetMonitorInfo(0, nullptr));
        add(CapMgr_GetPrimaryMonitorIndex());
        add(CapMgr_GetSecondaryMonitorIndex());
        CapMgr_GenerateMonitor(4, 3, 32);
        CapMgr_DestroyMonitor();
        CapMgr_UpdateMonitor();
        CapMgr_OnMonitorInfoChange();
        CapMgr_MonitorScreenInfo(0, &scale, &frame);
        add(scale);
        add(CapMgr_SetMaxFrameRate(0, 9));
        CapMgr_SetExcludeWnd(0, window(3), CAP_EXC_WND_ADD);
        add(CapMgr_StartCapture(0, 0, CAP_METHOD_DEFAULT, CAP_TYPE_DESKTOP, 0,
                                SERIAL_CAPTURE_MODE));
        add(CapMgr_StartCapture(0, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                SERIAL_CAPTURE_MODE));
        add(driven_time::awaitSleep().value_or(0));
        callEverythingOfARunningCapture(results);
        add(thread_watch::awaitNone());
        return results;
    }

    static void callEverythingOfARunningCapture(std::string& results) {
        const auto add = [&results](auto value) { results += std::to_string(value) + " "; };
        const unsigned char pixel[4] = {};
        add(CapMgr_IsSerialCapMode(0));
        add(CapMgr_SetCaptureFrameSize(0, {8, 6}));
        add(CapMgr_CaptureScreenBuffer(0).dwWidth);
        add(CapMgr_LockScreenBuffer(0).dwDataLen);
        add(CapMgr_UnlockScreenBuffer(0));
        CapMgr_UpdateScreenBuffer(0, pixel, sizeof pixel);
        add(CapMgr_UpdateFrameRate(0, 5));
        add(CapMgr_GetMaxFrameRate(0));
        add(CapMgr_GetCurFrameRate(0));
        add(CapMgr_GetCapFailResult(0));
        CapMgr_SetSharedAppWnd(0, 4, CAP_APP_WND_SET);
        CapMgr_SetAppShareBgColor(0, 0, 1, 2);
        add(CapMgr_PauseCapture(0));
        add(CapMgr_ResumeCapture(0));
        add(CapMgr_PauseCapture(77));
        add(CapMgr_StopCapture(0, 1));
        add(CapMgr_StopCapture(0, 1));
    }
};

TEST_F(TraceForm, belowLevelZeroNothingIsBuiltAndResultsAreTheSame) {
    const std::string traced = callEverything();
    CMonitorManager::DeleteInstance();
    driven_time::reset();
    trace_recorder::setLevel(-1);
    trace_recorder::forget();
    EXPECT_EQ(callEverything(), traced);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_THAT(trace_recorder::streams(), IsEmpty());
    EXPECT_GT(trace_recorder::levelQueries(), 0U);
}

TEST_F(TraceForm, aMessageTooDetailedCostsOneLookAtTheLevel) {
    CapMgr_GetMonitorCount();
    trace_recorder::setLevel(1);
    trace_recorder::forget();
    CapMgr_GetMonitorCount();
    EXPECT_EQ(trace_recorder::levelQueries(), 1U);
    EXPECT_THAT(trace_recorder::streams(), IsEmpty());
}

class WantedLevel : public TraceForm, public testing::WithParamInterface<int> {};

TEST_P(WantedLevel, isTheHighestThatIsWritten) {
    trace_recorder::setLevel(GetParam());
    callEverything();
    int highest = -1;
    for (const Message& message : trace_recorder::messages()) {
        highest = std::max(highest, message.level);
    }
    EXPECT_EQ(highest, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Levels, WantedLevel, testing::Values(0, 1, 2, 3));

TEST_F(TraceForm, withoutPositionsEveryMessageBeginsWithItsTag) {
    callEverything();
    EXPECT_THAT(trace_recorder::rawTexts(),
                Each(MatchesRegex("(\\[KXSC\\] |\\[KXSS\\]|\\[KXAS\\] |"
                                  "\\[KXSC\\]\\[CP(MO|CR|SW|ST|SP)\\]\\[STEP\\]\\[).*")));
}

TEST_F(TraceForm, withPositionsEveryMessageBeginsWithPathAndLine) {
    trace_recorder::setFileLine(true);
    callEverything();
    ASSERT_THAT(trace_recorder::rawTexts(), Not(IsEmpty()));
    EXPECT_THAT(trace_recorder::rawTexts(),
                Each(MatchesRegex("\\[src/component/captureManager/(CaptureManager|CaptureBase|"
                                  "CaptureMac|Monitor|MonitorManager): [1-9][0-9]*\\] "
                                  "\\[KX(SC|SS|AS)\\].*")));
}

struct Origin {
    const char* message;
    const char* file;
};

class SourceFile : public TraceForm, public testing::WithParamInterface<Origin> {};

TEST_P(SourceFile, isTheOneOfTheClass) {
    trace_recorder::setFileLine(true);
    callEverything();
    const std::string expected = "\\[src/component/captureManager/" + std::string(GetParam().file) +
                                 ": [1-9][0-9]*\\] \\[KX.*" + GetParam().message + ".*";
    EXPECT_THAT(trace_recorder::rawTexts(), testing::Contains(MatchesRegex(expected)));
}

INSTANTIATE_TEST_SUITE_P(Classes, SourceFile,
                         testing::Values(Origin{"GetMonitorCount", "CaptureManager"},
                                         Origin{"begin to create capture", "CaptureManager"},
                                         Origin{"GetMonitorRect rect", "Monitor"},
                                         Origin{"UpdateMonitors... Begin", "MonitorManager"},
                                         Origin{"begin to update monitor", "MonitorManager"},
                                         Origin{"SetCaptureMode end", "CaptureBase"},
                                         Origin{"CaptureMac::UnInit", "CaptureMac"}));

TEST_F(TraceForm, theScalersMessagesAreOfItsOwnSourceFile) {
    trace_recorder::setFileLine(true);
    const unsigned char pixel[4] = {};
    CCaptureScaling().CopyData(pixel, 4, 1, nullptr, {2, 1});
    EXPECT_THAT(trace_recorder::rawTexts(),
                testing::ElementsAre(
                    MatchesRegex("\\[src/component/captureManager/CaptureScaling: [1-9][0-9]*\\] "
                                 "\\[KXSC\\] CCaptureScaling::CopyData param Error.*")));
}

TEST_F(TraceForm, everyMessageIsBuiltInAStreamOfItsOwn) {
    callEverything();
    const auto streams = trace_recorder::streams();
    EXPECT_THAT(streams, testing::SizeIs(trace_recorder::messages().size()));
    EXPECT_THAT(streams, Each(AllOf(testing::Field(&StreamUse::capacity, 1024U),
                                    testing::Field(&StreamUse::growth, 32U),
                                    testing::Field(&StreamUse::format, 4U))));
}

TEST_F(TraceForm, onlyMessagesOfEachFrameAreFlagged) {
    callEverything();
    const auto isOfEachFrame = [](const std::string& text) {
        for (const char* part : {"[KXSS]CCaptureMac::DoCapture", "[KXSS]CCaptureBase::CheckARGB",
                                 "[KXSS]CAPTURE_MANAGER_API UpdateScreenBuffer"}) {
            if (text.rfind(part, 0) == 0) {
                return true;
            }
        }
        return false;
    };
    for (const Message& message : trace_recorder::messages()) {
        EXPECT_EQ(message.flag, isOfEachFrame(message.text) ? 1 : 0) << message;
    }
}

TEST_F(TraceForm, everyMessageIsToldAsAnErrorMessageToo) {
    callEverything();
    EXPECT_THAT(trace_recorder::faults(), IsEmpty());
}

// Its numbers, its order and the size of its slots, as they lie in the shipped file.
TEST_F(TraceForm, thePhrasesOfTheStepLogLieInSlotsOf1024Bytes) {
    constexpr std::array kPhrases = {
        "begin to update monitor information",
        "information of the monitor",
        "update monitor information end",
        "begin to create capture",
        "create capture end",
        "begin to set transparent windows",
        "information of the transparent windows",
        "set transparent windows end",
        "begin to set share windows",
        "information of the share windows",
        "set share windows end",
        "begin to start capture",
        "start capture end",
        "begin to stop capture",
        "stop capture end",
        "begin to capture frame",
        "capture frame end",
    };
    std::string table;
    for (const std::string phrase : kPhrases) {
        table += phrase + std::string(1024 - phrase.size(), '\0');
    }
    ASSERT_EQ(table.size(), 17408U);
    Dl_info library{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&CapMgr_StartCapture), &library), 0);
    std::ifstream file(library.dli_fname, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    EXPECT_NE(content.str().find(table), std::string::npos);
}

TEST_F(TraceForm, aLongNameIsTracedWhole) {
    const std::string name(62, 'n');
    scripted::change(kMain, [&](scripted::Display& d) { d.names = {{"en_US", name}}; });
    CapMgr_GetMonitorCount();
    EXPECT_THAT(trace_recorder::rawTexts(),
                testing::Contains("[KXSC][CPMO][STEP][information of the monitor][Index:0, L:-161, "
                                  "R:0, T:-45, B:46, Primary:true, Name:" +
                                  name + "]"));
}

}  // namespace
