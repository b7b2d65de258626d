#include <CoreFoundation/CFArray.h>
#include <CoreGraphics/CGWindow.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "corefoundation/cf_dictionary.h"
#include "corefoundation/cf_number.h"
#include "corefoundation/cf_string.h"
#include "coregraphics/display_server.h"
#include "coregraphics/rect_dictionary.h"

/* The object for a literal, made when the library is loaded. */
static CFStringRef key(const char* name) noexcept {
    return __CFStringMakeConstantString(name);
}

const CFStringRef kCGWindowNumber = key("kCGWindowNumber");
const CFStringRef kCGWindowStoreType = key("kCGWindowStoreType");
const CFStringRef kCGWindowLayer = key("kCGWindowLayer");
const CFStringRef kCGWindowBounds = key("kCGWindowBounds");
const CFStringRef kCGWindowSharingState = key("kCGWindowSharingState");
const CFStringRef kCGWindowAlpha = key("kCGWindowAlpha");
const CFStringRef kCGWindowOwnerPID = key("kCGWindowOwnerPID");
const CFStringRef kCGWindowMemoryUsage = key("kCGWindowMemoryUsage");
const CFStringRef kCGWindowOwnerName = key("kCGWindowOwnerName");
const CFStringRef kCGWindowName = key("kCGWindowName");
const CFStringRef kCGWindowIsOnscreen = key("kCGWindowIsOnscreen");

namespace {

using qor::corefoundation::createNumber;
using qor::corefoundation::createString;
using qor::corefoundation::DictionaryEntries;
using qor::corefoundation::Reference;
using qor::coregraphics::DisplayServer;
using qor::coregraphics::PixelRect;
using qor::coregraphics::WindowDescription;
using qor::coregraphics::WindowRole;

using Descriptions = std::vector<WindowDescription>;

struct Release {
    void operator()(CFTypeRef object) const noexcept { CFRelease(object); }
};

constexpr std::int64_t kBytesPerPixel = 4;

std::int64_t layerOf(WindowRole role) {
    switch (role) {
        case WindowRole::normal:
            return 0;
        case WindowRole::floating:
            return 3;
        case WindowRole::panel:
            return 20;
        case WindowRole::popup:
            return 101;
        case WindowRole::desktop:
            return -2147483623;
    }
    return 0;
}

Reference<const __CFDictionary> createBounds(const PixelRect& box) {
    return qor::coregraphics::createRectDictionary(CGRectMake(box.x, box.y, box.width, box.height));
}

Reference<const __CFDictionary> createInfo(const WindowDescription& window) {
    const std::int64_t pixels = std::int64_t{window.box.width} * window.box.height;
    DictionaryEntries entries;
    entries.add(kCGWindowNumber, createNumber(std::int64_t{window.number}));
    entries.add(kCGWindowStoreType, createNumber(std::int64_t{kCGBackingStoreNonretained}));
    entries.add(kCGWindowLayer, createNumber(layerOf(window.role)));
    entries.add(kCGWindowBounds, createBounds(window.box));
    entries.add(kCGWindowSharingState, createNumber(std::int64_t{kCGWindowSharingReadWrite}));
    entries.add(kCGWindowAlpha, createNumber(window.opacity));
    entries.add(kCGWindowOwnerPID, createNumber(std::int64_t{window.processId}));
    entries.add(kCGWindowMemoryUsage, createNumber(pixels * kBytesPerPixel));
    if (!window.application.empty())
        entries.add(kCGWindowOwnerName, createString(window.application));
    if (!window.title.empty())
        entries.add(kCGWindowName, createString(window.title));
    // Its references are not counted.
    entries.add(kCGWindowIsOnscreen, Reference<const __CFBoolean>(kCFBooleanTrue));
    return entries.createDictionary();
}

/* Null if memory is short: in a list with gaps, a window that is to be left out may be missing. */
CFArrayRef createInfos(const Descriptions& windows) {
    std::unique_ptr<__CFArray, Release> infos(
        CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    if (infos == nullptr)
        return nullptr;
    for (const WindowDescription& window : windows) {
        const auto info = createInfo(window);
        if (info == nullptr)
            return nullptr;
        CFArrayAppendValue(infos.get(), info.get());
    }
    const bool isWhole = CFArrayGetCount(infos.get()) == static_cast<CFIndex>(windows.size());
    return isWhole ? infos.release() : nullptr;
}

}  // namespace

CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID relativeToWindow) {
    if (option != kCGWindowListOptionOnScreenOnly || relativeToWindow != kCGNullWindowID)
        return nullptr;
    const auto windows = qor::coregraphics::askServer(
        std::optional<Descriptions>(),
        [](DisplayServer& server) { return server.windowDescriptions(); });
    return windows ? createInfos(*windows) : nullptr;
}
