#include "viewer_monitor.h"

#include <algorithm>
#include <cstring>

#include "monitors.h"

bool isSame(const CAP_MONITOR_INFO& one, const CAP_MONITOR_INFO& other) {
    return std::strcmp(one.cstrName, other.cstrName) == 0 && hasSameArea(one, other);
}

bool isOn(const Window& window, const CAP_MONITOR_INFO& monitor) {
    const tagCaptureRect& area = monitor.rcMonitor;
    return window.left < area.right && window.top < area.bottom &&
           window.left + static_cast<std::int64_t>(window.width) > area.left &&
           window.top + static_cast<std::int64_t>(window.height) > area.top;
}

CAP_SIZE carriedOver(CAP_SIZE size, CAP_SIZE from, CAP_SIZE to) {
    const auto side = [](std::uint64_t value, std::uint64_t before, std::uint64_t now) {
        return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(
            before == 0 ? now : value * now / before, 1, std::max<std::uint64_t>(now, 1)));
    };
    return {side(size.dwWidth, from.dwWidth, to.dwWidth),
            side(size.dwHeight, from.dwHeight, to.dwHeight)};
}
