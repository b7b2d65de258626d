/*
 * Searches for rectangles, sizes and pitches that make drawing into a bitmap leave it or the image,
 * or draw other than the plain rule says, and for rectangles of the desktop that a display server
 * is asked for although its protocol cannot carry them.
 */
#include <CoreGraphics/CGContext.h>
#include <CoreGraphics/CGDirectDisplay.h>
#include <CoreGraphics/CGWindow.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "corefoundation/object.h"
#include "coregraphics/area_average.h"
#include "coregraphics/color_space.h"
#include "coregraphics/display_server.h"
#include "coregraphics/image.h"

namespace {

using qor::coregraphics::ImageReference;
using qor::coregraphics::Picture;
using qor::coregraphics::PixelBuffer;
using qor::coregraphics::PixelRect;
using qor::coregraphics::Size;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kUnwritten = 0x5a;
constexpr std::size_t kLongest = 12;

void expect(bool holds) {
    if (!holds)
        std::abort();
}

Bytes noise(std::size_t size) {
    Bytes bytes(size);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

Size takeSize(FuzzedDataProvider& input) {
    return {input.ConsumeIntegralInRange<std::size_t>(1, kLongest),
            input.ConsumeIntegralInRange<std::size_t>(1, kLongest)};
}

std::size_t overlap(std::size_t i, std::size_t j, std::size_t source, std::size_t target) {
    const std::size_t begin = std::max(i * target, j * source);
    const std::size_t end = std::min((i + 1) * target, (j + 1) * source);
    return end > begin ? end - begin : 0;
}

/* The mean of what a target pixel covers, over every pixel of the picture, rounded. */
std::uint8_t mean(const Picture& picture, Size target, std::size_t x, std::size_t y,
                  std::size_t channel) {
    const Size source = picture.size;
    std::size_t sum = 0;
    for (std::size_t row = 0; row < source.height; ++row)
        for (std::size_t column = 0; column < source.width; ++column)
            sum += overlap(row, y, source.height, target.height) *
                   overlap(column, x, source.width, target.width) *
                   picture.pixels[row * picture.bytesPerRow + column * 4 + channel];
    const std::size_t whole = source.width * source.height;
    return static_cast<std::uint8_t>((sum + whole / 2) / whole);
}

ImageReference imageOf(const Picture& picture) {
    const std::size_t size = picture.bytesPerRow * picture.size.height;
    std::shared_ptr<std::byte> bytes(new std::byte[size], std::default_delete<std::byte[]>());
    std::transform(picture.pixels, picture.pixels + size, bytes.get(),
                   [](std::uint8_t byte) { return std::byte{byte}; });
    return qor::coregraphics::createImage(
        {bytes, picture.size.width, picture.size.height, picture.bytesPerRow});
}

/* A bitmap of 8 bits a component, blue first, whose last row ends with its last pixel. */
struct Bitmap {
    Bitmap(Size bitmapSize, std::size_t padding)
        : size(bitmapSize),
          pitch(size.width * 4 + padding),
          bytes((size.height - 1) * pitch + size.width * 4, kUnwritten) {}

    void draw(CGRect rect, CGImageRef image) {
        const CGContextRef context = CGBitmapContextCreate(
            bytes.data(), size.width, size.height, 8, pitch, qor::coregraphics::screenColorSpace(),
            std::uint32_t{kCGImageAlphaNoneSkipFirst} | kCGBitmapByteOrder32Little);
        expect(context != nullptr);
        CGContextDrawImage(context, rect, image);
        CGContextRelease(context);
    }

    const Size size;
    const std::size_t pitch;
    Bytes bytes;
};

/* Whole pixels: what is drawn is the rule's, and all else stays as it was. */
void drawAtPixels(FuzzedDataProvider& input, const Picture& picture, CGImageRef image) {
    Bitmap bitmap(takeSize(input), input.ConsumeIntegralInRange<std::size_t>(0, 9));
    const Size drawn = takeSize(input);
    const auto left = input.ConsumeIntegralInRange<std::ptrdiff_t>(-14, 14);
    const auto bottom = input.ConsumeIntegralInRange<std::ptrdiff_t>(-14, 14);
    bitmap.draw(CGRectMake(static_cast<double>(left), static_cast<double>(bottom),
                           static_cast<double>(drawn.width), static_cast<double>(drawn.height)),
                image);
    const auto top = static_cast<std::ptrdiff_t>(bitmap.size.height) - bottom -
                     static_cast<std::ptrdiff_t>(drawn.height);
    for (std::size_t i = 0; i < bitmap.bytes.size(); ++i) {
        const auto column = static_cast<std::ptrdiff_t>(i % bitmap.pitch / 4) - left;
        const auto row = static_cast<std::ptrdiff_t>(i / bitmap.pitch) - top;
        const bool isDrawn = i % bitmap.pitch < bitmap.size.width * 4 && column >= 0 && row >= 0 &&
                             column < static_cast<std::ptrdiff_t>(drawn.width) &&
                             row < static_cast<std::ptrdiff_t>(drawn.height);
        const std::size_t channel = i % bitmap.pitch % 4;
        const std::uint8_t colour = !isDrawn || channel == 3
                                        ? std::uint8_t{255}
                                        : mean(picture, drawn, static_cast<std::size_t>(column),
                                               static_cast<std::size_t>(row), channel);
        expect(bitmap.bytes[i] == (isDrawn ? colour : kUnwritten));
    }
}

double takeLength(FuzzedDataProvider& input) {
    using Limits = std::numeric_limits<double>;
    constexpr double kEdges[]{0,
                              -0.0,
                              0.5,
                              -0.5,
                              1,
                              -1,
                              32766.5,
                              32767,
                              32767.5,
                              1 << 30,
                              -(1 << 30),
                              (1 << 30) + 0.5,
                              1e308,
                              -1e308,
                              Limits::min(),
                              Limits::denorm_min(),
                              Limits::epsilon(),
                              Limits::infinity(),
                              -Limits::infinity(),
                              Limits::quiet_NaN()};
    switch (input.ConsumeIntegralInRange(0, 3)) {
        case 0:
            return input.PickValueInArray(kEdges);
        case 1:
            return input.ConsumeFloatingPoint<double>();
        default:
            return input.ConsumeFloatingPointInRange<double>(-20, 40);
    }
}

CGRect takeRect(FuzzedDataProvider& input) {
    return CGRectMake(takeLength(input), takeLength(input), takeLength(input), takeLength(input));
}

/* Anywhere: the sanitizer sees what is left. Outside the bitmap nothing may be drawn at all. */
void drawAnywhere(FuzzedDataProvider& input, CGImageRef image) {
    Bitmap bitmap(takeSize(input), input.ConsumeIntegralInRange<std::size_t>(0, 9));
    const CGRect rect = takeRect(input);
    bitmap.draw(rect, image);
    const bool mayTouch = rect.origin.x < static_cast<double>(bitmap.size.width) &&
                          rect.origin.y < static_cast<double>(bitmap.size.height) &&
                          rect.origin.x + rect.size.width > 0 &&
                          rect.origin.y + rect.size.height > 0;
    expect(mayTouch || std::ranges::count(bitmap.bytes, kUnwritten) ==
                           static_cast<std::ptrdiff_t>(bitmap.bytes.size()));
}

/* What is said of the bitmap is anything; it is as large as that says where it is taken. */
void describeBitmap(FuzzedDataProvider& input, CGImageRef image) {
    const auto takeAny = [&input](std::size_t usual) {
        return input.ConsumeIntegralInRange(0, 3) == 0 ? input.ConsumeIntegral<std::size_t>()
                                                       : usual;
    };
    const std::size_t width = takeAny(7);
    const std::size_t height = takeAny(5);
    const std::size_t pitch = takeAny(7 * 4);
    const std::size_t bits = takeAny(input.ConsumeBool() ? 8 : 5);
    const auto info = input.ConsumeBool() ? input.ConsumeIntegral<std::uint32_t>()
                                          : input.ConsumeIntegralInRange(0U, 7U) | 2U << 12;
    constexpr std::size_t kMost = 1 << 16;
    const bool isSmall = height > 0 && width > 0 && width < kMost && pitch < kMost / height;
    Bytes bytes(isSmall ? (height - 1) * pitch + width * (bits == 5 ? 2 : 4) : 0);
    std::uint8_t none = 0;
    const CGContextRef context =
        CGBitmapContextCreate(isSmall ? bytes.data() : &none, width, height, bits, pitch,
                              qor::coregraphics::screenColorSpace(), info);
    if (context != nullptr && isSmall)
        CGContextDrawImage(context, takeRect(input), image);
    CGContextRelease(context);
}

/* Counts on what is promised to a server, and has nothing to show. */
class StrictServer final : public qor::coregraphics::DisplayServer {
  public:
    qor::coregraphics::ServerState refresh() override {
        return qor::coregraphics::ServerState::ready;
    }
    void abandon() noexcept override {}
    std::optional<std::vector<qor::coregraphics::Display>> displays() override { return {}; }
    std::optional<std::string> displayName(std::uint32_t /*displayId*/) override { return {}; }
    ImageReference grab(const PixelRect& area) override { return refuse(area); }
    std::optional<std::vector<std::uint32_t>> windowsOnScreen() override { return {}; }
    std::optional<std::vector<qor::coregraphics::WindowDescription>> windowDescriptions() override {
        return {};
    }
    ImageReference grabWindows(const PixelRect& area,
                               const std::vector<std::uint32_t>& /*windows*/) override {
        return refuse(area);
    }
    ImageReference grabWindow(const PixelRect& area, std::uint32_t /*window*/) override {
        return refuse(area);
    }

    static CGRect asked;

  private:
    static void expectCovered(double start, double length, std::int32_t first,
                              std::uint32_t count) {
        expect(count > 0 && count <= 32767 && std::abs(std::int64_t{first}) <= 1 << 30);
        expect(first <= start && start + length <= static_cast<double>(count) + first);
    }

    static ImageReference refuse(const PixelRect& area) {
        expectCovered(asked.origin.x, asked.size.width, area.x, area.width);
        expectCovered(asked.origin.y, asked.size.height, area.y, area.height);
        return ImageReference();
    }
};

CGRect StrictServer::asked;

void askForImages(FuzzedDataProvider& input) {
    StrictServer::asked = takeRect(input);
    const auto window = input.ConsumeIntegralInRange(0U, 1U);
    expect(CGWindowListCreateImage(StrictServer::asked, kCGWindowListOptionOnScreenOnly, window,
                                   kCGWindowImageDefault) == nullptr);
    expect(CGWindowListCreateImage(StrictServer::asked, kCGWindowListOptionIncludingWindow, window,
                                   kCGWindowImageDefault) == nullptr);
    const CFMutableArrayRef list = CFArrayCreateMutable(nullptr, 0, nullptr);
    CFArrayAppendValue(list, reinterpret_cast<const void*>(input.ConsumeIntegral<std::size_t>()));
    expect(CGWindowListCreateImageFromArray(StrictServer::asked, list, kCGWindowImageDefault) ==
           nullptr);
    CFRelease(list);
}

}  // namespace

std::unique_ptr<qor::coregraphics::DisplayServer> qor::coregraphics::connectDisplayServer() {
    return std::make_unique<StrictServer>();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const Size imageSize = takeSize(input);
    const std::size_t pitch = imageSize.width * 4 + input.ConsumeIntegralInRange<std::size_t>(0, 9);
    const Bytes pixels = noise(pitch * imageSize.height);
    const Picture picture{pixels.data(), imageSize, pitch};
    const ImageReference image = imageOf(picture);
    drawAtPixels(input, picture, image.get());
    drawAnywhere(input, image.get());
    describeBitmap(input, image.get());
    askForImages(input);
    return 0;
}
