// One capture from its index to its end, message for message.
#include <gtest/gtest.h>

#include "contract_test.h"

namespace {

using Messages = std::vector<Message>;

class TraceOfAWholeCapture : public ContractTest {
  protected:
    // What a host does, in step with the capture thread so that the order within each is fixed.
    static void run() {
        const unsigned int index = CapMgr_GenerateCaptureIndex();
        CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 7,
                            PARALLEL_CAPTURE_MODE);
        driven_time::awaitSleep();
        runRounds(2);
        CapMgr_PauseCapture(index);
        runRounds(1);
        CapMgr_ResumeCapture(index);
        CapMgr_SetCaptureFrameSize(index, {80, 45});
        CapMgr_StopCapture(index, 1);
    }
};

const Messages& hostMessages() {
    static const Messages messages = {
        step("CPCR", "begin to create capture", "[NULL]"),
        step("CPMO", "begin to update monitor information", "[NULL]"),
        information("CMonitorManager::UpdateMonitors... Begin"),
        information("CMonitor::CMonitor()... index=0, displayID=722, "
                    "Monitor=[-161:-45,161,91], Pixel=[161,91]"),
        information("CMonitorManager::UpdateMonitors DisplayID: 722"),
        information(" CMonitor::GetMonitorRect rect.left = -161, rect.top = -45, "
                    "rect.right = 0, rect.bottom = 46"),
        step("CPMO", "information of the monitor",
             "[Index:0, L:-161, R:0, T:-45, B:46, Primary:true, Name:Panel 722]"),
        step("CPMO", "update monitor information end", "[NULL]"),
        information("CMonitorManager::UpdateMonitors... End"),
        information("CAPTURE_MANAGER_API GenerateCaptureIndex... capture index: 0"),
        step("CPCR", "create capture end", "[CapIndex:0]"),

        information("CAPTURE_MANAGER_API StartCapture... capture index: 0, monitor index: 0, "
                    "capture type: 4, share type: 0, CustomVersion: 7"),
        step("CPST", "begin to start capture",
             "[CapIndex:0, MonitorIndex:0, CapType:4, ShareType:0, CustomVer:7]"),
        information("CMonitorManager::AddCaptureInstance dwCaptureIndex:0, dwMonitorIndex:0, "
                    "nCaptureType:4, nShareType:0dwCustomVersion:7, eCapMode:1"),
        information("CMonitorManager::GetMonitor..m_vec_monitor.size() = 1"),
        information(" CMonitor::GetMonitorRect rect.left = -161, rect.top = -45, "
                    "rect.right = 0, rect.bottom = 46"),
        information(" CMonitor::GetMonitorRect rect.left = -161, rect.top = -45, "
                    "rect.right = 0, rect.bottom = 46"),
        information("CCaptureBase::SetCaptureMode begin. cap mode:1"),
        information("CCaptureBase::SetCaptureMode end."),
        information("CCaptureBase::StartCapture()... Begin! capType:4"),
        information("CCaptureBase::StartCapture()... End!"),
        step("CPST", "start capture end", "[Ret:0, CapType:4, FrameRate:0]"),

        information("CAPTURE_MANAGER_API PauseCapture... capture index: 0"),
        information("CCaptureBase::PauseCapture... Pause!"),
        information("CAPTURE_MANAGER_API ResumeCapture... capture index: 0"),
        information("CCaptureBase::PauseCapture... Resume!"),

        information("SetCaptureFrameSize... cap index: 0, w: 80, h: 45"),
        information("CCaptureBase::SetFrameSize... Begin!"),
        information("CCaptureBase::SetFrameSize...End! w: 80,h:45"),

        information("CAPTURE_MANAGER_API StopCapture...  capture index: 0"),
        step("CPSP", "begin to stop capture", "[CapIndex:0, FlushWnd:1, pCapture:<pointer>]"),
        information("CCaptureBase::StopCapture... Begin!"),
        information("CCaptureMac::UnInit()... Begin"),
        information("CCaptureMac::UnInit()... End!"),
        information("CCaptureBase::StopCapture... End!!"),
        information("CCaptureMac::~CCaptureMac()... Begin"),
        information("CCaptureMac::~CCaptureMac()... End"),
        step("CPSP", "stop capture end", "[Ret:true]"),
    };
    return messages;
}

void appendFrame(Messages& messages) {
    messages.insert(messages.end(),
                    {detail("CCaptureMac::DoCapture()... Begin!"),
                     eachFrame("CCaptureMac::DoCapture DisplayID: 722 excludeWndEmpty: true"),
                     eachFrame("CCaptureMac::DoCapture imageRef: <pointer>"),
                     eachFrame("CCaptureMac::DoCapture ready to lock."),
                     eachFrame("CCaptureMac::DoCapture()... End!")});
}

Messages captureThreadMessages() {
    Messages messages = {
        information("CCaptureBase::CaptureThread()... Begin!"),
        information("CCaptureBase::Capture()... Begin"),
        information("CCaptureMac::Init()... Begin"),
        bufferMessage(2, "CCaptureBase::AllocBuffer..dwSize = 58604, m_nbufSize = 0"),
        information("CCaptureBase::AllocBuffer [Mem] m_lpBuffer dwSize = 58604, "
                    "m_lpBuffer =<pointer>"),
        information("CCaptureMac::Init()... End  bufsize:58604 width161 height91 bitcount32 "
                    "bytesperrow656 bitspercomponent8"),
        information("m_bStop = false"),
    };
    appendFrame(messages);
    messages.push_back(information("CCaptureBase::Capture... capture success  ID:0"));
    appendFrame(messages);
    appendFrame(messages);
    messages.insert(messages.end(),
                    {information("CCaptureMac::UnInit()... Begin"),
                     information("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>"),
                     information("CCaptureMac::UnInit()... End!"),
                     information("CCaptureBase::Capture()... End"),
                     information("CCaptureBase::CaptureThread()... End!")});
    return messages;
}

TEST_F(TraceOfAWholeCapture, trace_of_a_whole_capture) {
    run();
    EXPECT_TRUE(trace_recorder::await("[KXSC] CCaptureBase::CaptureThread()... End!"));
    EXPECT_EQ(trace_recorder::messagesOfThisThread(), hostMessages());
    EXPECT_EQ(trace_recorder::messagesOfOtherThreads(), captureThreadMessages());
}

TEST_F(TraceOfAWholeCapture, levelsAboveTheWantedOneAreLeftOut) {
    trace_recorder::setLevel(1);
    run();
    EXPECT_EQ(trace_recorder::messages(), Messages());
}

}  // namespace
