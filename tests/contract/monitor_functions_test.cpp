// The exported monitor functions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "MonitorManager.h"
#include "contract_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MonitorFunctions : public ContractTest {
  protected:
    // With the manager there already, and its making forgotten.
    static void makeManager() {
        CapMgr_GetMonitorCount();
        forgetEverything();
    }

    static bool allZero(const CAP_MONITOR_INFO& info) {
        std::array<unsigned char, sizeof info> bytes{};
        std::memcpy(bytes.data(), &info, sizeof info);
        return std::all_of(bytes.begin(), bytes.end(), [](unsigned char b) { return b == 0; });
    }

    static CAP_MONITOR_INFO dirtyRecord() {
        CAP_MONITOR_INFO info;
        std::memset(&info, 0x5A, sizeof info);
        return info;
    }
};

TEST_F(MonitorFunctions, countRealAndVirtualMonitors) {
    plugInSecond();
    CapMgr_GenerateMonitor(10, 10, 32);
    EXPECT_EQ(CapMgr_GetMonitorCount(), 3U);
}

struct EntryTrace {
    const char* name;
    void (*call)();
    std::string text;
};

class MonitorFunctionEntry : public MonitorFunctions,
                             public testing::WithParamInterface<EntryTrace> {};

TEST_P(MonitorFunctionEntry, isTracedFirst) {
    makeManager();
    GetParam().call();
    ASSERT_THAT(trace_recorder::messages(), testing::Not(IsEmpty()));
    EXPECT_EQ(trace_recorder::messages().front(), information(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Functions, MonitorFunctionEntry,
    testing::Values(EntryTrace{"count", [] { CapMgr_GetMonitorCount(); },
                               "CAPTURE_MANAGER_API GetMonitorCount..."},
                    EntryTrace{"info", [] { CapMgr_GetMonitorInfo(0, nullptr); },
                               "CAPTURE_MANAGER_API GetMonitorInformation..."},
                    EntryTrace{
                        "generate", [] { CapMgr_GenerateMonitor(-3, 4, 5); },
                        "CAPTURE_MANAGER_API GenerateMonitor... width: -3, height: 4, bitcount: 5"},
                    EntryTrace{"destroy", [] { CapMgr_DestroyMonitor(); },
                               "CAPTURE_MANAGER_API DestroyMonitor..."},
                    EntryTrace{"update", [] { CapMgr_UpdateMonitor(); },
                               "CAPTURE_MANAGER_API UpdateMonitor..."},
                    EntryTrace{"change", [] { CapMgr_OnMonitorInfoChange(); },
                               "CAPTURE_MANAGER_API OnMonitorInfoChange... "}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(MonitorFunctions, describeADisplay) {
    CAP_MONITOR_INFO info = dirtyRecord();
    ASSERT_TRUE(CapMgr_GetMonitorInfo(0, &info));
    EXPECT_EQ(info.dwIndex, 0U);
    EXPECT_STREQ(info.cstrName, "Panel 722");
    EXPECT_EQ(info.rcMonitor.left, -161);
    EXPECT_EQ(info.rcMonitor.top, -45);
    EXPECT_EQ(info.rcMonitor.right, 0);
    EXPECT_EQ(info.rcMonitor.bottom, 46);
    EXPECT_EQ(info.dwFrequency, 59U);
    EXPECT_EQ(info.dwBitsPerPixel, 32U);
    EXPECT_TRUE(info.bPrimary);
}

TEST_F(MonitorFunctions, traceADescription) {
    plugInSecond();
    makeManager();
    CAP_MONITOR_INFO info{};
    CapMgr_GetMonitorInfo(1, &info);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API GetMonitorInformation..."),
                            information("CMonitorManager::GetMonitor..m_vec_monitor.size() = 2"),
                            information(" CMonitor::GetMonitorRect rect.left = 7, rect.top = 3, "
                                        "rect.right = 87, rect.bottom = 63"),
                            information("GetMonitorInformation()... Name:Panel 69, Index:1, "
                                        "BitsPerPixel:32, Primary:false")));
}

TEST_F(MonitorFunctions, askForDepthBeforeFrequency) {
    makeManager();
    CAP_MONITOR_INFO info{};
    CapMgr_GetMonitorInfo(0, &info);
    EXPECT_THAT(
        scripted::callsOf({"CGDisplayModeCopyPixelEncoding", "CGDisplayModeGetRefreshRate"}),
        ElementsAre("CGDisplayModeCopyPixelEncoding(mode#2) -> string#6",
                    "CGDisplayModeGetRefreshRate(mode#3)"));
}

TEST_F(MonitorFunctions, refuseANullRecordBeforeTheManagerIsMade) {
    EXPECT_FALSE(CapMgr_GetMonitorInfo(0, nullptr));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API GetMonitorInformation..."),
                            error("GetMonitorInformation()... pMonitorInfo is NULL!")));
    EXPECT_THAT(scripted::calls(), IsEmpty());
}

