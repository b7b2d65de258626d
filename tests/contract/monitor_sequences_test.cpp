// The exported monitor functions from end to end.
#include <gtest/gtest.h>

#include "call_sequence.h"

namespace {

std::string described(unsigned int index) {
    CAP_MONITOR_INFO info{};
    if (!CapMgr_GetMonitorInfo(index, &info)) {
        return "false";
    }
    const auto list = [](auto... values) { return ((std::to_string(values) + " ") + ...); };
    return std::string(info.cstrName) + ": " +
           list(info.dwIndex, info.rcMonitor.left, info.rcMonitor.top, info.rcMonitor.right,
                info.rcMonitor.bottom, info.dwFrequency, info.dwBitsPerPixel) +
           text(info.bPrimary);
}

void addVirtualMonitor() {
    CapMgr_GenerateMonitor(1280, 720, 32);
}

void plugInBoth() {
    CallSequences::plugInSecond();
    CallSequences::makeManager();
}

void withoutDisplays() {
    scripted::unplug(CallSequences::kMain);
    CallSequences::makeManager();
}

void failEnumerationAt(size_t call) {
    CallSequences::makeManager();
    addVirtualMonitor();
    scripted::fail("CGGetActiveDisplayList", call);
}

const Message kNoIndex = error("CapMgr_GetPrimaryMonitorIndex().. fail, return default value 0!");
const Message kInformationEntry = information("CAPTURE_MANAGER_API GetMonitorInformation...");
const Message kUpdateEntry = information("CAPTURE_MANAGER_API UpdateMonitor...");
const Message kChangeEntry = information("CAPTURE_MANAGER_API OnMonitorInfoChange... ");
const Messages kUpdateBegin = {step("CPMO", "begin to update monitor information", "[NULL]"),
                               information("CMonitorManager::UpdateMonitors... Begin")};
const Messages kFirstListError = {
    error("CMonitorManager::UpdateMonitors CGGetActiveDisplayList1st Err!")};
const Messages kSecondListError = {
    error("CMonitorManager::UpdateMonitors CGGetActiveDisplayList2nd Err!")};

const PlatformCalls kDescriptionCalls = {"CGDisplayCopyDisplayMode(722) -> mode",
                                         "CGDisplayModeCopyPixelEncoding(mode) -> string",
                                         "CGDisplayModeRelease(mode)",
                                         "CFStringCompare(string, "
                                         "\"--------RRRRRRRRGGGGGGGGBBBBBBBB\", 1)",
                                         "CFRelease(string)",
                                         "CGDisplayCopyDisplayMode(722) -> mode",
                                         "CGDisplayModeGetRefreshRate(mode)",
                                         "CGDisplayModeRelease(mode)"};

INSTANTIATE_TEST_SUITE_P(
    MonitorList, CallSequences,
    testing::Values(
        CallSequence{"count",
                     plugInBoth,
                     [] { return std::to_string(CapMgr_GetMonitorCount()); },
                     "2",
                     {information("CAPTURE_MANAGER_API GetMonitorCount...")},
                     {}},
        CallSequence{"generate",
                     CallSequences::makeManager,
                     quietly([] { CapMgr_GenerateMonitor(-1280, -720, 4294967295U); }),
                     "",
                     {information("CAPTURE_MANAGER_API GenerateMonitor... width: -1280, height: "
                                  "-720, bitcount: 4294967295"),
                      information("CMonitorManager::CreateMonitor,nWidth = -1280,nHeight =-720,"
                                  "nBitCount = 4294967295, nIndex = 0"),
                      information("CMonitor::CMonitor m_dwIndex = 0, m_rcMonitor.right = -1280, "
                                  "m_rcMonitor.bottom = -720, m_nBitCount = 4294967295")},
                     {}},
        CallSequence{"destroy",
                     addVirtualMonitor,
                     quietly(&CapMgr_DestroyMonitor),
                     "",
                     {information("CAPTURE_MANAGER_API DestroyMonitor..."),
                      information("CMonitorManager::DestroyMonitor")},
                     {}},
        CallSequence{"update", addVirtualMonitor, quietly(&CapMgr_UpdateMonitor), "",
                     joined(Messages{kUpdateEntry}, enumerationMessages()), enumerationCalls()},
        CallSequence{"updateWithoutACount",
                     [] { failEnumerationAt(0); },
                     quietly(&CapMgr_UpdateMonitor),
                     "",
                     joined(Messages{kUpdateEntry}, kUpdateBegin, kFirstListError),
                     {"CGGetActiveDisplayList(0, null, out)"}},
        CallSequence{
            "updateWithoutAList",
            [] { failEnumerationAt(1); },
            quietly(&CapMgr_UpdateMonitor),
            "",
            joined(Messages{kUpdateEntry}, kUpdateBegin, kSecondListError),
            {"CGGetActiveDisplayList(0, null, out)", "CGGetActiveDisplayList(1, out, out)"}},
        CallSequence{"change", addVirtualMonitor, quietly(&CapMgr_OnMonitorInfoChange), "",
                     joined(Messages{kChangeEntry}, enumerationMessages()), enumerationCalls()},
        CallSequence{"changeWithoutACount",
                     [] { failEnumerationAt(0); },
                     quietly(&CapMgr_OnMonitorInfoChange),
                     "",
                     joined(Messages{kChangeEntry}, kUpdateBegin, kFirstListError),
                     {"CGGetActiveDisplayList(0, null, out)"}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    MonitorLookup, CallSequences,
    testing::Values(
        CallSequence{"describe",
                     CallSequences::makeManager,
                     [] { return described(0); },
                     "Panel 722: 0 -161 -45 0 46 59 32 true",
                     {kInformationEntry, monitorCountMessage(1), mainRectMessage(),
                      information("GetMonitorInformation()... Name:Panel 722, Index:0, "
                                  "BitsPerPixel:32, Primary:true")},
                     kDescriptionCalls},
        CallSequence{"describeVirtual",
                     addVirtualMonitor,
                     [] { return described(1); },
                     ": 1 0 0 1280 720 0 0 false",
                     {kInformationEntry, monitorCountMessage(2),
                      information(" CMonitor::GetMonitorRect rect.left = 0, rect.top = 0, "
                                  "rect.right = 1280, rect.bottom = 720"),
                      information("GetMonitorInformation()... Name:, Index:1, BitsPerPixel:0, "
                                  "Primary:false")},
                     {"CGDisplayCopyDisplayMode(0)", "CGDisplayCopyDisplayMode(0)"}},
        CallSequence{
            "describeOddDepth",
            [] {
                CallSequences::makeManager();
                scripted::change(CallSequences::kMain, [](scripted::Display& display) {
                    display.mode->pixelEncoding = "R";
                });
            },
            [] { return described(0); },
            "Panel 722: 0 -161 -45 0 46 59 0 true",
            {kInformationEntry, monitorCountMessage(1), mainRectMessage(),
             error("CMonitor::GetBitsPerPixel()... CGDisplayModeCopyPixelEncoding "
                   "failed!"),
             information("GetMonitorInformation()... Name:Panel 722, Index:0, "
                         "BitsPerPixel:0, Primary:true")},
            {"CGDisplayCopyDisplayMode(722) -> mode",
             "CGDisplayModeCopyPixelEncoding(mode) -> string", "CGDisplayModeRelease(mode)",
             "CFStringCompare(string, \"--------RRRRRRRRGGGGGGGGBBBBBBBB\", 1)",
             "CFStringCompare(string, \"-RRRRRGGGGGBBBBB\", 1)",
             "CFStringCompare(string, \"PPPPPPPP\", 1)", "CFRelease(string)",
             "CGDisplayCopyDisplayMode(722) -> mode", "CGDisplayModeGetRefreshRate(mode)",
             "CGDisplayModeRelease(mode)"}},
        CallSequence{"describeAtTheCount",
                     CallSequences::makeManager,
                     [] { return described(1); },
                     "false",
                     {kInformationEntry, monitorCountMessage(1),
                      error("GetMonitorInformation()... Invalid dwIndex!")},
                     {}},
        CallSequence{"describeIntoNothing",
                     CallSequences::nothing,
                     [] { return text(CapMgr_GetMonitorInfo(0, nullptr)); },
                     "false",
                     {kInformationEntry, error("GetMonitorInformation()... pMonitorInfo is NULL!")},
                     {}},
        CallSequence{"primary",
                     plugInBoth,
                     [] { return std::to_string(CapMgr_GetPrimaryMonitorIndex()); },
                     "0",
                     {},
                     {}},
        CallSequence{"noPrimary",
                     withoutDisplays,
                     [] { return std::to_string(CapMgr_GetPrimaryMonitorIndex()); },
                     "0",
                     {kNoIndex},
                     {}},
        CallSequence{"secondary",
                     plugInBoth,
                     [] { return std::to_string(CapMgr_GetSecondaryMonitorIndex()); },
                     "1",
                     {},
                     {}},
        CallSequence{"noSecondary",
                     CallSequences::makeManager,
                     [] { return std::to_string(CapMgr_GetSecondaryMonitorIndex()); },
                     "0",
                     {kNoIndex},
                     {}}),
    nameOf);

}  // namespace
