#include "x11/palette_request.h"

#include "x11/reply_list.h"
#include "x11/root_format.h"

namespace qor::x11 {
namespace {

xcb_query_colors_cookie_t queryColors(Connection& connection, unsigned size) {
    const auto pixels = palettePixels(connection.screen(), size);
    return xcb_query_colors(connection.handle(), connection.screen().default_colormap, size,
                            pixels.data());
}

}  // namespace

PaletteRequest::PaletteRequest(Connection& connection, unsigned size)
    : request_(connection, queryColors(connection, size)) {}

std::vector<std::uint32_t> PaletteRequest::take() {
    const auto reply = request_.take();
    if (reply == nullptr)
        return {};
    const auto colors = listIn(*reply, xcb_query_colors_colors(reply.get()), reply->colors_len);
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
