#include "call_sequence.h"

#include <cstring>
#include <ostream>
#include <thread>

namespace {

// "mode#3" becomes "mode": which one it is depends on what came before.
std::string withoutNumbers(const std::string& call) {
    std::string plain;
    for (size_t i = 0; i < call.size(); ++i) {
        if (call[i] != '#') {
            plain += call[i];
            continue;
        }
        i = call.find_first_not_of("0123456789", i + 1);
        if (i == std::string::npos) {
            break;
        }
        --i;
    }
    return plain;
}

PlatformCalls callsOfThisThread() {
    PlatformCalls calls;
    for (const scripted::Call& call : scripted::calls()) {
        if (call.thread == std::this_thread::get_id() && call.text.rfind("CFSTR(", 0) != 0) {
            calls.push_back(withoutNumbers(call.text));
        }
    }
    return calls;
}

}  // namespace

void PrintTo(const CallSequence& sequence, std::ostream* out) {
    *out << sequence.name;
}

void CallSequences::makeManager() {
    CapMgr_GetMonitorCount();
}

void CallSequences::generateIndex() {
    CapMgr_GenerateCaptureIndex();
}

void CallSequences::startCapture() {
    startedCapture();
}

CallSequences::Outcome CallSequences::run() {
    GetParam().prepare();
    forgetEverything();
    const std::string result = GetParam().act();
    return {result, trace_recorder::messagesOfThisThread(), callsOfThisThread()};
}

Messages enumerationMessages() {
    return {step("CPMO", "begin to update monitor information", "[NULL]"),
            information("CMonitorManager::UpdateMonitors... Begin"),
            information("CMonitor::CMonitor()... index=0, displayID=722, "
                        "Monitor=[-161:-45,161,91], Pixel=[161,91]"),
            information("CMonitorManager::UpdateMonitors DisplayID: 722"),
            mainRectMessage(),
            step("CPMO", "information of the monitor",
                 "[Index:0, L:-161, R:0, T:-45, B:46, Primary:true, Name:Panel 722]"),
            step("CPMO", "update monitor information end", "[NULL]"),
            information("CMonitorManager::UpdateMonitors... End")};
}

PlatformCalls enumerationCalls() {
    return {"CGGetActiveDisplayList(0, null, out)",
            "CGGetActiveDisplayList(1, out, out)",
            "CGDisplayIOServicePort(722)",
            "IODisplayCreateInfoDictionary(66258, 512) -> dictionary",
            "CFDictionaryGetValue(dictionary, \"DisplayProductName\")",
            "CFArrayCreateMutable(0, \"objects\") -> array",
            "CFDictionaryApplyFunction(dictionary, array)",
            "CFArrayAppendValue(array, string)",
            "CFBundleCopyPreferredLocalizationsFromArray(array) -> array",
            "CFRelease(array)",
            "CFArrayGetCount(array)",
            "CFArrayGetValueAtIndex(array, 0)",
            "CFDictionaryGetValue(dictionary, string)",
            "CFStringGetCString(string, out, 63, 134217984)",
            "CFRelease(array)",
            "CFRelease(dictionary)",
            "CGDisplayBounds(722)",
            "CGDisplayCopyDisplayMode(722) -> mode",
            "CGDisplayModeGetPixelWidth(mode)",
            "CGDisplayModeGetPixelHeight(mode)",
            "CGDisplayModeRelease(mode)",
            "CGDisplayIsMain(722)"};
}

Message mainRectMessage() {
    return information(
        " CMonitor::GetMonitorRect rect.left = -161, rect.top = -45, rect.right = 0, "
        "rect.bottom = 46");
}

Message monitorCountMessage(size_t count) {
    return information("CMonitorManager::GetMonitor..m_vec_monitor.size() = " +
                       std::to_string(count));
}

PlatformCalls modeCalls(const std::string& getter, uint32_t display) {
    return {"CGDisplayCopyDisplayMode(" + std::to_string(display) + ") -> mode", getter + "(mode)",
            "CGDisplayModeRelease(mode)"};
}

Message unknownRecord() {
    return error("CMonitorManager::GetCaptureMgr... Capture Index Invalid!");
}

Message unknownInstance() {
    return error("CMonitorManager::GetCaptureInstance... Capture Index Invalid!");
}

std::string text(const CAP_DESKTOP_DATA& data) {
    const CAP_DESKTOP_DATA zero{};
    if (std::memcmp(&data, &zero, sizeof data) == 0) {
        return "no frame";
    }
    return std::to_string(data.dwWidth) + " x " + std::to_string(data.dwHeight) + ", " +
           std::to_string(data.dwDataLen) + " bytes";
}
