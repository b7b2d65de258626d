/*
 * Searches for servers' pixel formats and places of rows that become other pixels than the plain
 * rule says, or that make the conversion leave either image.
 */
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "x11/desktop_image.h"
#include "x11/extension.h"
#include "x11/root_format.h"

namespace {

using namespace qor::x11;
using qor::coregraphics::PixelRect;

constexpr std::byte kUnwritten{0x5a};

void expect(bool holds) {
    if (!holds)
        std::abort();
}

/* Most masks are one run of bits, as others are refused. */
std::uint32_t takeMask(FuzzedDataProvider& input) {
    const auto bits = input.ConsumeIntegralInRange(0, 33);
    const auto shift = input.ConsumeIntegralInRange(0, 31);
    if (bits > 17)
        return bits == 33 ? input.ConsumeIntegral<std::uint32_t>() : 0xffU << shift % 4 * 8;
    return ((std::uint32_t{1} << bits) - 1) << shift;
}

PixelFormat takeFormat(FuzzedDataProvider& input) {
    PixelFormat format;
    format.bitsPerPixel = input.PickValueInArray({32U, 24U, 16U, 8U, 4U, 0U});
    format.scanlinePad = input.PickValueInArray({32U, 16U, 8U, 0U, 12U});
    format.mostSignificantByteFirst = input.ConsumeBool();
    if (input.ConsumeBool())
        return format;
    format.redMask = takeMask(input);
    format.greenMask = takeMask(input);
    format.blueMask = takeMask(input);
    format.alphaMask = takeMask(input);
    format.palette.resize(input.ConsumeBool() ? input.ConsumeIntegralInRange<std::size_t>(0, 9)
                                              : 0);
    std::uint32_t colour = 0x01234567;
    for (std::uint32_t& entry : format.palette)
        entry = colour *= 0x9e3779b1;
    return format;
}

/* A value under a mask, spread over 0 to 255 and rounded to the nearest. */
std::uint32_t spread(std::uint32_t pixel, std::uint32_t mask) {
    if (mask == 0)
        return 0;
    const int shift = std::countr_zero(mask);
    const std::uint32_t largest = mask >> shift;
    return (((pixel & mask) >> shift) * 255 + largest / 2) / largest;
}

std::uint32_t paletteEntry(const PixelFormat& format, std::uint32_t pixel, std::uint32_t mask) {
    const std::uint32_t index = mask == 0 ? 0 : (pixel & mask) >> std::countr_zero(mask);
    return index < format.palette.size() ? format.palette[index] : 0;
}

/* As the header says it, pixel by pixel. */
std::uint32_t plainlyConverted(const PixelFormat& format, std::uint32_t pixel) {
    if (format.palette.empty()) {
        const std::uint32_t alpha = format.alphaMask == 0 ? 255 : spread(pixel, format.alphaMask);
        return alpha << 24 | spread(pixel, format.redMask) << 16 |
               spread(pixel, format.greenMask) << 8 | spread(pixel, format.blueMask);
    }
    if ((format.redMask | format.greenMask | format.blueMask) == 0)
        return 0xff000000 | paletteEntry(format, pixel, ~0U);
    return 0xff000000 | (paletteEntry(format, pixel, format.redMask) & 0xff0000) |
           (paletteEntry(format, pixel, format.greenMask) & 0x00ff00) |
           (paletteEntry(format, pixel, format.blueMask) & 0x0000ff);
}

std::uint32_t pixelAt(const PixelFormat& format, const std::byte* row, std::size_t x) {
    const std::size_t bytes = format.bitsPerPixel / 8;
    std::uint32_t pixel = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        const std::size_t place = format.mostSignificantByteFirst ? bytes - 1 - i : i;
        pixel |= std::to_integer<std::uint32_t>(row[x * bytes + i]) << (8 * place);
    }
    return pixel;
}

