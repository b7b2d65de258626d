#include <CoreGraphics/CGDirectDisplay.h>
#include <CoreGraphics/CGWindow.h>

#include <cmath>
#include <optional>

#include "coregraphics/display_server.h"
#include "coregraphics/image.h"

using qor::coregraphics::PixelRect;

namespace {

// The coordinates and sizes that a display server's protocol can carry.
constexpr double kLargestSize = 32767;
constexpr double kFarthestOrigin = 1 << 30;

/* One dimension rounded outwards to whole pixels; null if it is empty or absurd. */
struct Span {
    std::int32_t start;
    std::uint32_t length;
};
std::optional<Span> wholePixels(double start, double length) {
    // Written so that a NaN fails each comparison.
    if (!(std::abs(start) <= kFarthestOrigin && length > 0 && length <= kLargestSize))
        return std::nullopt;
    const double first = std::floor(start);
    const double count = std::ceil(start + length) - first;
    if (!(count > 0 && count <= kLargestSize))
        return std::nullopt;
    return Span{static_cast<std::int32_t>(first), static_cast<std::uint32_t>(count)};
}

std::optional<PixelRect> wholePixels(const CGRect& rect) {
    const auto columns = wholePixels(rect.origin.x, rect.size.width);
    const auto rows = wholePixels(rect.origin.y, rect.size.height);
    if (!columns || !rows)
        return std::nullopt;
    return PixelRect{columns->start, rows->start, columns->length, rows->length};
}

}  // namespace

CGImageRef CGDisplayCreateImage(CGDirectDisplayID display) {
    const auto found = qor::coregraphics::findDisplay(display);
    return found ? qor::coregraphics::createDesktopImage(found->bounds) : nullptr;
}

CGImageRef CGWindowListCreateImage(CGRect screenBounds, CGWindowListOption listOption,
                                   CGWindowID windowID, CGWindowImageOption imageOption) {
    const bool everythingOnScreen =
        listOption == kCGWindowListOptionOnScreenOnly && windowID == kCGNullWindowID;
    if (!everythingOnScreen || imageOption != kCGWindowImageDefault)
        return nullptr;  // for the reason in window_list.cpp
    const auto area = wholePixels(screenBounds);
    return area ? qor::coregraphics::createDesktopImage(*area) : nullptr;
}
