#include <CoreGraphics/CGDirectDisplay.h>

#include <algorithm>

#include "coregraphics/display_server.h"

using qor::coregraphics::askServer;
using qor::coregraphics::Display;
using qor::coregraphics::DisplayServer;
using qor::coregraphics::findDisplay;

namespace {

using DisplayList = std::optional<std::vector<Display>>;

DisplayList listDisplays() noexcept {
    return askServer(DisplayList(), [](DisplayServer& server) { return server.displays(); });
}

}  // namespace

CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               uint32_t* displayCount) {
    if (displayCount == nullptr)
        return kCGErrorIllegalArgument;
    *displayCount = 0;
    const DisplayList displays = listDisplays();
    if (!displays)
        return kCGErrorCannotComplete;
    const auto total = static_cast<uint32_t>(displays->size());
    *displayCount = activeDisplays == nullptr ? total : std::min(total, maxDisplays);
    for (uint32_t i = 0; activeDisplays != nullptr && i < *displayCount; ++i)
        activeDisplays[i] = (*displays)[i].id;
    return kCGErrorSuccess;
}

CGDirectDisplayID CGMainDisplayID() {
    const DisplayList displays = listDisplays();
    return displays && !displays->empty() ? displays->front().id : 0;
}

boolean_t CGDisplayIsMain(CGDirectDisplayID display) {
    return display != 0 && CGMainDisplayID() == display ? 1 : 0;
}

CGRect CGDisplayBounds(CGDirectDisplayID display) {
    const auto found = findDisplay(display);
    if (!found)
        return CGRectMake(0, 0, 0, 0);
    return CGRectMake(found->bounds.x, found->bounds.y, found->bounds.width, found->bounds.height);
}

io_service_t CGDisplayIOServicePort(CGDirectDisplayID display) {
    // A display's identifier names it to the display server too, so it is its service's handle.
    return findDisplay(display) ? display : MACH_PORT_NULL;
}
