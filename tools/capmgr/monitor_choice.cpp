#include "monitor_choice.h"

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

CAP_MONITOR_INFO findMonitor(std::optional<unsigned int> wanted) {
    const std::vector<CAP_MONITOR_INFO> monitors = listMonitors();
    const unsigned int index = wanted.value_or(CapMgr_GetPrimaryMonitorIndex());
    if (index >= monitors.size()) {
        const std::string present =
            monitors.size() == 1
                ? "there is 1 (0)"
                : fmt::format("there are {} (0 to {})", monitors.size(), monitors.size() - 1);
        throw Failure(fmt::format("no monitor {}: {}; see 'capmgr monitors'", index, present));
    }
    return monitors[index];
}

std::string sizeComplaint(CAP_SIZE size, const std::string& most) {
    return fmt::format("--size {}: both sides must be at least 1 and at most {}", sizeText(size),
                       most);
}

// Nonsense on any machine, so it does not matter whether the monitor can be found; but where it
// can, its size makes the better message.
void refuseEmptySize(const Options& options) {
    if (!options.size || (options.size->dwWidth != 0 && options.size->dwHeight != 0)) {
        return;
    }
    std::string most = "the monitor's own size";
    CAP_MONITOR_INFO monitor{};
    if (CapMgr_GetMonitorInfo(options.monitor.value_or(CapMgr_GetPrimaryMonitorIndex()),
                              &monitor)) {
        most = sizeText(monitorSize(monitor));
    }
    throw Failure(sizeComplaint(*options.size, most), ExitStatus::BadUsage);
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

MonitorChoice chooseMonitor(const Options& options) {
    refuseEmptySize(options);
    const CAP_MONITOR_INFO monitor = findMonitor(options.monitor);
    const CAP_SIZE most = monitorSize(monitor);
    const CAP_SIZE size = options.size.value_or(most);
    if (size.dwWidth > most.dwWidth || size.dwHeight > most.dwHeight) {
        throw Failure(sizeComplaint(size, sizeText(most)));
    }
    return {monitor, size};
}

CAP_SIZE monitorSize(const CAP_MONITOR_INFO& monitor) {
    const tagCaptureRect& area = monitor.rcMonitor;
    return {static_cast<std::uint32_t>(area.right - area.left),
            static_cast<std::uint32_t>(area.bottom - area.top)};
}

std::string sizeText(CAP_SIZE size) {
    return fmt::format("{}x{}", size.dwWidth, size.dwHeight);
}

std::string monitorName(const CAP_MONITOR_INFO& monitor) {
    return monitor.cstrName[0] == '\0' ? "(unnamed)" : monitor.cstrName;
}
