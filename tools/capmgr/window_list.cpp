#include "window_list.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#include <cmath>
#include <memory>
#include <type_traits>

#include "failure.h"
#include "monitors.h"

namespace {

struct Release {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};
using Array = std::unique_ptr<std::remove_pointer_t<CFArrayRef>, Release>;

// No title is as long; what claims to be is shown without one.
constexpr std::size_t kLongestText = 1U << 20U;

/* The interface tells no length, so the buffer grows until the text fits. */
std::string textOf(CFStringRef string) {
    for (std::string buffer(256, '\0'); string != nullptr && buffer.size() <= kLongestText;
         buffer.resize(2 * buffer.size())) {
        if (CFStringGetCString(string, buffer.data(), static_cast<CFIndex>(buffer.size()),
                               kCFStringEncodingUTF8)) {
            return buffer.substr(0, buffer.find('\0'));
        }
    }
    return {};
}

std::int32_t numberUnder(CFDictionaryRef info, CFStringRef key) {
    const auto number = static_cast<CFNumberRef>(CFDictionaryGetValue(info, key));
    std::int32_t value = 0;
    if (number != nullptr) {
        CFNumberGetValue(number, kCFNumberSInt32Type, &value);
    }
    return value;
}

std::string textUnder(CFDictionaryRef info, CFStringRef key) {
    return textOf(static_cast<CFStringRef>(CFDictionaryGetValue(info, key)));
}

Window windowFrom(CFDictionaryRef info) {
    CGRect bounds = CGRectMake(0, 0, 0, 0);
    CGRectMakeWithDictionaryRepresentation(
        static_cast<CFDictionaryRef>(CFDictionaryGetValue(info, kCGWindowBounds)), &bounds);
    return {static_cast<std::uint32_t>(numberUnder(info, kCGWindowNumber)),
            numberUnder(info, kCGWindowLayer),
            textUnder(info, kCGWindowOwnerName),
            textUnder(info, kCGWindowName),
            static_cast<std::int32_t>(std::lround(bounds.origin.x)),
            static_cast<std::int32_t>(std::lround(bounds.origin.y)),
            static_cast<std::uint32_t>(std::lround(bounds.size.width)),
            static_cast<std::uint32_t>(std::lround(bounds.size.height))};
}

}  // namespace

std::vector<Window> listWindows() {
    const Array infos(CGWindowListCopyWindowInfo(kCGWindowListOptionOnScreenOnly, kCGNullWindowID));
    if (infos == nullptr) {
        listMonitors();  // fails where there is no display server, and says which one is meant
        throw Failure("the display server does not list its windows");
    }
    std::vector<Window> windows;
    for (CFIndex index = 0; index < CFArrayGetCount(infos.get()); ++index) {
        windows.push_back(
            windowFrom(static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(infos.get(), index))));
    }
    return windows;
}

bool isDesktop(const Window& window) {
    constexpr std::int32_t kDesktopIcons = -2147483603;
    return window.layer <= kDesktopIcons;
}
