#include "x11/picture_formats.h"

#include <set>
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

std::set<xcb_render_pictformat_t> formatsOfColours(
    const xcb_render_query_pict_formats_reply_t& all) {
    const std::span formats(
        xcb_render_query_pict_formats_formats(&all),
        static_cast<std::size_t>(xcb_render_query_pict_formats_formats_length(&all)));
    std::set<xcb_render_pictformat_t> found;
    for (const xcb_render_pictforminfo_t& format : formats) {
        if (format.type == XCB_RENDER_PICT_TYPE_DIRECT)
            found.insert(format.id);
    }
    return found;
}

}  // namespace

PictureFormats findPictureFormats(xcb_connection_t* handle, int screenNumber) {
    if (!offersSolidPictures(handle))
        return {};
    const Reply<xcb_render_query_pict_formats_reply_t> reply(xcb_render_query_pict_formats_reply(
        handle, xcb_render_query_pict_formats(handle), nullptr));
    if (reply == nullptr)
        return {};
    const auto ofColours = formatsOfColours(*reply);
    auto screens = xcb_render_query_pict_formats_screens_iterator(reply.get());
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_render_pictscreen_next(&screens);
    if (screens.rem == 0)
        return {};
    PictureFormats byVisual;
    for (auto depth = xcb_render_pictscreen_depths_iterator(screens.data); depth.rem > 0;
         xcb_render_pictdepth_next(&depth)) {
        const std::span visuals(
            xcb_render_pictdepth_visuals(depth.data),
            static_cast<std::size_t>(xcb_render_pictdepth_visuals_length(depth.data)));
        for (const xcb_render_pictvisual_t& visual : visuals) {
            if (ofColours.contains(visual.format))
                byVisual.emplace(visual.visual, visual.format);
        }
    }
    return byVisual;
}

}  // namespace qor::x11