TEST_F(MonitorFunctions, clearTheRecordOfAnIndexAtTheCount) {
    makeManager();
    CAP_MONITOR_INFO info = dirtyRecord();
    EXPECT_FALSE(CapMgr_GetMonitorInfo(1, &info));
    EXPECT_TRUE(allZero(info));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API GetMonitorInformation..."),
                            information("CMonitorManager::GetMonitor..m_vec_monitor.size() = 1"),
                            error("GetMonitorInformation()... Invalid dwIndex!")));
}

TEST_F(MonitorFunctions, fitTheLongestNameIntoTheRecord) {
    const std::string name(62, 'x');
    scripted::change(kMain, [&](scripted::Display& d) { d.names = {{"en_US", name}}; });
    CAP_MONITOR_INFO info = dirtyRecord();
    CapMgr_GetMonitorInfo(0, &info);
    EXPECT_EQ(std::string(info.cstrName), name);
    EXPECT_EQ(info.cstrName[MAX_MONITOR_NAME_LEN - 1], '\0');
}

// Bytes are counted, not characters: the last one may be cut in two.
TEST_F(MonitorFunctions, cutALongNameOfTwoByteCharacters) {
    std::string name;
    while (name.size() < 200) {
        name += "\xC3\xBC";
    }
    scripted::change(kMain, [&](scripted::Display& d) { d.names = {{"en_US", name}}; });
    scripted::leaveCutText();
    CAP_MONITOR_INFO info = dirtyRecord();
    ASSERT_TRUE(CapMgr_GetMonitorInfo(0, &info));
    EXPECT_EQ(std::string(info.cstrName), name.substr(0, 63));
    EXPECT_EQ(info.cstrName[63], '\0');
}

// The whole record is cleared: what is behind a short name is zero.
TEST_F(MonitorFunctions, leaveNothingBehindAShortName) {
    CAP_MONITOR_INFO info = dirtyRecord();
    ASSERT_TRUE(CapMgr_GetMonitorInfo(0, &info));
    const std::string whole(info.cstrName, sizeof info.cstrName);
    EXPECT_EQ(whole, "Panel 722" + std::string(55, '\0'));
}

class LongName : public MonitorFunctions, public testing::WithParamInterface<size_t> {};

TEST_P(LongName, isCutTo63CharactersAndEnded) {
    const std::string name(GetParam(), 'x');
    scripted::change(kMain, [&](scripted::Display& d) { d.names = {{"en_US", name}}; });
    scripted::leaveCutText();
    CAP_MONITOR_INFO info = dirtyRecord();
    ASSERT_TRUE(CapMgr_GetMonitorInfo(0, &info));
    EXPECT_EQ(std::string(info.cstrName), std::string(63, 'x'));
}

INSTANTIATE_TEST_SUITE_P(Lengths, LongName, testing::Values(63, 64, 200));

TEST_F(MonitorFunctions, reportThePositionOfAVirtualMonitor) {
    makeManager();
    CapMgr_GenerateMonitor(1280, 720, 32);
    CAP_MONITOR_INFO info = dirtyRecord();
    ASSERT_TRUE(CapMgr_GetMonitorInfo(1, &info));
    EXPECT_EQ(info.dwIndex, 1U);
    EXPECT_EQ(info.rcMonitor.right, 1280);
    EXPECT_EQ(info.rcMonitor.bottom, 720);
    EXPECT_STREQ(info.cstrName, "");
    EXPECT_EQ(info.dwFrequency, 0U);
    EXPECT_EQ(info.dwBitsPerPixel, 0U);
    EXPECT_FALSE(info.bPrimary);
    EXPECT_EQ(CapMgr_GetSecondaryMonitorIndex(), 0U);
}

