#include "capture.h"

#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>

#include "fault.h"

namespace {

std::mutex& interfaceMutex() {
    static std::mutex mutex;
    return mutex;
}

const void* windowHandle(unsigned int number) {
    return reinterpret_cast<const void*>(std::uintptr_t{number});
}

}  // namespace

bool operator==(const CaptureSettings& one, const CaptureSettings& other) {
    return one.monitor == other.monitor && one.size.dwWidth == other.size.dwWidth &&
           one.size.dwHeight == other.size.dwHeight &&
           one.framesPerSecond == other.framesPerSecond && one.window == other.window &&
           one.excluded == other.excluded;
}

std::vector<CAP_MONITOR_INFO> enumerateMonitors() {
    const std::lock_guard lock(interfaceMutex());
    CapMgr_UpdateMonitor();
    std::vector<CAP_MONITOR_INFO> monitors(CapMgr_GetMonitorCount());
    for (unsigned int index = 0; index < monitors.size(); ++index) {
        CapMgr_GetMonitorInfo(index, &monitors[index]);
    }
    return monitors;
}

CAP_SIZE sizeOf(const CAP_MONITOR_INFO& monitor) {
    const tagCaptureRect& area = monitor.rcMonitor;
    return {static_cast<std::uint32_t>(area.right - area.left),
            static_cast<std::uint32_t>(area.bottom - area.top)};
}

std::vector<CGRect> monitorFrames() {
    const std::lock_guard lock(interfaceMutex());
    std::vector<CGRect> frames(CapMgr_GetMonitorCount());
    for (unsigned int index = 0; index < frames.size(); ++index) {
        CapMgr_MonitorScreenInfo(index, nullptr, &frames[index]);
    }
    return frames;
}

unsigned int newCaptureIndex() {
    const std::lock_guard lock(interfaceMutex());
    return CapMgr_GenerateCaptureIndex();
}

Capture::Capture(unsigned int index, const CaptureSettings& settings)
    : index_(index), settings_(settings) {
    const std::lock_guard lock(interfaceMutex());
    CapMgr_SetMaxFrameRate(index, settings.framesPerSecond);
    CapMgr_SetCaptureFrameSize(index, settings.size);
    CapMgr_SetExcludeWnd(index, nullptr, CAP_EXC_WND_CLEAR);  // what the last capture left out
    for (const unsigned int window : settings.excluded) {
        CapMgr_SetExcludeWnd(index, windowHandle(window), CAP_EXC_WND_ADD);
    }
    const CAP_TYPE type = settings.window == 0 ? CAP_TYPE_DESKTOP : CAP_TYPE_APP_WINDOW;
    if (CapMgr_StartCapture(index, settings.monitor, CAP_METHOD_DEFAULT, type, 0,
                            PARALLEL_CAPTURE_MODE) != 0) {
        CapMgr_StopCapture(index, 0);
        throw Fault(GST_RESOURCE_ERROR_OPEN_READ, "Monitor " + std::to_string(settings.monitor) +
                                                      " cannot be captured: the capture manager "
                                                      "refuses to start.");
    }
    if (settings.window != 0) {
        CapMgr_SetSharedAppWnd(index, settings.window, CAP_APP_WND_SET);
    }
    // A capture begins at 3 frames a second, and the maximum alone never raises that.
    CapMgr_UpdateFrameRate(index, settings.framesPerSecond);
}

Capture::~Capture() {
    const std::lock_guard lock(interfaceMutex());
    CapMgr_StopCapture(index_, 0);
}

LockedFrame::LockedFrame(const Capture& capture) : index_(capture.index()) {
    const std::lock_guard lock(interfaceMutex());
    data_ = CapMgr_LockScreenBuffer(index_);
}

LockedFrame::~LockedFrame() {
    if (data_.pData == nullptr) {
        return;
    }
    const std::lock_guard lock(interfaceMutex());
    CapMgr_UnlockScreenBuffer(index_);
}

bool LockedFrame::isPicture(CAP_SIZE size) const {
    if (data_.pData == nullptr || data_.dwWidth != size.dwWidth ||
        data_.dwHeight != size.dwHeight) {
        return false;
    }
    // Zeroes throughout: the first byte is one, and each byte equals the next. Ends at the first
    // that is none, which is mostly in the first pixel, as screens are opaque.
    return data_.pData[0] != 0 ||
           std::memcmp(data_.pData, data_.pData + 1, data_.dwDataLen - 1) != 0;
}
