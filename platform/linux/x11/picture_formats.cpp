#include "x11/picture_formats.h"

#include <span>

#include "x11/extension.h"

namespace qor::x11 {
namespace {

bool offersSolidPictures(xcb_connection_t* handle) {
    if (!isPresent(handle, xcb_render_id))
        return false;
    const Reply<xcb_render_query_version_reply_t> reply(
        xcb_render_query_version_reply(handle, xcb_render_query_version(handle, 0, 11), nullptr));
    return reply != nullptr && isAtLeast(reply->major_version, reply->minor_version, 0, 10);
}

std::span<const xcb_render_pictforminfo_t> formatsIn(
    const xcb_render_query_pict_formats_reply_t& all) {
    return {xcb_render_query_pict_formats_formats(&all),
            static_cast<std::size_t>(xcb_render_query_pict_formats_formats_length(&all))};
}

bool isArgb(const xcb_render_pictforminfo_t& format) {
    const xcb_render_directformat_t& bits = format.direct;
    return format.type == XCB_RENDER_PICT_TYPE_DIRECT && format.depth == 32 &&
           bits.alpha_mask == 0xff && bits.alpha_shift == 24 && bits.red_mask == 0xff &&
           bits.red_shift == 16 && bits.green_mask == 0xff && bits.green_shift == 8 &&
           bits.blue_mask == 0xff && bits.blue_shift == 0;
}

}  // namespace

PictureFormats findPictureFormats(xcb_connection_t* handle, int screenNumber) {
    if (!offersSolidPictures(handle))
        return {};
    const Reply<xcb_render_query_pict_formats_reply_t> reply(xcb_render_query_pict_formats_reply(
        handle, xcb_render_query_pict_formats(handle), nullptr));
    if (reply == nullptr)
        return {};
    PictureFormats found;
    std::map<xcb_render_pictformat_t, PictureFormat> ofColours;
    for (const xcb_render_pictforminfo_t& format : formatsIn(*reply)) {
        if (format.type == XCB_RENDER_PICT_TYPE_DIRECT)
            ofColours[format.id] = {format.id, format.direct.alpha_mask != 0};
        if (isArgb(format))
            found.argb = format.id;
    }
    auto screens = xcb_render_query_pict_formats_screens_iterator(reply.get());
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_render_pictscreen_next(&screens);
    if (screens.rem == 0)
        return {};
    for (auto depth = xcb_render_pictscreen_depths_iterator(screens.data); depth.rem > 0;
         xcb_render_pictdepth_next(&depth)) {
        const std::span visuals(
            xcb_render_pictdepth_visuals(depth.data),
            static_cast<std::size_t>(xcb_render_pictdepth_visuals_length(depth.data)));
        for (const xcb_render_pictvisual_t& visual : visuals) {
            if (const auto format = ofColours.find(visual.format); format != ofColours.end())
                found.byVisual.emplace(visual.visual, format->second);
        }
    }
    return found;
}

}  // namespace qor::x11
