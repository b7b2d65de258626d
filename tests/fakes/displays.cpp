// Displays, their modes and their names as the script has them.
#include <IOKit/graphics/IOGraphicsLib.h>

#include <algorithm>

#include "script.h"

using scripted::Display;
using scripted::Invocation;
using scripted::Mode;
using scripted::Output;
using scripted::Reference;

namespace {

// A service is told from the display by another number, so that mixing them up is found.
constexpr io_service_t kServiceOffset = 0x10000;

__CFString* newString(const Invocation& call, const std::string& text) {
    return call.objects().add(std::make_unique<__CFString>(text));
}

__CFDictionary* newNames(const Invocation& call, const Display& display) {
    std::vector<__CFDictionary::Pair> names;
    for (const auto& [locale, text] : display.names) {
        __CFString* const key = newString(call, locale);
        names.emplace_back(key, newString(call, text));
    }
    return call.objects().add(std::make_unique<__CFDictionary>(std::move(names)));
}

const Mode* modeOf(const Invocation& call, CGDisplayModeRef mode) {
    if (call.fails() || mode == nullptr) {
        return nullptr;
    }
    const auto* const used = call.use<CGDisplayMode>(mode);
    return used == nullptr ? nullptr : &used->mode;
}

template <typename Part>
Part partOf(const char* function, CGDisplayModeRef mode, Part Mode::*part) {
    const Invocation call(function, Reference{mode});
    const Mode* const used = modeOf(call, mode);
    return used == nullptr ? Part{} : used->*part;
}

}  // namespace

CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               uint32_t* displayCount) {
    const Invocation call("CGGetActiveDisplayList", maxDisplays, Output{activeDisplays},
                          Output{displayCount});
    if (call.fails()) {
        return kCGErrorFailure;
    }
    const std::vector<Display>& displays = call.script().displays();
    // Asked how many there are, none leaves the count as it was: a caller reads what it has set.
    if (displays.empty() && activeDisplays == nullptr) {
        return kCGErrorSuccess;
    }
    *displayCount = static_cast<uint32_t>(displays.size());
    if (activeDisplays == nullptr) {
        return kCGErrorSuccess;
    }
    *displayCount = std::min(*displayCount, maxDisplays);
    for (uint32_t i = 0; i < *displayCount; ++i) {
        activeDisplays[i] = displays[i].id;
    }
    return kCGErrorSuccess;
}

CGDirectDisplayID CGMainDisplayID() {
    const Invocation call("CGMainDisplayID");
    const std::vector<Display>& displays = call.script().displays();
    const auto main = std::find_if(displays.begin(), displays.end(),
                                   [](const Display& display) { return display.main; });
    return call.fails() || main == displays.end() ? 0 : main->id;
}

boolean_t CGDisplayIsMain(CGDirectDisplayID display) {
    const Invocation call("CGDisplayIsMain", display);
    const Display* const found = call.script().display(display);
    // Any non-zero value means yes.
    return call.fails() || found == nullptr || !found->main ? 0 : 2;
}

CGRect CGDisplayBounds(CGDirectDisplayID display) {
    const Invocation call("CGDisplayBounds", display);
    const Display* const found = call.script().display(display);
    return call.fails() || found == nullptr ? CGRect{} : found->bounds;
}

io_service_t CGDisplayIOServicePort(CGDirectDisplayID display) {
    const Invocation call("CGDisplayIOServicePort", display);
    return call.fails() ? MACH_PORT_NULL : display + kServiceOffset;
}

CFDictionaryRef IODisplayCreateInfoDictionary(io_service_t framebuffer, IOOptionBits options) {
    const Invocation call("IODisplayCreateInfoDictionary", framebuffer, options);
    const Display* const display = call.script().display(framebuffer - kServiceOffset);
    if (call.fails() || display == nullptr || !display->hasInformation) {
        return nullptr;
    }
    std::vector<__CFDictionary::Pair> information;
    __CFString* const vendorKey = newString(call, "DisplayVendorID");
    information.emplace_back(vendorKey, newString(call, "1552"));
    if (display->hasProductNames) {
        __CFString* const namesKey = newString(call, kDisplayProductName);
        information.emplace_back(namesKey, newNames(call, *display));
    }
    return call.make(std::make_unique<__CFDictionary>(std::move(information)));
}

CGDisplayModeRef CGDisplayCopyDisplayMode(CGDirectDisplayID display) {
    const Invocation call("CGDisplayCopyDisplayMode", display);
    const Display* const found = call.script().display(display);
    return call.fails() || found == nullptr || !found->mode
               ? nullptr
               : call.make(std::make_unique<CGDisplayMode>(*found->mode));
}

size_t CGDisplayModeGetWidth(CGDisplayModeRef mode) {
    return partOf("CGDisplayModeGetWidth", mode, &Mode::pointWidth);
}

size_t CGDisplayModeGetHeight(CGDisplayModeRef mode) {
    return partOf("CGDisplayModeGetHeight", mode, &Mode::pointHeight);
}

size_t CGDisplayModeGetPixelWidth(CGDisplayModeRef mode) {
    return partOf("CGDisplayModeGetPixelWidth", mode, &Mode::pixelWidth);
}

size_t CGDisplayModeGetPixelHeight(CGDisplayModeRef mode) {
    return partOf("CGDisplayModeGetPixelHeight", mode, &Mode::pixelHeight);
}

double CGDisplayModeGetRefreshRate(CGDisplayModeRef mode) {
    return partOf("CGDisplayModeGetRefreshRate", mode, &Mode::refreshRate);
}

CFStringRef CGDisplayModeCopyPixelEncoding(CGDisplayModeRef mode) {
    const Invocation call("CGDisplayModeCopyPixelEncoding", Reference{mode});
    const Mode* const used = modeOf(call, mode);
    return used == nullptr || !used->pixelEncoding
               ? nullptr
               : call.make(std::make_unique<__CFString>(*used->pixelEncoding));
}

void CGDisplayModeRelease(CGDisplayModeRef mode) {
    const Invocation call("CGDisplayModeRelease", Reference{mode});
    if (mode != nullptr) {
        call.objects().release(mode, call.function());
    }
}
