// The exported functions that change or read the settings of a capture.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CaptureBase.h"
#include "MonitorManager.h"
#include "contract_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Message kUnknownRecord = error("CMonitorManager::GetCaptureMgr... Capture Index Invalid!");
const Message kUnknownInstance =
    error("CMonitorManager::GetCaptureInstance... Capture Index Invalid!");

class Settings : public ContractTest {
  protected:
    static unsigned int freshIndex() {
        const unsigned int index = CapMgr_GenerateCaptureIndex();
        forgetEverything();
        return index;
    }

    static StructCaptureMgr& record(unsigned int index) {
        return *CMonitorManager::GetInstance()->GetCaptureMgr(index);
    }
};

// Rates.

TEST_F(Settings, storeAMaximumOfAtMost30) {
    const unsigned int index = freshIndex();
    EXPECT_TRUE(CapMgr_SetMaxFrameRate(index, 60));
    EXPECT_EQ(record(index).dwMaxFrameRate, 30U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API CapMgr_SetMaxFrameRate... "
                                        "capture index: 0, framerate: 60")));
}

TEST_F(Settings, storeAnUpdateUnclamped) {
    const unsigned int index = freshIndex();
    EXPECT_TRUE(CapMgr_UpdateFrameRate(index, 60));
    EXPECT_EQ(record(index).dwMaxFrameRate, 60U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API CapMgr_UpdateFrameRate... "
                                        "capture index: 0, framerate: 60")));
}

TEST_F(Settings, applyAMaximumOfAtMost30) {
    const unsigned int index = startedCapture();
    EXPECT_TRUE(CapMgr_SetMaxFrameRate(index, 4000000000U));
    EXPECT_EQ(CapMgr_GetMaxFrameRate(index), 30);
    EXPECT_EQ(CapMgr_GetCurFrameRate(index), 3);
    EXPECT_EQ(record(index).dwMaxFrameRate, 0U);
}

TEST_F(Settings, applyAnUpdateUpToTheMaximum) {
    const unsigned int index = startedCapture();
    CapMgr_SetMaxFrameRate(index, 12);
    EXPECT_TRUE(CapMgr_UpdateFrameRate(index, 60));
    EXPECT_EQ(CapMgr_GetCurFrameRate(index), 12);
}

TEST_F(Settings, reportTheStoredRateForBothBeforeAStart) {
    const unsigned int index = freshIndex();
    EXPECT_EQ(CapMgr_GetMaxFrameRate(index), 0);
    EXPECT_EQ(CapMgr_GetCurFrameRate(index), 0);
    CapMgr_SetMaxFrameRate(index, 7);
    EXPECT_EQ(CapMgr_GetMaxFrameRate(index), 7);
    EXPECT_EQ(CapMgr_GetCurFrameRate(index), 7);
}

TEST_F(Settings, traceRatesThatAreRead) {
    const unsigned int index = startedCapture();
    CapMgr_SetMaxFrameRate(index, 2);
    trace_recorder::forget();
    CapMgr_GetMaxFrameRate(index);
    CapMgr_GetCurFrameRate(index);
    const auto maximum = [](const char* text) {
        return information(std::string("CAPTURE_MANAGER_API CapMgr_GetMaxFrameRate... ") + text);
    };
    const auto current = [](const char* text) {
        return information(std::string("CAPTURE_MANAGER_API CapMgr_GetCurFrameRate... ") + text);
    };
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(maximum("capture index: 0"), maximum("iFrameRate: 2"),
                            current("capture index: 0"), current("iFrameRate: 2")));
}

struct RateSetter {
    const char* name;
    bool (*set)(unsigned int, unsigned int);
};

class FrameRateSetter : public Settings, public testing::WithParamInterface<RateSetter> {
  protected:
    static Message invalid(const std::string& parameter) {
        return error(std::string(GetParam().name) + "... param " + parameter + " invalid!");
    }
};

TEST_P(FrameRateSetter, refusesZero) {
    const unsigned int index = freshIndex();
    EXPECT_FALSE(GetParam().set(index, 0));
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), ElementsAre(invalid("nFrameRate")));
}