TEST_F(MonitorFunctions, findPrimaryAndSecondaryWithoutATrace) {
    scripted::reset();
    scripted::plugIn(scripted::makeDisplay(1, -50, 0, 50, 40));
    scripted::Display main = scripted::makeDisplay(2, 0, 0, 60, 40);
    main.main = true;
    scripted::plugIn(main);
    makeManager();
    EXPECT_EQ(CapMgr_GetPrimaryMonitorIndex(), 1U);
    EXPECT_EQ(CapMgr_GetSecondaryMonitorIndex(), 0U);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(MonitorFunctions, nameThePrimaryWhenThereIsNoSecondary) {
    makeManager();
    EXPECT_EQ(CapMgr_GetSecondaryMonitorIndex(), 0U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(error("CapMgr_GetPrimaryMonitorIndex().. fail, return default value 0!")));
}

TEST_F(MonitorFunctions, haveNoPrimaryWithoutADisplay) {
    scripted::unplug(kMain);
    makeManager();
    EXPECT_EQ(CapMgr_GetPrimaryMonitorIndex(), 0U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(error("CapMgr_GetPrimaryMonitorIndex().. fail, return default value 0!")));
}

// What was taken once stays, what is asked of the mode is gone with it.
TEST_F(MonitorFunctions, describeADisplayThatIsGone) {
    plugInSecond();
    makeManager();
    scripted::unplug(kSecond);
    CAP_MONITOR_INFO info = dirtyRecord();
    ASSERT_TRUE(CapMgr_GetMonitorInfo(1, &info));
    EXPECT_STREQ(info.cstrName, "Panel 69");
    EXPECT_EQ(info.rcMonitor.right, 87);
    EXPECT_EQ(info.dwFrequency, 0U);
    EXPECT_EQ(info.dwBitsPerPixel, 0U);
}

class FailingPlatformCall : public MonitorFunctions,
                            public testing::WithParamInterface<const char*> {};

TEST_P(FailingPlatformCall, leavesAMonitorThatCanBeDescribedAndStarted) {
    scripted::fail(GetParam());
    EXPECT_EQ(CapMgr_GetMonitorCount(), 1U);
    CAP_MONITOR_INFO info = dirtyRecord();
    EXPECT_TRUE(CapMgr_GetMonitorInfo(0, &info));
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    EXPECT_EQ(CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                  PARALLEL_CAPTURE_MODE),
              0U);
    EXPECT_TRUE(CapMgr_StopCapture(index, 0));
    EXPECT_EQ(CapMgr_GetMonitorCount(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Functions, FailingPlatformCall,
                         testing::Values("CGDisplayIOServicePort", "IODisplayCreateInfoDictionary",
                                         "CFDictionaryGetValue", "CFArrayCreateMutable",
                                         "CFDictionaryApplyFunction", "CFArrayAppendValue",
                                         "CFBundleCopyPreferredLocalizationsFromArray",
                                         "CFArrayGetCount", "CFStringGetCString", "CGDisplayBounds",
                                         "CGDisplayCopyDisplayMode", "CGDisplayModeGetPixelWidth",
                                         "CGDisplayModeGetPixelHeight", "CGDisplayModeGetWidth",
                                         "CGDisplayModeGetHeight", "CGDisplayIsMain",
                                         "CGDisplayModeCopyPixelEncoding", "CFStringCompare",
                                         "CGDisplayModeGetRefreshRate"),
                         [](const auto& instance) { return std::string(instance.param); });

class Reenumeration : public MonitorFunctions, public testing::WithParamInterface<void (*)()> {};

TEST_P(Reenumeration, findsDisplaysPluggedInAndDropsVirtualOnes) {
    CapMgr_GenerateMonitor(10, 10, 32);
    plugInSecond();
    GetParam()();
    CAP_MONITOR_INFO info{};
    EXPECT_EQ(CapMgr_GetMonitorCount(), 2U);
    EXPECT_TRUE(CapMgr_GetMonitorInfo(1, &info));
    EXPECT_STREQ(info.cstrName, "Panel 69");
}

INSTANTIATE_TEST_SUITE_P(Functions, Reenumeration,
                         testing::Values(&CapMgr_UpdateMonitor, &CapMgr_OnMonitorInfoChange));

TEST_F(MonitorFunctions, keepAVirtualMonitorThatIsDestroyed) {
    CapMgr_GenerateMonitor(10, 10, 32);
    trace_recorder::forget();
    CapMgr_DestroyMonitor();
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CAPTURE_MANAGER_API DestroyMonitor..."),
                            information("CMonitorManager::DestroyMonitor")));
    EXPECT_EQ(CapMgr_GetMonitorCount(), 2U);
}

}  // namespace
