// ScreenInfo where there is no AppKit: the same answers from the displays themselves.
#include "ScreenInfo.h"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <vector>

#include "PlatformRef.h"

namespace {

constexpr CGDirectDisplayID kNoDisplay = 0;

// None where there is no memory for them.
std::vector<CGDirectDisplayID> activeDisplays() try {
    uint32_t count = 0;
    if (CGGetActiveDisplayList(0, nullptr, &count) != kCGErrorSuccess) {
        return {};
    }
    std::vector<CGDirectDisplayID> displays(count);
    if (CGGetActiveDisplayList(count, displays.data(), &count) != kCGErrorSuccess) {
        return {};
    }
    displays.resize(std::min<size_t>(count, displays.size()));
    return displays;
} catch (...) {
    return {};
}

CGDirectDisplayID mainDisplay(const std::vector<CGDirectDisplayID>& displays) {
    const auto found = std::find_if(displays.begin(), displays.end(),
                                    [](CGDirectDisplayID id) { return CGDisplayIsMain(id) != 0; });
    return found == displays.end() ? kNoDisplay : *found;
}

// From an origin at the upper left with y down to one at the main display's lower left with y up.
// While the displays change hands there may be none that is main: then the display's own lower
// left.
CGRect screenFrame(CGDirectDisplayID display, CGDirectDisplayID main) {
    const CGRect bounds = CGDisplayBounds(display);
    const CGRect mainBounds =
        main == kNoDisplay || main == display ? bounds : CGDisplayBounds(main);
    const CGFloat mainBottom = mainBounds.origin.y + mainBounds.size.height;
    return CGRectMake(bounds.origin.x - mainBounds.origin.x,
                      mainBottom - (bounds.origin.y + bounds.size.height), bounds.size.width,
                      bounds.size.height);
}

// Pixels per point; a display without a mode shows its pixels as they are.
double backingScale(CGDirectDisplayID display) {
    const DisplayModeRef mode(CGDisplayCopyDisplayMode(display));
    if (mode == nullptr || CGDisplayModeGetWidth(mode.get()) == 0) {
        return 1.0;
    }
    return static_cast<double>(CGDisplayModeGetPixelWidth(mode.get())) /
           static_cast<double>(CGDisplayModeGetWidth(mode.get()));
}

}  // namespace

void ScreenInfo(uint32_t displayID, double* scaleFactor, CGRect* frame) {
    if (scaleFactor == nullptr && frame == nullptr) {
        return;
    }
    const std::vector<CGDirectDisplayID> displays = activeDisplays();
    const CGDirectDisplayID main = mainDisplay(displays);
    const bool known = displayID != kNoDisplay &&
                       std::find(displays.begin(), displays.end(), displayID) != displays.end();
    const CGDirectDisplayID display = known ? displayID : main;
    if (frame != nullptr) {
        *frame = display == kNoDisplay ? CGRect{} : screenFrame(display, main);
    }
    if (scaleFactor != nullptr) {
        *scaleFactor = display == kNoDisplay ? 0.0 : backingScale(display);
    }
}
