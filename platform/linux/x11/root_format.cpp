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

const xcb_format_t* findFormat(const xcb_setup_t* setup, unsigned depth) {
    const std::span formats(xcb_setup_pixmap_formats(setup),
                            static_cast<std::size_t>(xcb_setup_pixmap_formats_length(setup)));
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

xcb_query_colors_cookie_t queryColors(Connection& connection, unsigned size) {
    std::vector<std::uint32_t> pixels(size);
    std::iota(pixels.begin(), pixels.end(), 0U);
    const xcb_visualtype_t* visual = findRootVisual(connection.screen());
    if (visual != nullptr && coloringOf(*visual) == Coloring::indexPerComponent)
        std::ranges::transform(pixels, pixels.begin(), std::bind_front(pixelOf, *visual));
    return xcb_query_colors(connection.handle(), connection.screen().default_colormap, size,
                            pixels.data());
}

}  // namespace

std::optional<RootFormat> findRootFormat(const Connection& connection) {
    const xcb_setup_t* setup = xcb_get_setup(connection.handle());
    const xcb_visualtype_t* visual = findRootVisual(connection.screen());
    const xcb_format_t* format = findFormat(setup, connection.screen().root_depth);
    if (visual == nullptr || format == nullptr)
        return std::nullopt;
    RootFormat root;
    root.pixels = {.bitsPerPixel = format->bits_per_pixel,
                   .scanlinePad = format->scanline_pad,
                   .mostSignificantByteFirst = setup->image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST,
                   .redMask = visual->red_mask,
                   .greenMask = visual->green_mask,
                   .blueMask = visual->blue_mask,
                   .alphaMask = alphaMaskOf(*visual, connection.screen().root_depth)};
    if (coloringOf(*visual) != Coloring::ownColor)
        root.paletteSize = visual->colormap_entries;
    // Some visuals of indexes tell masks too.
    if (coloringOf(*visual) == Coloring::index)
        root.pixels.redMask = root.pixels.greenMask = root.pixels.blueMask = 0;
    return isConvertible(root.pixels) ? std::optional(root) : std::nullopt;
}

PaletteRequest::PaletteRequest(Connection& connection, unsigned size)
    : request_(connection, queryColors(connection, size)) {}

std::vector<std::uint32_t> PaletteRequest::take() {
    const auto reply = request_.take();
    if (reply == nullptr)
        return {};
    const std::span colors(xcb_query_colors_colors(reply.get()),
                           static_cast<std::size_t>(xcb_query_colors_colors_length(reply.get())));
    std::vector<std::uint32_t> palette;
    palette.reserve(colors.size());
    for (const xcb_rgb_t& color : colors) {
        // Components have 16 bits, of which a display shows the upper ones.
        const std::uint32_t red = color.red >> 8;
        const std::uint32_t green = color.green >> 8;
        const std::uint32_t blue = color.blue >> 8;
        palette.push_back(0xff000000 | red << 16 | green << 8 | blue);
    }
    return palette;
}

}  // namespace qor::x11
