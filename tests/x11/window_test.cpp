#include "window_test.h"

#include <cstring>

Windows windowsOnScreen() {
    const Owned<const __CFArray> list(
        CGWindowListCreate(kCGWindowListOptionOnScreenOnly, kCGNullWindowID));
    if (list == nullptr) {
        ADD_FAILURE() << "there is no list of windows";
        return {};
    }
    Windows windows;
    for (CFIndex i = 0; i < CFArrayGetCount(list.get()); ++i)
        windows.push_back(static_cast<CGWindowID>(
            reinterpret_cast<std::uintptr_t>(CFArrayGetValueAtIndex(list.get(), i))));
    return windows;
}

static CGRect rectOf(const Area& area) {
    return CGRectMake(area.x, area.y, area.width, area.height);
}

Image imageOfWindows(const Area& area, const Windows& windows) {
    const Owned<__CFArray> array(CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr));
    for (const std::uintptr_t window : windows)
        CFArrayAppendValue(array.get(), reinterpret_cast<const void*>(window));
    return Image(
        CGWindowListCreateImageFromArray(rectOf(area), array.get(), kCGWindowImageDefault));
}

Image imageOfWindow(const Area& area, CGWindowID window) {
    return Image(CGWindowListCreateImage(rectOf(area), kCGWindowListOptionIncludingWindow, window,
                                         kCGWindowImageDefault));
}

Color colorAt(const Image& image, std::size_t x, std::size_t y) {
    if (image == nullptr) {
        ADD_FAILURE() << "there is no image";
        return {};
    }
    return pixelAt(image.get(), x, y).color();
}

bool shows(const Image& image, Color color) {
    const std::vector<std::uint8_t> bytes = bytesOf(image.get());
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        if (Color{bytes[i + 2], bytes[i + 1], bytes[i]} == color)
            return true;
    }
    return false;
}

void WindowTest::start(std::vector<std::string> arguments) {
    client_.reset();
    server_ = std::make_unique<XvfbServer>("320x200x24", std::move(arguments));
    useDisplay(server_->display());
    onlyDisplay();  // leaves an earlier test's connection
    client_ = std::make_unique<WindowClient>(server_->display());
}

xcb_window_t WindowTest::open(const Look& look) const {
    const xcb_window_t window = client().open(look);
    client().sync();
    return window;
}
