#include <CoreFoundation/CFArray.h>
#include <CoreGraphics/CGWindow.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "coregraphics/display_server.h"

namespace {

using Numbers = std::vector<std::uint32_t>;

std::optional<Numbers> windowsOnScreen() {
    using qor::coregraphics::DisplayServer;
    return qor::coregraphics::askServer(
        std::optional<Numbers>(), [](DisplayServer& server) { return server.windowsOnScreen(); });
}

}  // namespace

CFArrayRef CGWindowListCreate(CGWindowListOption option, CGWindowID relativeToWindow) {
    if (option != kCGWindowListOptionOnScreenOnly || relativeToWindow != kCGNullWindowID)
        return nullptr;
    const auto numbers = windowsOnScreen();
    if (!numbers)
        return nullptr;
    const CFMutableArrayRef windows = CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr);
    if (windows == nullptr)
        return nullptr;
    for (const std::uintptr_t number : *numbers)
        CFArrayAppendValue(windows, reinterpret_cast<const void*>(number));
    // Appending has no way to report that memory was short. A list with a gap would leave a window
    // out that is to be seen.
    if (CFArrayGetCount(windows) != static_cast<CFIndex>(numbers->size())) {
        CFRelease(windows);
        return nullptr;
    }
    return windows;
}
