// The exported capture control functions from end to end.
#include <gtest/gtest.h>

#include <cerrno>

#include "call_sequence.h"
#include "thread_watch.h"

namespace {

std::string started(unsigned int index, unsigned int monitor, int method, int type,
                    unsigned int version, CAP_MODE mode = PARALLEL_CAPTURE_MODE) {
    return std::to_string(CapMgr_StartCapture(index, monitor, static_cast<CAP_METHOD>(method),
                                              static_cast<CAP_TYPE>(type), version, mode));
}

Messages startEntry(const std::string& index, const std::string& monitor, const std::string& method,
                    const std::string& type, const std::string& version) {
    return {information("CAPTURE_MANAGER_API StartCapture... capture index: " + index +
                        ", monitor index: " + monitor + ", capture type: " + method +
                        ", share type: " + type + ", CustomVersion: " + version),
            step("CPST", "begin to start capture",
                 "[CapIndex:" + index + ", MonitorIndex:" + monitor + ", CapType:" + method +
                     ", ShareType:" + type + ", CustomVer:" + version + "]")};
}

Message addition(const std::string& monitor, const std::string& method, const std::string& type,
                 const std::string& version, const std::string& mode = "1") {
    return information("CMonitorManager::AddCaptureInstance dwCaptureIndex:0, dwMonitorIndex:" +
                       monitor + ", nCaptureType:" + method + ", nShareType:" + type +
                       "dwCustomVersion:" + version + ", eCapMode:" + mode);
}

Message startEnd(const std::string& values) {
    return step("CPST", "start capture end", values);
}

Message additionError(const std::string& reason) {
    return error("CMonitorManager::AddCaptureInstance()... " + reason);
}

const Message kAdditionFailed = warning("StartCapture()... AddCaptureInstance failed!");

const Messages kModeSet = {information("CCaptureBase::SetCaptureMode begin. cap mode:1"),
                           information("CCaptureBase::SetCaptureMode end.")};
const Messages kThreadStarted = {information("CCaptureBase::StartCapture()... Begin! capType:4"),
                                 information("CCaptureBase::StartCapture()... End!")};

// From the addition to the capture object, which asks for the rectangle once more.
Messages monitorFound() {
    return {monitorCountMessage(1), mainRectMessage()};
}
Messages objectMade() {
    return joined(Messages{mainRectMessage()}, kModeSet);
}

// Whether the display still has its size, then the object's own look.
PlatformCalls checkedSize() {
    return joined(modeCalls("CGDisplayModeGetWidth"), modeCalls("CGDisplayModeGetHeight"));
}
PlatformCalls additionCalls() {
    return joined(checkedSize(), checkedSize());
}

Messages stopBegin(const std::string& flag) {
    return {information("CAPTURE_MANAGER_API StopCapture...  capture index: 0"),
            step("CPSP", "begin to stop capture",
                 "[CapIndex:0, FlushWnd:" + flag + ", pCapture:<pointer>]")};
}

const Messages kStopped = {information("CCaptureBase::StopCapture... Begin!"),
                           information("CCaptureMac::UnInit()... Begin"),
                           information("CCaptureMac::UnInit()... End!"),
                           information("CCaptureBase::StopCapture... End!!"),
                           information("CCaptureMac::~CCaptureMac()... Begin"),
                           information("CCaptureMac::~CCaptureMac()... End")};

void storeSettings() {
    CallSequences::generateIndex();
    CapMgr_UpdateFrameRate(0, 4294967295U);  // kept unclamped, and refused by the capture
    CapMgr_SetCaptureFrameSize(0, {40, 30});
    CapMgr_SetExcludeWnd(0, window(8), CAP_EXC_WND_ADD);
    CapMgr_SetExcludeWnd(0, window(3), CAP_EXC_WND_ADD);
}

void resizeAndUnplugInTheUpdate() {
    CallSequences::generateIndex();
    scripted::resize(CallSequences::kMain, 100, 50);
    scripted::whenCalled("CGGetActiveDisplayList", [] { scripted::unplug(CallSequences::kMain); });
}

INSTANTIATE_TEST_SUITE_P(
    Start, CallSequences,
    testing::Values(
        CallSequence{"start", CallSequences::generateIndex, [] { return started(0, 0, 4, 0, 7); },
                     "0",
                     joined(startEntry("0", "0", "4", "0", "7"),
                            Messages{addition("0", "4", "0", "7")}, monitorFound(), objectMade(),
                            kThreadStarted, Messages{startEnd("[Ret:0, CapType:4, FrameRate:0]")}),
                     additionCalls()},
        CallSequence{
            "startOfLargeNumbers", CallSequences::generateIndex,
            [] { return started(0, 0, 0, -2, 4294967295U); }, "0",
            joined(startEntry("0", "0", "0", "-2", "4294967295"),
                   Messages{addition("0", "0", "-2", "4294967295")}, monitorFound(), objectMade(),
                   kThreadStarted, Messages{startEnd("[Ret:0, CapType:0, FrameRate:0]")}),
            additionCalls()},
        CallSequence{"startInSerialMode", CallSequences::generateIndex,
                     [] { return started(0, 0, 4, 1, 0, SERIAL_CAPTURE_MODE); }, "0",
                     joined(startEntry("0", "0", "4", "1", "0"),
                            Messages{addition("0", "4", "1", "0", "0")}, monitorFound(),
                            Messages{mainRectMessage(),
                                     information("CCaptureBase::SetCaptureMode begin. cap mode:0"),
                                     information("CCaptureBase::SetCaptureMode, not support "
                                                 "serial, change to parallel."),
                                     information("CCaptureBase::SetCaptureMode end.")},
                            kThreadStarted, Messages{startEnd("[Ret:0, CapType:4, FrameRate:0]")}),
                     additionCalls()},
        CallSequence{"startWithStoredSettings", storeSettings,
                     [] { return started(0, 0, 4, 0, 0); }, "0",
                     joined(startEntry("0", "0", "4", "0", "0"),
                            Messages{addition("0", "4", "0", "0")}, monitorFound(), objectMade(),
                            Messages{information("CCaptureBase::SetMaxFrameRate... Begin!"),
                                     error("CCaptureBase::SetMaxFrameRate... param nFrameRate "
                                           "invalid!"),
                                     information("CCaptureBase::SetFrameSize... Begin!"),
                                     information("CCaptureBase::SetFrameSize...End! w: 40,h:30"),
                                     information("CCaptureBase::SetExcludeWnd... Begin!"),
                                     information("CCaptureBase::SetExcludeWnd... End!"),
                                     information("CCaptureBase::SetExcludeWnd... Begin!"),
                                     information("CCaptureBase::SetExcludeWnd... End!")},
                            kThreadStarted, Messages{startEnd("[Ret:0, CapType:4, FrameRate:-1]")}),
                     additionCalls()}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    FailedStart, CallSequences,
    testing::Values(
        CallSequence{"unknownIndex",
                     CallSequences::generateIndex,
                     [] { return started(4294967295U, 4294967294U, 4, 0, 0); },
                     "1",
                     joined(startEntry("4294967295", "4294967294", "4", "0", "0"),
                            Messages{unknownRecord(),
                                     error("StartCapture... param dwCaptureIndex invalid!")}),
                     {}},
        CallSequence{"unknownMonitor",
                     CallSequences::generateIndex,
                     [] { return started(0, 1, 4, 0, 0); },
                     "1",
                     joined(startEntry("0", "1", "4", "0", "0"),
                            Messages{addition("1", "4", "0", "0"), monitorCountMessage(1),
                                     additionError("Invalid monitor index!"), kAdditionFailed}),
                     {}},
        CallSequence{
            "refusedMethod", CallSequences::generateIndex, [] { return started(0, 0, 5, 0, 0); },
            "1",
            joined(startEntry("0", "0", "5", "0", "0"), Messages{addition("0", "5", "0", "0")},
                   monitorFound(), Messages{additionError("Capture Type Error!"), kAdditionFailed}),
            checkedSize()},
        CallSequence{"monitorGoneInTheUpdate", resizeAndUnplugInTheUpdate,
                     [] { return started(0, 0, 4, 0, 0); }, "1",
                     joined(startEntry("0", "0", "4", "0", "0"),
                            Messages{addition("0", "4", "0", "0")}, monitorFound(),
                            Messages{step("CPMO", "begin to update monitor information", "[NULL]"),
                                     information("CMonitorManager::UpdateMonitors... Begin"),
                                     step("CPMO", "update monitor information end", "[NULL]"),
                                     information("CMonitorManager::UpdateMonitors... End"),
                                     monitorCountMessage(0),
                                     additionError("UpdateMonitors... Invalid monitor index!"),
                                     kAdditionFailed}),
                     joined(modeCalls("CGDisplayModeGetWidth"),
                            PlatformCalls{"CGGetActiveDisplayList(0, null, out)",
                                          "CGGetActiveDisplayList(0, null, out)"})},
        CallSequence{"noThread",
                     [] {
                         CallSequences::generateIndex();
                         thread_watch::failNextCreation(EAGAIN);
                     },
                     [] { return started(0, 0, 4, 0, 0); }, "1",
                     joined(startEntry("0", "0", "4", "0", "0"),
                            Messages{addition("0", "4", "0", "0")}, monitorFound(), objectMade(),
                            Messages{information("CCaptureBase::StartCapture()... Begin! "
                                                 "capType:4"),
                                     error("CCaptureBase::StartCapture()... Begin CaptureThread "
                                           "failed"),
                                     startEnd("[Ret:1, CapType:4, FrameRate:0]")}),
                     additionCalls()}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    SecondStart, CallSequences,
    testing::Values(
        CallSequence{"ofTheSameKind", CallSequences::startCapture,
                     [] { return started(0, 0, 4, 0, 0); }, "0",
                     joined(startEntry("0", "0", "4", "0", "0"),
                            Messages{addition("0", "4", "0", "0")}, monitorFound(),
                            Messages{additionError("Capture is already existed!"),
                                     information("CCaptureBase::StartCapture()... Begin! "
                                                 "capType:4"),
                                     warning("CCaptureBase::StartCapture()... Capture thread is "
                                             "already running!"),
                                     startEnd("[Ret:0, CapType:4, FrameRate:0]")}),
                     checkedSize()},
        CallSequence{
            "ofAnotherKind", CallSequences::startCapture, [] { return started(0, 0, 4, 0, 1); },
            "0",
            joined(startEntry("0", "0", "4", "0", "1"), Messages{addition("0", "4", "0", "1")},
                   monitorFound(), kStopped, objectMade(), kThreadStarted,
                   Messages{startEnd("[Ret:0, CapType:4, FrameRate:0]")}),
            additionCalls()},
        CallSequence{"refusedAfterTheFirst", CallSequences::startCapture,
                     [] { return started(0, 0, 1, 0, 0); }, "1",
                     joined(startEntry("0", "0", "1", "0", "0"),
                            Messages{addition("0", "1", "0", "0")}, monitorFound(), kStopped,
                            Messages{additionError("Capture Type Error!"), kAdditionFailed}),
                     checkedSize()}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Stop, CallSequences,
    testing::Values(CallSequence{"stop",
                                 CallSequences::startCapture,
                                 [] { return text(CapMgr_StopCapture(0, 0)); },
                                 "true",
                                 joined(stopBegin("0"), kStopped,
                                        Messages{step("CPSP", "stop capture end", "[Ret:true]")}),
                                 {}},
                    CallSequence{"stopWithFlag",
                                 CallSequences::startCapture,
                                 [] { return text(CapMgr_StopCapture(0, 1)); },
                                 "true",
                                 joined(stopBegin("1"), kStopped,
                                        Messages{step("CPSP", "stop capture end", "[Ret:true]")}),
                                 {}},
                    CallSequence{"stopNothing",
                                 CallSequences::generateIndex,
                                 [] { return text(CapMgr_StopCapture(0, -1)); },
                                 "false",
                                 joined(stopBegin("-1"),
                                        Messages{step("CPSP", "stop capture end", "[Ret:false]")}),
                                 {}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Pause, CallSequences,
    testing::Values(
        CallSequence{"pause",
                     CallSequences::startCapture,
                     [] { return text(CapMgr_PauseCapture(0)); },
                     "true",
                     {information("CAPTURE_MANAGER_API PauseCapture... capture index: 0"),
                      information("CCaptureBase::PauseCapture... Pause!")},
                     {}},
        CallSequence{"pauseAgain",
                     [] {
                         CallSequences::startCapture();
                         CapMgr_PauseCapture(0);
                     },
                     [] { return text(CapMgr_PauseCapture(0)); },
                     "false",
                     {information("CAPTURE_MANAGER_API PauseCapture... capture index: 0")},
                     {}},
        CallSequence{"resume",
                     [] {
                         CallSequences::startCapture();
                         CapMgr_PauseCapture(0);
                     },
                     [] { return text(CapMgr_ResumeCapture(0)); },
                     "true",
                     {information("CAPTURE_MANAGER_API ResumeCapture... capture index: 0"),
                      information("CCaptureBase::PauseCapture... Resume!")},
                     {}},
        CallSequence{"resumeAgain",
                     CallSequences::startCapture,
                     [] { return text(CapMgr_ResumeCapture(0)); },
                     "false",
                     {information("CAPTURE_MANAGER_API ResumeCapture... capture index: 0")},
                     {}},
        CallSequence{"pauseNothing",
                     CallSequences::generateIndex,
                     [] { return text(CapMgr_PauseCapture(0)); },
                     "false",
                     {information("CAPTURE_MANAGER_API PauseCapture... capture index: 0")},
                     {}},
        CallSequence{"resumeNothing",
                     CallSequences::generateIndex,
                     [] { return text(CapMgr_ResumeCapture(0)); },
                     "false",
                     {information("CAPTURE_MANAGER_API ResumeCapture... capture index: 0")},
                     {}},
        CallSequence{"serialMode",
                     CallSequences::startCapture,
                     [] { return text(CapMgr_IsSerialCapMode(0)); },
                     "false",
                     {},
                     {}},
        CallSequence{"serialModeOfNothing",
                     CallSequences::generateIndex,
                     [] { return text(CapMgr_IsSerialCapMode(0)); },
                     "false",
                     {},
                     {}}),
    nameOf);

}  // namespace
