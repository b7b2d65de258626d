#include "x11/root_format.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <numeric>
#include <span>

namespace qor::x11 {
namespace {

const xcb_visualtype_t* findRootVisual(const xcb_screen_t& screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
         xcb_depth_next(&depth)) {
        const std::span visuals(xcb_depth_visuals(depth.data),
                                static_cast<std::size_t>(xcb_depth_visuals_length(depth.data)));
        const auto visual =
            std::ranges::find(visuals, screen.root_visual, &xcb_visualtype_t::visual_id);
        if (visual != visuals.end())
            return &*visual;
    }
    return nullptr;
}

const xcb_format_t* findFormat(const xcb_setup_t& setup, unsigned depth) {
    const std::span formats(xcb_setup_pixmap_formats(&setup),
                            static_cast<std::size_t>(xcb_setup_pixmap_formats_length(&setup)));
    const auto format = std::ranges::find(formats, depth, &xcb_format_t::depth);
    return format == formats.end() ? nullptr : &*format;
}

enum class Coloring { ownColor, index, indexPerComponent };

Coloring coloringOf(const xcb_visualtype_t& visual) {
    if (visual._class == XCB_VISUAL_CLASS_TRUE_COLOR)
        return Coloring::ownColor;
    return visual._class == XCB_VISUAL_CLASS_DIRECT_COLOR ? Coloring::indexPerComponent
                                                          : Coloring::index;
}

/* The pixel of which each component is index, as far as it is that large. */
std::uint32_t pixelOf(const xcb_visualtype_t& visual, std::uint32_t index) {
    std::uint32_t pixel = 0;
    for (const std::uint32_t mask : {visual.red_mask, visual.green_mask, visual.blue_mask})
        pixel |= mask == 0 ? 0 : index << std::countr_zero(mask) & mask;
    return pixel;
}

/* A pixel of 32 significant bits has alpha in those that no colour takes. */
std::uint32_t alphaMaskOf(const xcb_visualtype_t& visual, unsigned depth) {
    return depth == 32 ? ~(visual.red_mask | visual.green_mask | visual.blue_mask) : 0;
}

}  // namespace

std::optional<RootFormat> findRootFormat(const xcb_setup_t& setup, const xcb_screen_t& screen) {
    const xcb_visualtype_t* visual = findRootVisual(screen);
    const xcb_format_t* format = findFormat(setup, screen.root_depth);
    if (visual == nullptr || format == nullptr)
        return std::nullopt;
    RootFormat root;
    root.pixels = {.bitsPerPixel = format->bits_per_pixel,
                   .scanlinePad = format->scanline_pad,
                   .mostSignificantByteFirst = setup.image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST,
                   .redMask = visual->red_mask,
                   .greenMask = visual->green_mask,
                   .blueMask = visual->blue_mask,
                   .alphaMask = alphaMaskOf(*visual, screen.root_depth)};
    if (coloringOf(*visual) != Coloring::ownColor)
        root.paletteSize = visual->colormap_entries;
    // Some visuals of indexes tell masks too.
    if (coloringOf(*visual) == Coloring::index)
        root.pixels.redMask = root.pixels.greenMask = root.pixels.blueMask = 0;
    return isConvertible(root.pixels) ? std::optional(root) : std::nullopt;
}

std::vector<std::uint32_t> palettePixels(const xcb_screen_t& screen, unsigned size) {
    std::vector<std::uint32_t> pixels(size);
    std::iota(pixels.begin(), pixels.end(), 0U);
    const xcb_visualtype_t* visual = findRootVisual(screen);
    if (visual != nullptr && coloringOf(*visual) == Coloring::indexPerComponent)
        std::ranges::transform(pixels, pixels.begin(), std::bind_front(pixelOf, *visual));
    return pixels;
}

}  // namespace qor::x11
