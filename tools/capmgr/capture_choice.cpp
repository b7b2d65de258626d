#include "capture_choice.h"

#include <fmt/format.h>

#include <algorithm>

#include "failure.h"
#include "monitors.h"
#include "window_list.h"
#include "window_pick.h"

namespace {

CAP_MONITOR_INFO findMonitor(std::optional<unsigned int> wanted) {
    const std::vector<CAP_MONITOR_INFO> monitors = listMonitors();
    const unsigned int index = wanted.value_or(CapMgr_GetPrimaryMonitorIndex());
    if (index >= monitors.size()) {
        const std::string present =
            monitors.size() == 1 ? "there is only monitor 0"
                                 : fmt::format("there are monitors 0 to {}", monitors.size() - 1);
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
void refuseEmptySize(const CaptureOptions& options) {
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

CAP_SIZE frameSize(const CaptureOptions& options, const CAP_MONITOR_INFO& monitor) {
    const CAP_SIZE most = monitorSize(monitor);
    const CAP_SIZE size = options.size.value_or(most);
    if (size.dwWidth > most.dwWidth || size.dwHeight > most.dwHeight) {
        throw Failure(sizeComplaint(size, sizeText(most)));
    }
    return size;
}

void checkWindows(const CaptureOptions& options, Console& errors) {
    if (!options.window && options.excluded.empty()) {
        return;
    }
    const std::vector<Window> windows = listWindows();
    const auto isOnScreen = [&windows](std::uint32_t number) {
        return std::any_of(windows.begin(), windows.end(),
                           [number](const Window& window) { return window.number == number; });
    };
    if (options.window && !isOnScreen(*options.window)) {
        throw Failure(fmt::format("no window {} on screen; see 'capmgr windows'", *options.window));
    }
    for (const std::uint32_t number : options.excluded) {
        if (!isOnScreen(number)) {
            errors.note(fmt::format("no window {} on screen; nothing to leave out", number));
        }
    }
}

void pickWindows(const CaptureOptions& options, const Environment& environment,
                 CaptureSettings& settings) {
    if (options.isPicked) {
        settings.window = pickWindow("capture", environment);
    }
    for (int click = 0; click < options.excludedByClick; ++click) {
        settings.excluded.push_back(pickWindow("leave out", environment));
    }
}

}  // namespace

CaptureChoice chooseCapture(const CaptureOptions& options, const Environment& environment) {
    refuseEmptySize(options);
    const CAP_MONITOR_INFO monitor = findMonitor(options.monitor);
    const CAP_SIZE size = frameSize(options, monitor);
    checkWindows(options, environment.errors);
    CaptureSettings settings{monitor.dwIndex, size, options.framesPerSecond, options.excluded,
                             options.window};
    pickWindows(options, environment, settings);
    return {monitor, settings};
}
