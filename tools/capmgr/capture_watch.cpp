#include "capture_watch.h"

#include <fmt/format.h>

#include <algorithm>

#include "failure.h"
#include "monitors.h"
#include "window_list.h"

namespace {

constexpr std::chrono::milliseconds kMonitorPeriod{750};

// Some window managers take a window off the screen for a moment.
constexpr std::chrono::milliseconds kLongestAbsence{500};

}  // namespace

MonitorWatch::MonitorWatch(const CAP_MONITOR_INFO& monitor)
    : monitor_(monitor), due_(Clock::now() + kMonitorPeriod) {}

void MonitorWatch::check(Clock::time_point now) {
    if (now < due_) {
        return;
    }
    due_ = now + kMonitorPeriod;
    const std::vector<CAP_MONITOR_INFO> monitors = presentMonitors();
    if (monitors.empty()) {
        return;  // for a moment only; or there will be no more frames, which the reader tells
    }
    if (monitor_.dwIndex >= monitors.size()) {
        throw Failure(fmt::format("monitor {} went away while it was captured", monitor_.dwIndex));
    }
    if (!hasSameArea(monitors[monitor_.dwIndex], monitor_)) {
        throw Failure(
            fmt::format("monitor {} changed its size or place while it was captured; start again",
                        monitor_.dwIndex));
    }
}

bool WindowWatch::isClosed(bool hasNoImage, Clock::time_point now) {
    if (!window_ || !hasNoImage || isOnScreen()) {
        goneSince_.reset();
        return false;
    }
    goneSince_ = goneSince_.value_or(now);
    return now - *goneSince_ >= kLongestAbsence;
}

bool WindowWatch::isOnScreen() const {
    return std::ranges::any_of(listWindows(),
                               [this](const Window& window) { return window.number == *window_; });
}
