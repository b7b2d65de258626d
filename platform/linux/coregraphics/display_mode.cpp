#include <CoreGraphics/CGDirectDisplay.h>

#include <string_view>

#include "corefoundation/cf_string.h"
#include "coregraphics/display_server.h"

/* One pixel is one point, as the desktop's coordinates are pixels. */
struct CGDisplayMode final : qor::corefoundation::Object {
    explicit CGDisplayMode(const qor::coregraphics::Display& present) noexcept : display(present) {}

    const qor::coregraphics::Display display;
};

namespace {

std::string_view pixelEncoding(unsigned depth) {
    switch (depth) {
        case 8:
            return "PPPPPPPP";
        case 15:
        case 16:
            return "-RRRRRGGGGGBBBBB";
        case 24:
        case 32:
            return "--------RRRRRRRRGGGGGGGGBBBBBBBB";
        case 30:
            return "--RRRRRRRRRRGGGGGGGGGGBBBBBBBBBB";
        default:
            return {};
    }
}

}  // namespace

CGDisplayModeRef CGDisplayCopyDisplayMode(CGDirectDisplayID display) {
    const auto found = qor::coregraphics::findDisplay(display);
    if (!found)
        return nullptr;
    return qor::corefoundation::create<CGDisplayMode>(*found).release();
}

size_t CGDisplayModeGetWidth(CGDisplayModeRef mode) {
    return mode == nullptr ? 0 : mode->display.bounds.width;
}

size_t CGDisplayModeGetHeight(CGDisplayModeRef mode) {
    return mode == nullptr ? 0 : mode->display.bounds.height;
}

size_t CGDisplayModeGetPixelWidth(CGDisplayModeRef mode) {
    return CGDisplayModeGetWidth(mode);
}

size_t CGDisplayModeGetPixelHeight(CGDisplayModeRef mode) {
    return CGDisplayModeGetHeight(mode);
}

double CGDisplayModeGetRefreshRate(CGDisplayModeRef mode) {
    return mode == nullptr ? 0.0 : mode->display.refreshRate;
}

CFStringRef CGDisplayModeCopyPixelEncoding(CGDisplayModeRef mode) {
    const std::string_view encoding = mode == nullptr ? "" : pixelEncoding(mode->display.depth);
    return encoding.empty() ? nullptr : qor::corefoundation::createString(encoding).release();
}

void CGDisplayModeRelease(CGDisplayModeRef mode) {
    if (mode != nullptr)
        CFRelease(mode);
}
