#include "monitors.h"

#include <fmt/format.h>

#include <cstdlib>

#include "failure.h"

namespace {

[[noreturn]] void failWithoutDisplay() {
    const char* const display = std::getenv("DISPLAY");
    const std::string where =
        display == nullptr ? "DISPLAY is not set" : fmt::format("DISPLAY is '{}'", display);
    throw Failure(fmt::format(
        "cannot reach a display server ({}); set DISPLAY to one that is running", where));
}

}  // namespace

std::vector<CAP_MONITOR_INFO> listMonitors() {
    std::vector<CAP_MONITOR_INFO> monitors(CapMgr_GetMonitorCount());
    if (monitors.empty()) {
        failWithoutDisplay();
    }
    for (unsigned int index = 0; index < monitors.size(); ++index) {
        CapMgr_GetMonitorInfo(index, &monitors[index]);
    }
    return monitors;
}

std::vector<CAP_MONITOR_INFO> presentMonitors() {
    CapMgr_UpdateMonitor();
    return CapMgr_GetMonitorCount() == 0 ? std::vector<CAP_MONITOR_INFO>() : listMonitors();
}

CAP_SIZE monitorSize(const CAP_MONITOR_INFO& monitor) {
    const tagCaptureRect& area = monitor.rcMonitor;
    return {static_cast<std::uint32_t>(area.right - area.left),
            static_cast<std::uint32_t>(area.bottom - area.top)};
}

bool hasSameArea(const CAP_MONITOR_INFO& one, const CAP_MONITOR_INFO& other) {
    const tagCaptureRect& a = one.rcMonitor;
    const tagCaptureRect& b = other.rcMonitor;
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

std::string sizeText(CAP_SIZE size) {
    return fmt::format("{}x{}", size.dwWidth, size.dwHeight);
}

std::string monitorName(const CAP_MONITOR_INFO& monitor) {
    return monitor.cstrName[0] == '\0' ? "(unnamed)" : monitor.cstrName;
}
