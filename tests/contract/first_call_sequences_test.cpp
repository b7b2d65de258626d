// Each exported function as the first one called: the manager is made where the call reaches it,
// and no capture index is known.
#include <gtest/gtest.h>

#include "call_sequence.h"

namespace {

constexpr unsigned int kUnknown = 4294967295U;

CallSequence firstCall(const std::string& name, std::function<std::string()> act,
                       const std::string& result, const Messages& before, const Messages& after,
                       const PlatformCalls& callsAfter = {}) {
    return {name,
            CallSequences::nothing,
            std::move(act),
            result,
            joined(before, enumerationMessages(), after),
            joined(enumerationCalls(), callsAfter)};
}

CallSequence firstOfUnknownRecord(const std::string& name, std::function<std::string()> act,
                                  const std::string& result, const Messages& before,
                                  const std::string& complaint) {
    return firstCall(name, std::move(act), result, before,
                     {unknownRecord(), error(complaint + "... param dwCaptureIndex invalid!")});
}

// A setter or getter that is named in full in its messages.
CallSequence firstOfFullName(const std::string& function, std::function<std::string()> act,
                             const std::string& result, const std::string& values = "") {
    return firstOfUnknownRecord(
        function, std::move(act), result,
        {information("CAPTURE_MANAGER_API " + function + "... capture index: 4294967295" + values)},
        function);
}

CallSequence firstOfUnknownInstance(const std::string& name, std::function<std::string()> act,
                                    const std::string& result, const Messages& before,
                                    const Messages& after = {}) {
    return firstCall(name, std::move(act), result, before,
                     joined(Messages{unknownInstance()}, after));
}

Message entry(const std::string& text) {
    return information("CAPTURE_MANAGER_API " + text);
}

INSTANTIATE_TEST_SUITE_P(
    FirstMonitorCall, CallSequences,
    testing::Values(
        firstCall("count", [] { return std::to_string(CapMgr_GetMonitorCount()); }, "1",
                  {entry("GetMonitorCount...")}, {}),
        firstCall("describe",
                  [] {
                      CAP_MONITOR_INFO description{};
                      return text(CapMgr_GetMonitorInfo(1, &description));
                  },
                  "false", {entry("GetMonitorInformation...")},
                  {monitorCountMessage(1), error("GetMonitorInformation()... Invalid dwIndex!")}),
        firstCall("primary", [] { return std::to_string(CapMgr_GetPrimaryMonitorIndex()); }, "0",
                  {}, {}),
        firstCall("secondary", [] { return std::to_string(CapMgr_GetSecondaryMonitorIndex()); },
                  "0", {},
                  {error("CapMgr_GetPrimaryMonitorIndex().. fail, return default value 0!")}),
        firstCall("generate", quietly([] { CapMgr_GenerateMonitor(4, 3, 32); }), "",
                  {entry("GenerateMonitor... width: 4, height: 3, bitcount: 32")},
                  {information("CMonitorManager::CreateMonitor,nWidth = 4,nHeight =3,"
                               "nBitCount = 32, nIndex = 0"),
                   information("CMonitor::CMonitor m_dwIndex = 0, m_rcMonitor.right = 4, "
                               "m_rcMonitor.bottom = 3, m_nBitCount = 32")}),
        firstCall("destroy", quietly(&CapMgr_DestroyMonitor), "", {entry("DestroyMonitor...")},
                  {information("CMonitorManager::DestroyMonitor")}),
        firstCall("update", quietly(&CapMgr_UpdateMonitor), "", {entry("UpdateMonitor...")},
                  enumerationMessages(), enumerationCalls()),
        firstCall("change", quietly(&CapMgr_OnMonitorInfoChange), "",
                  {entry("OnMonitorInfoChange... ")}, enumerationMessages(), enumerationCalls()),
        firstCall("index", [] { return std::to_string(CapMgr_GenerateCaptureIndex()); }, "0",
                  {step("CPCR", "begin to create capture", "[NULL]")},
                  {entry("GenerateCaptureIndex... capture index: 0"),
                   step("CPCR", "create capture end", "[CapIndex:0]")})),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    FirstControlCall, CallSequences,
    testing::Values(
        firstOfUnknownRecord(
            "start",
            [] {
                return std::to_string(CapMgr_StartCapture(kUnknown, 0, CAP_METHOD_COREGRAPHICS,
                                                          CAP_TYPE_DESKTOP, 0,
                                                          PARALLEL_CAPTURE_MODE));
            },
            "1",
            {entry("StartCapture... capture index: 4294967295, monitor index: 0, "
                   "capture type: 4, share type: 0, CustomVersion: 0"),
             step("CPST", "begin to start capture",
                  "[CapIndex:4294967295, MonitorIndex:0, CapType:4, ShareType:0, CustomVer:0]")},
            "StartCapture"),
        firstOfUnknownInstance("stop", [] { return text(CapMgr_StopCapture(kUnknown, 1)); },
                               "false", {entry("StopCapture...  capture index: 4294967295")},
                               {step("CPSP", "begin to stop capture",
                                     "[CapIndex:4294967295, FlushWnd:1, pCapture:<pointer>]"),
                                step("CPSP", "stop capture end", "[Ret:false]")}),
        firstOfUnknownInstance("pause", [] { return text(CapMgr_PauseCapture(kUnknown)); }, "false",
                               {entry("PauseCapture... capture index: 4294967295")}),
        firstOfUnknownInstance("resume", [] { return text(CapMgr_ResumeCapture(kUnknown)); },
                               "false", {entry("ResumeCapture... capture index: 4294967295")}),
        firstOfUnknownInstance("serial", [] { return text(CapMgr_IsSerialCapMode(kUnknown)); },
                               "false", {}),
        firstOfUnknownRecord(
            "frameSize",
            [] {
                return text(CapMgr_SetCaptureFrameSize(kUnknown, {0, 9}));
            },
            "false", {information("SetCaptureFrameSize... cap index: 4294967295, w: 0, h: 9")},
            "SetCaptureFrameSize")),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    FirstFrameCall, CallSequences,
    testing::Values(
        firstOfUnknownInstance("capture", [] { return text(CapMgr_CaptureScreenBuffer(kUnknown)); },
                               "no frame", {}, {framePath(0, " pCapture == NULL")}),
        firstOfUnknownInstance("lock", [] { return text(CapMgr_LockScreenBuffer(kUnknown)); },
                               "no frame", {}),
        firstOfUnknownInstance("unlock",
                               [] { return std::to_string(CapMgr_UnlockScreenBuffer(kUnknown)); },
                               "0", {}),
        firstOfUnknownInstance(
            "update", quietly([] { CapMgr_UpdateScreenBuffer(kUnknown, nullptr, 0); }), "",
            {eachFrame("CAPTURE_MANAGER_API UpdateScreenBuffer... capture index: 4294967295, "
                       "bmp length:0")},
            {error("CAPTURE_MANAGER_API UpdateScreenBuffer... pCapture == NULL")}),
        firstOfUnknownInstance(
            "colour", quietly([] { CapMgr_SetAppShareBgColor(kUnknown, 1, 2, 3); }), "",
            {information("SetAppShareBgColor... dwIndex = 4294967295 rgnType = 1 brushType = 2 "
                         "clrref = 3")},
            {information("SetAppShareBgColor... pCapture == NULL")})),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    FirstSettingCall, CallSequences,
    testing::Values(
        firstOfFullName(
            "CapMgr_SetMaxFrameRate", [] { return text(CapMgr_SetMaxFrameRate(kUnknown, 0)); },
            "false", ", framerate: 0"),
        firstOfFullName(
            "CapMgr_UpdateFrameRate", [] { return text(CapMgr_UpdateFrameRate(kUnknown, 0)); },
            "false", ", framerate: 0"),
        firstOfFullName(
            "CapMgr_GetMaxFrameRate",
            [] { return std::to_string(CapMgr_GetMaxFrameRate(kUnknown)); }, "0"),
        firstOfFullName(
            "CapMgr_GetCurFrameRate",
            [] { return std::to_string(CapMgr_GetCurFrameRate(kUnknown)); }, "0"),
        firstOfFullName(
            "CapMgr_GetCapFailResult",
            [] { return std::to_string(CapMgr_GetCapFailResult(kUnknown)); }, "0"),
        firstOfUnknownRecord(
            "exclude", quietly([] { CapMgr_SetExcludeWnd(kUnknown, window(7), CAP_EXC_WND_ADD); }),
            "",
            {entry("SetExcludeWnd...capture index: 4294967295, window ID: true, action type: 1")},
            "SetExcludeWnd"),
        firstOfUnknownRecord("share",
                             quietly([] { CapMgr_SetSharedAppWnd(kUnknown, 52, CAP_APP_WND_SET); }),
                             "",
                             {step("CPSW", "begin to set share windows",
                                   "[Index:4294967295, Action:1, nAppWndID:52]")},
                             "SetSharedAppWnd")),
    nameOf);

}  // namespace