TEST_P(FrameRateSetter, reportsAnUnknownIndexRatherThanZero) {
    freshIndex();
    EXPECT_FALSE(GetParam().set(5, 0));
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(kUnknownRecord, invalid("dwCaptureIndex")));
}

INSTANTIATE_TEST_SUITE_P(
    Functions, FrameRateSetter,
    testing::Values(RateSetter{"CapMgr_SetMaxFrameRate", &CapMgr_SetMaxFrameRate},
                    RateSetter{"CapMgr_UpdateFrameRate", &CapMgr_UpdateFrameRate}),
    [](const auto& instance) { return instance.param.name; });

struct Getter {
    const char* name;
    int (*get)(unsigned int);
};

class SettingGetter : public Settings, public testing::WithParamInterface<Getter> {};

TEST_P(SettingGetter, isZeroForAnUnknownIndex) {
    freshIndex();
    const std::string name = GetParam().name;
    EXPECT_EQ(GetParam().get(5), 0);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API " + name + "... capture index: 5"),
                            kUnknownRecord, error(name + "... param dwCaptureIndex invalid!")));
}

INSTANTIATE_TEST_SUITE_P(Functions, SettingGetter,
                         testing::Values(Getter{"CapMgr_GetMaxFrameRate", &CapMgr_GetMaxFrameRate},
                                         Getter{"CapMgr_GetCurFrameRate", &CapMgr_GetCurFrameRate},
                                         Getter{"CapMgr_GetCapFailResult",
                                                &CapMgr_GetCapFailResult}),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(Settings, reportNoCaptureFailureOfARunningCapture) {
    const unsigned int index = startedCapture();
    EXPECT_EQ(CapMgr_GetCapFailResult(index), 0);
    const std::string name = "CAPTURE_MANAGER_API CapMgr_GetCapFailResult... ";
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(information(name + "capture index: 0"),
                                                        framePath(2, " iCapFailResult: 0"),
                                                        information(name + "iCapFailResult: 0")));
}

TEST_F(Settings, reportNoCaptureFailureWithoutACapture) {
    const unsigned int index = freshIndex();
    EXPECT_EQ(CapMgr_GetCapFailResult(index), 0);
    const std::string name = "CAPTURE_MANAGER_API CapMgr_GetCapFailResult... ";
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(information(name + "capture index: 0"),
                                                        framePath(2, " iCapFailResult:0 "),
                                                        information(name + "iCapFailResult: 0")));
}

// Excluded windows.

TEST_F(Settings, storeExcludedWindowsBeforeAStart) {
    const unsigned int index = freshIndex();
    CapMgr_SetExcludeWnd(index, window(4), CAP_EXC_WND_ADD);
    CapMgr_SetExcludeWnd(index, window(9), CAP_EXC_WND_ADD);
    CapMgr_SetExcludeWnd(index, window(4), CAP_EXC_WND_DELETE);
    CapMgr_SetExcludeWnd(index, window(1), static_cast<tagCapExcWndActType>(3));
    EXPECT_THAT(record(index).vecPresetExcludeWnd, ElementsAre(window(9)));
    CapMgr_SetExcludeWnd(index, nullptr, CAP_EXC_WND_CLEAR);
    EXPECT_THAT(record(index).vecPresetExcludeWnd, IsEmpty());
}

TEST_F(Settings, traceWhetherThereIsAWindow) {
    const unsigned int index = freshIndex();
    CapMgr_SetExcludeWnd(index, window(4), CAP_EXC_WND_ADD);
    CapMgr_SetExcludeWnd(index, nullptr, CAP_EXC_WND_CLEAR);
    const std::string name = "CAPTURE_MANAGER_API SetExcludeWnd...capture index: 0, window ID: ";
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information(name + "true, action type: 1"),
                            information(name + "false, action type: 0")));
}

TEST_F(Settings, excludeAWindowThatWasStoredBeforeTheStart) {
    scripted::showWindows({4, 9, 5});
    const unsigned int index = freshIndex();
    CapMgr_SetExcludeWnd(index, window(9), CAP_EXC_WND_ADD);
    CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                        PARALLEL_CAPTURE_MODE);
    ASSERT_TRUE(driven_time::awaitSleep());
    EXPECT_THAT(scripted::callsOf({"CGWindowListCreateImageFromArray"}),
                ElementsAre(testing::HasSubstr("\"[4 5]\"")));
}