/* A block that the sanitizer knows the end of, filled with something that does not repeat soon. */
std::shared_ptr<std::byte> exactBlock(std::size_t size, std::uint32_t seed) {
    std::shared_ptr<std::byte> block(new std::byte[size], std::default_delete<std::byte[]>());
    for (std::size_t i = 0; i < size; ++i) {
        seed = seed * 1664525 + 1013904223;
        block.get()[i] = static_cast<std::byte>(seed >> 24);
    }
    return block;
}

std::uint32_t storedAt(const std::byte* place) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, place, sizeof pixel);
    return pixel;
}

void convert(FuzzedDataProvider& input, const PixelFormat& format) {
    const auto width = input.ConsumeIntegralInRange<std::size_t>(1, 600);
    const auto height = input.ConsumeIntegralInRange<std::size_t>(1, 4);
    const std::size_t pitch = width * 4 + input.ConsumeIntegralInRange<std::size_t>(0, 9);
    const std::size_t sourcePitch = rowBytes(format, width);
    const auto source = exactBlock(sourcePitch * height, input.ConsumeIntegral<std::uint32_t>());
    const auto target = exactBlock((height - 1) * pitch + width * 4, 0);
    std::fill_n(target.get(), (height - 1) * pitch + width * 4, kUnwritten);
    convertPixels(format, source.get(), width, height, target.get(), pitch);
    for (std::size_t y = 0; y < height; ++y) {
        const std::byte* const row = source.get() + y * sourcePitch;
        std::byte* const targetRow = target.get() + y * pitch;
        for (std::size_t x = 0; x < width; ++x)
            expect(storedAt(targetRow + x * 4) ==
                   plainlyConverted(format, pixelAt(format, row, x)));
        const std::size_t gap = y + 1 < height ? pitch - width * 4 : 0;
        expect(std::count(targetRow + width * 4, targetRow + width * 4 + gap, kUnwritten) ==
               static_cast<std::ptrdiff_t>(gap));
    }
}

std::int32_t takePlace(FuzzedDataProvider& input) {
    constexpr std::int32_t kFarthest = 1 << 30;  // that images are asked for
    return input.ConsumeIntegralInRange(0, 7) == 0
               ? input.ConsumeIntegralInRange(-kFarthest, kFarthest)
               : input.ConsumeIntegralInRange(-20, 20);
}

PixelRect takeRect(FuzzedDataProvider& input, std::uint32_t largest) {
    return {takePlace(input), takePlace(input), input.ConsumeIntegralInRange(0U, largest),
            input.ConsumeIntegralInRange(0U, largest)};
}

bool lies(const PixelRect& part, const PixelRect& whole) {
    const auto lengthLies = [](std::int64_t start, std::int64_t length, std::int64_t wholeStart,
                               std::int64_t wholeLength) {
        return start >= wholeStart && start + length <= wholeStart + wholeLength;
    };
    return lengthLies(part.x, part.width, whole.x, whole.width) &&
           lengthLies(part.y, part.height, whole.y, whole.height);
}

/* Only of rectangles as the protocol has them. */
void joinRects(FuzzedDataProvider& input, PixelRect first) {
    PixelRect second = takeRect(input, 65535);
    for (PixelRect* rect : {&first, &second}) {
        rect->x = std::clamp(rect->x, -32768, 32767);
        rect->y = std::clamp(rect->y, -32768, 32767);
    }
    const PixelRect both = around(first, second);
    expect((first.empty() || lies(first, both)) && (second.empty() || lies(second, both)));
}

