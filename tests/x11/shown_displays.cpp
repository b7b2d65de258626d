#include "shown_displays.h"

#include <IOKit/graphics/IOGraphicsLib.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <ostream>

#include "screen_test.h"

void PrintTo(const Shown& shown, std::ostream* out) {
    *out << shown.id << ": " << shown.width << "x" << shown.height << " at " << shown.x << ","
         << shown.y;
}

std::vector<CGDirectDisplayID> activeDisplays() {
    std::array<CGDirectDisplayID, 32> ids{};
    std::uint32_t count = 0;
    EXPECT_EQ(CGGetActiveDisplayList(ids.size(), ids.data(), &count), kCGErrorSuccess);
    return {ids.begin(), ids.begin() + count};
}

std::vector<Shown> shownDisplays() {
    std::vector<Shown> list;
    for (const CGDirectDisplayID id : activeDisplays()) {
        const CGRect bounds = CGDisplayBounds(id);
        list.push_back(
            {id, bounds.origin.x, bounds.origin.y, bounds.size.width, bounds.size.height});
    }
    return list;
}

double refreshRate(CGDirectDisplayID display) {
    const Mode mode(CGDisplayCopyDisplayMode(display));
    return CGDisplayModeGetRefreshRate(mode.get());
}

std::string productName(CGDirectDisplayID display) {
    const Owned<const __CFDictionary> info(IODisplayCreateInfoDictionary(
        CGDisplayIOServicePort(display), kIODisplayOnlyPreferredName));
    if (info == nullptr)
        return "no description";
    const auto names =
        static_cast<CFDictionaryRef>(CFDictionaryGetValue(info.get(), CFSTR(kDisplayProductName)));
    if (names == nullptr)
        return "no name";
    return text(static_cast<CFStringRef>(CFDictionaryGetValue(names, CFSTR("en_US"))));
}

std::vector<std::uint8_t> edidNamed(const std::string& name) {
    std::vector<std::uint8_t> edid(128, 0);
    std::fill_n(edid.begin() + 1, 6, std::uint8_t{0xff});
    edid[54 + 3] = 0xfc;
    std::ranges::copy(name + "\n", edid.begin() + 54 + 5);
    edid[127] = static_cast<std::uint8_t>(0U - std::accumulate(edid.begin(), edid.end(), 0U));
    return edid;
}
