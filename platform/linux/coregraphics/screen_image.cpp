#include <CoreGraphics/CGDirectDisplay.h>
#include <CoreGraphics/CGWindow.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "coregraphics/display_server.h"
#include "coregraphics/image.h"

using qor::coregraphics::DisplayServer;
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

/* Window numbers are plain values; one too large for a number is no window's. */
std::vector<std::uint32_t> numbersIn(CFArrayRef windows) {
    std::vector<std::uint32_t> numbers;
    for (CFIndex i = 0; i < CFArrayGetCount(windows); ++i) {
        const auto value = reinterpret_cast<std::uintptr_t>(CFArrayGetValueAtIndex(windows, i));
        if (value <= std::numeric_limits<std::uint32_t>::max())
            numbers.push_back(static_cast<std::uint32_t>(value));
    }
    return numbers;
}

/* What the server gives; null if it gives nothing. */
template <typename Grab>
CGImageRef createImageOf(Grab grab) {
    return qor::coregraphics::askServer(
        CGImageRef(), [&grab](DisplayServer& server) { return grab(server).release(); });
}

CGImageRef createDesktopImage(const PixelRect& area) {
    return createImageOf([&area](DisplayServer& server) { return server.grab(area); });
}

}  // namespace

CGImageRef CGDisplayCreateImage(CGDirectDisplayID display) {
    const auto found = qor::coregraphics::findDisplay(display);
    return found && !found->bounds.empty() ? createDesktopImage(found->bounds) : nullptr;
}

CGImageRef CGWindowListCreateImage(CGRect screenBounds, CGWindowListOption listOption,
                                   CGWindowID windowID, CGWindowImageOption imageOption) {
    const auto area = wholePixels(screenBounds);
    if (!area || imageOption != kCGWindowImageDefault)
        return nullptr;
    if (listOption == kCGWindowListOptionOnScreenOnly && windowID == kCGNullWindowID)
        return createDesktopImage(*area);
    if (listOption == kCGWindowListOptionIncludingWindow && windowID != kCGNullWindowID)
        return createImageOf(
            [&](DisplayServer& server) { return server.grabWindow(*area, windowID); });
    return nullptr;
}

CGImageRef CGWindowListCreateImageFromArray(CGRect screenBounds, CFArrayRef windowArray,
                                            CGWindowImageOption imageOption) {
    const auto area = wholePixels(screenBounds);
    if (!area || windowArray == nullptr || imageOption != kCGWindowImageDefault)
        return nullptr;
    return createImageOf(
        [&](DisplayServer& server) { return server.grabWindows(*area, numbersIn(windowArray)); });
}
