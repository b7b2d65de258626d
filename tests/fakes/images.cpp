// Pictures of displays and of windows as the script has them.
#include <algorithm>

#include "script.h"

using scripted::Display;
using scripted::Invocation;
using scripted::Mode;
using scripted::Object;
using scripted::PixelSize;
using scripted::Reference;
using scripted::Script;

namespace {

constexpr size_t kBytesPerPixel = 4;
constexpr uint8_t kPaddingByte = 0xA5;  // shows where padding was taken for pixels

PixelBytes paint(PixelSize size, size_t pitch, const scripted::PixelSource& pixel) {
    auto bytes = std::make_shared<std::vector<uint8_t>>(pitch * size.height, kPaddingByte);
    for (size_t y = 0; y < size.height; ++y) {
        for (size_t x = 0; x < size.width; ++x) {
            const uint32_t value = pixel(x, y);
            for (size_t i = 0; i < kBytesPerPixel; ++i) {
                (*bytes)[y * pitch + x * kBytesPerPixel + i] =
                    static_cast<uint8_t>(value >> (8 * i));
            }
        }
    }
    return bytes;
}

CGImageRef newImage(const Invocation& call, PixelSize size, size_t padding,
                    const scripted::PixelSource& pixel) {
    size = call.script().imageSize.value_or(size);
    const size_t pitch = size.width * kBytesPerPixel + padding;
    auto* const provider = call.objects().add(std::make_unique<CGDataProvider>(
        [size, pitch, pixel] { return paint(size, pitch, pixel); }));
    auto* const space = call.objects().add(std::make_unique<CGColorSpace>());
    return call.make(std::make_unique<CGImage>(size.width, size.height, pitch, provider, space));
}

// What a rectangle of the desktop shows: the display at its origin, no further than its edges, in
// that display's pixels; nothing where there is no display.
CGImageRef newDesktopImage(const Invocation& call, const CGRect& area) {
    const Display* const display = call.script().displayAt(area.origin.x, area.origin.y);
    if (display == nullptr || !display->mode) {
        return nullptr;
    }
    const Mode& mode = *display->mode;
    const CGPoint inside = {area.origin.x - display->bounds.origin.x,
                            area.origin.y - display->bounds.origin.y};
    const double scale = static_cast<double>(mode.pixelWidth) / display->bounds.size.width;
    const auto pixels = [scale](double points) { return static_cast<size_t>(points * scale); };
    const PixelSize size = {
        pixels(std::min(area.size.width, display->bounds.size.width - inside.x)),
        pixels(std::min(area.size.height, display->bounds.size.height - inside.y))};
    return newImage(call, size, display->rowPadding,
                    [pixel = display->pixel, left = pixels(inside.x), top = pixels(inside.y)](
                        size_t x, size_t y) { return pixel(x + left, y + top); });
}

std::string numbers(CFArrayRef windows) {
    const scripted::Work work;
    const std::lock_guard lock(Script::instance().mutex());
    const auto* const array =
        Script::instance().objects().use<__CFArray>(windows, "CGWindowListCreateImageFromArray");
    std::string list;
    for (const void* window : array == nullptr ? std::vector<const void*>() : array->values) {
        list += (list.empty() ? "" : " ") + std::to_string(reinterpret_cast<uintptr_t>(window));
    }
    return "[" + list + "]";
}

const CGImage* imageOf(const Invocation& call, CGImageRef image) {
    return call.fails() || image == nullptr ? nullptr : call.use<CGImage>(image);
}

template <typename Part>
Part partOf(const char* function, CGImageRef image, const Part CGImage::*part) {
    const Invocation call(function, Reference{image});
    const CGImage* const used = imageOf(call, image);
    return used == nullptr ? Part{} : used->*part;
}

}  // namespace

void CGImage::dispose() {
    Script::instance().objects().release(provider, "image");
    Script::instance().objects().release(space, "image");
}

CGImageRef CGDisplayCreateImage(CGDirectDisplayID display) {
    const Invocation call("CGDisplayCreateImage", display);
    const Display* const found = call.script().display(display);
    if (call.fails() || found == nullptr || !found->mode) {
        return nullptr;
    }
    return newImage(call, {found->mode->pixelWidth, found->mode->pixelHeight}, found->rowPadding,
                    found->pixel);
}

CGImageRef CGWindowListCreateImage(CGRect screenBounds, CGWindowListOption listOption,
                                   CGWindowID windowID, CGWindowImageOption imageOption) {
    const Invocation call("CGWindowListCreateImage", screenBounds, listOption, windowID,
                          imageOption);
    return call.fails() ? nullptr : newDesktopImage(call, screenBounds);
}

CFArrayRef CGWindowListCreate(CGWindowListOption option, CGWindowID relativeToWindow) {
    const Invocation call("CGWindowListCreate", option, relativeToWindow);
    if (call.fails()) {
        return nullptr;
    }
    std::vector<const void*> windows;
    for (const uint32_t window : call.script().windows) {
        windows.push_back(reinterpret_cast<const void*>(uintptr_t{window}));
    }
    return call.make(std::make_unique<__CFArray>(std::move(windows), nullptr, false));
}

CGImageRef CGWindowListCreateImageFromArray(CGRect screenBounds, CFArrayRef windowArray,
                                            CGWindowImageOption imageOption) {
    const Invocation call("CGWindowListCreateImageFromArray", screenBounds,
                          numbers(windowArray).c_str(), imageOption);
    return call.fails() ? nullptr : newDesktopImage(call, screenBounds);
}

size_t CGImageGetWidth(CGImageRef image) {
    return partOf("CGImageGetWidth", image, &CGImage::width);
}

size_t CGImageGetHeight(CGImageRef image) {
    return partOf("CGImageGetHeight", image, &CGImage::height);
}

size_t CGImageGetBitsPerComponent(CGImageRef image) {
    const Invocation call("CGImageGetBitsPerComponent", Reference{image});
    return imageOf(call, image) == nullptr ? 0 : 8;
}

size_t CGImageGetBitsPerPixel(CGImageRef image) {
    const Invocation call("CGImageGetBitsPerPixel", Reference{image});
    return imageOf(call, image) == nullptr ? 0 : 32;
}

size_t CGImageGetBytesPerRow(CGImageRef image) {
    return partOf("CGImageGetBytesPerRow", image, &CGImage::bytesPerRow);
}

CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
    const Invocation call("CGImageGetAlphaInfo", Reference{image});
    return imageOf(call, image) == nullptr ? kCGImageAlphaNone : kCGImageAlphaNoneSkipFirst;
}

CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
    return partOf("CGImageGetColorSpace", image, &CGImage::space);
}

CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
    return partOf("CGImageGetDataProvider", image, &CGImage::provider);
}

CGImageRef CGImageRetain(CGImageRef image) {
    const Invocation call("CGImageRetain", Reference{image});
    if (image != nullptr) {
        call.objects().retain(image, call.function());
    }
    return image;
}

void CGImageRelease(CGImageRef image) {
    const Invocation call("CGImageRelease", Reference{image});
    if (image != nullptr) {
        call.objects().release(image, call.function());
    }
}

CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
    const Invocation call("CGDataProviderCopyData", Reference{provider});
    if (call.fails() || provider == nullptr) {
        return nullptr;
    }
    auto* const used = call.use<CGDataProvider>(provider);
    if (used == nullptr) {
        return nullptr;
    }
    if (used->bytes == nullptr) {
        used->bytes = used->paint();
    }
    return call.make(std::make_unique<__CFData>(used->bytes));
}