void place(FuzzedDataProvider& input, const PixelFormat& format) {
    const PixelRect area = takeRect(input, 40);
    const PixelRect other = takeRect(input, 32767);
    const PixelRect visible = intersection(area, other);
    expect(visible.empty() || (lies(visible, area) && lies(visible, other)));
    joinRects(input, other);
    if (area.empty())
        return;
    const std::size_t pitch = rowBytes(format, visible.width);
    const std::size_t size = pitch * visible.height;
    const std::uint32_t seed = input.ConsumeIntegral<std::uint32_t>();
    const auto source = exactBlock(size, seed);  // as the image may be made in the rows' place
    const auto rows = visible.empty() ? nullptr : exactBlock(size, seed);
    const auto image = desktopImage(area, visible, format, rows);
    expect(image.width == area.width && image.height == area.height);
    for (std::size_t i = 0; i < image.width * image.height; ++i) {
        const std::size_t x = i % image.width;
        const std::size_t y = i / image.width;
        const PixelRect pixel{area.x + static_cast<std::int32_t>(x),
                              area.y + static_cast<std::int32_t>(y), 1, 1};
        std::uint32_t expected = 0;
        if (!visible.empty() && lies(pixel, visible)) {
            const auto row = static_cast<std::size_t>(pixel.y - visible.y);
            const auto column = static_cast<std::size_t>(pixel.x - visible.x);
            expected =
                plainlyConverted(format, pixelAt(format, source.get() + row * pitch, column));
        }
        expect(storedAt(image.bytes.get() + y * image.bytesPerRow + x * 4) == expected);
    }
}

/* A block of T with a list behind it, as it comes over the wire. */
template <typename T, typename Element>
Reply<T> withList(const T& head, const std::vector<Element>& list, std::size_t gap = 0) {
    const std::size_t size = list.size() * sizeof(Element);
    auto* const block = static_cast<std::byte*>(std::calloc(1, sizeof(T) + gap + size));
    expect(block != nullptr);
    std::memcpy(block, &head, sizeof head);
    if (size > 0)
        std::memcpy(block + sizeof head + gap, list.data(), size);
    return Reply<T>(reinterpret_cast<T*>(block));
}

xcb_visualtype_t takeVisual(FuzzedDataProvider& input) {
    xcb_visualtype_t visual{};
    visual.visual_id = input.ConsumeIntegralInRange<xcb_visualid_t>(1, 4);
    visual._class = input.ConsumeIntegralInRange<std::uint8_t>(0, 6);
    visual.colormap_entries = input.ConsumeIntegral<std::uint16_t>();
    visual.red_mask = takeMask(input);
    visual.green_mask = takeMask(input);
    visual.blue_mask = takeMask(input);
    return visual;
}

/* A screen of one depth, or of none. */
struct Described {
    xcb_depth_t depth;
    xcb_visualtype_t visuals[2];
};

void describeScreen(FuzzedDataProvider& input) {
    std::vector<xcb_format_t> formats(input.ConsumeIntegralInRange<std::size_t>(0, 3));
    for (xcb_format_t& format : formats) {
        format.depth = input.PickValueInArray<std::uint8_t>({24, 32, 30, 16, 8});
        format.bits_per_pixel = input.PickValueInArray<std::uint8_t>({32, 24, 16, 8, 4, 255});
        format.scanline_pad = input.PickValueInArray<std::uint8_t>({32, 16, 8, 0, 7});
    }
    xcb_setup_t setup{};
    setup.pixmap_formats_len = static_cast<std::uint8_t>(formats.size());
    setup.vendor_len = 6;  // padded to 8
    std::vector<Described> depths(input.ConsumeIntegralInRange<std::size_t>(0, 2));
    for (Described& each : depths) {
        each.depth.visuals_len = 2;
        std::ranges::generate(each.visuals, [&input] { return takeVisual(input); });
    }
    xcb_screen_t head{};
    head.root_visual = input.ConsumeIntegralInRange<xcb_visualid_t>(0, 4);
    head.root_depth = input.PickValueInArray<std::uint8_t>({24, 32, 30, 16, 8});
    head.allowed_depths_len = static_cast<std::uint8_t>(depths.size());
    const auto screen = withList(head, depths);
    const auto root = findRootFormat(*withList(setup, formats, 8), *screen);
    expect(!root || isConvertible(root->pixels));
    const unsigned size = root ? root->paletteSize : 0;
    expect(palettePixels(*screen, size).size() == size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const PixelFormat format = takeFormat(input);
    if (isConvertible(format)) {
        convert(input, format);
        place(input, format);
    }
    describeScreen(input);
    return 0;
}