TEST_F(Settings, excludeAWindowFromTheNextFrameOn) {
    scripted::showWindows({4, 9, 5});
    const unsigned int index = startedCapture();
    CapMgr_SetExcludeWnd(index, window(4), CAP_EXC_WND_ADD);
    runRounds(1);
    EXPECT_THAT(scripted::callsOf({"CGWindowListCreateImage", "CGWindowListCreateImageFromArray"}),
                ElementsAre(testing::HasSubstr("\"[9 5]\"")));
    EXPECT_THAT(record(index).vecPresetExcludeWnd, IsEmpty());
}

TEST_F(Settings, excludeNothingUnderAnUnknownIndex) {
    freshIndex();
    CapMgr_SetExcludeWnd(5, window(4), CAP_EXC_WND_ADD);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CAPTURE_MANAGER_API SetExcludeWnd...capture index: 5, "
                                "window ID: true, action type: 1"),
                    kUnknownRecord, error("SetExcludeWnd... param dwCaptureIndex invalid!")));
}

// The shared window.

TEST_F(Settings, shareAWindowOfARunningCapture) {
    const unsigned int index = startedCapture(1, CAP_TYPE_APP_WINDOW);
    CapMgr_SetSharedAppWnd(index, 52, CAP_APP_WND_SET);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(step("CPSW", "begin to set share windows", "[Index:0, Action:1, nAppWndID:52]"),
                    information("CCaptureBase::SetSharedAppWnd... Begin!"),
                    error("CCaptureBase::SetSharedAppWnd()... SharedWnd ID changed!"),
                    information("CCaptureBase::SetSharedAppWnd()... m_nWndCaptureID = 52"),
                    information("CCaptureBase::SetSharedAppWnd... End!"),
                    step("CPSW", "set share windows end", "[NULL]")));
    runRounds(1);
    EXPECT_THAT(scripted::callsOf({"CGWindowListCreateImage"}),
                ElementsAre(testing::HasSubstr(", 8, 52, 0)")));
}

TEST_F(Settings, shareNoWindowBeforeAStart) {
    const unsigned int index = freshIndex();
    CapMgr_SetSharedAppWnd(index, 52, CAP_APP_WND_SET);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(step("CPSW", "begin to set share windows", "[Index:0, Action:1, nAppWndID:52]"),
                    error("SetSharedAppWnd... param pCapture invalid!"),
                    step("CPSW", "set share windows end", "[NULL]")));
}

TEST_F(Settings, shareNoWindowUnderAnUnknownIndex) {
    freshIndex();
    CapMgr_SetSharedAppWnd(5, 52, CAP_APP_WND_CLEAR);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(step("CPSW", "begin to set share windows", "[Index:5, Action:0, nAppWndID:52]"),
                    kUnknownRecord, error("SetSharedAppWnd... param dwCaptureIndex invalid!")));
}

// The background colour.

TEST_F(Settings, passABackgroundColourOn) {
    const unsigned int index = startedCapture();
    CapMgr_SetAppShareBgColor(index, 1, 2, 3);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(
            information("SetAppShareBgColor... dwIndex = 0 rgnType = 1 brushType = 2 clrref = 3"),
            information("CCaptureBase::SetAppShareBackColor...nRgnType = 1, nBrushType = 2")));
}

TEST_F(Settings, passNoBackgroundColourOnWithoutACapture) {
    const unsigned int index = freshIndex();
    CapMgr_SetAppShareBgColor(index, 1, 2, 3);
    CapMgr_SetAppShareBgColor(5, 1, 2, 3);
    const Message none = information("SetAppShareBgColor... pCapture == NULL");
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(
            information("SetAppShareBgColor... dwIndex = 0 rgnType = 1 brushType = 2 clrref = 3"),
            none,
            information("SetAppShareBgColor... dwIndex = 5 rgnType = 1 brushType = 2 clrref = 3"),
            kUnknownInstance, none));
}

}  // namespace
