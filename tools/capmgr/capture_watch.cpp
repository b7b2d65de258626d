#include "capture_watch.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

#include "failure.h"
#include "window_list.h"

namespace {

constexpr std::chrono::milliseconds kMonitorPeriod{500};

// Some window managers take a window off the screen for a moment.
constexpr std::chrono::milliseconds kLongestAbsence{500};

bool isSameArea(const tagCaptureRect& one, const tagCaptureRect& other) {
    return std::tie(one.left, one.top, one.right, one.bottom) ==
           std::tie(other.left, other.top, other.right, other.bottom);
}

}  // namespace

MonitorWatch::MonitorWatch(const CAP_MONITOR_INFO& monitor)
    : monitor_(monitor), due_(Clock::now() + kMonitorPeriod) {}

void MonitorWatch::check(Clock::time_point now) {
    if (now < due_) {
        return;
    }
    due_ = now + kMonitorPeriod;
    CapMgr_UpdateMonitor();
    CAP_MONITOR_INFO found{};
    if (!CapMgr_GetMonitorInfo(monitor_.dwIndex, &found)) {
        throw Failure(fmt::format("monitor {} went away while it was captured", monitor_.dwIndex));
    }
    if (!isSameArea(found.rcMonitor, monitor_.rcMonitor)) {
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
