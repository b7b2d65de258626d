#include "x11/screen_content.h"

#include <utility>

#include "coregraphics/trace.h"
#include "x11/desktop_image.h"

namespace qor::x11 {

using coregraphics::PixelBuffer;
using coregraphics::PixelRect;

namespace {

constexpr int kMostAttempts = 4;

}  // namespace

bool ScreenContent::findFormat() {
    if (std::exchange(hasLookedForFormat_, true))
        return format_.has_value();
    const xcb_screen_t& screen = connection_.screen();
    root_ = {0, 0, screen.width_in_pixels, screen.height_in_pixels};
    format_ = findRootFormat(connection_);
    if (!format_)
        coregraphics::trace("no images: a depth of %u bits is not supported", screen.root_depth);
    return format_.has_value();
}

std::optional<PixelBuffer> ScreenContent::grab(const PixelRect& area) {
    if (!findFormat())
        return std::nullopt;
    const xcb_window_t root = connection_.screen().root;
    // Asking for a pixel outside the root window is an error, and the root window can be resized at
    // any time. So its size is asked for in the same round trip as the image, which is cut to the
    // size last seen; if that was wrong, there is another round.
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        const PixelRect visible = intersection(area, root_);
        PixelFormat format = format_->pixels;
        Request<xcb_get_geometry_reply_t> geometryRequest(
            connection_, xcb_get_geometry(connection_.handle(), root));
        std::optional<PaletteRequest> paletteRequest;
        if (format_->paletteSize > 0)
            paletteRequest.emplace(connection_, format_->paletteSize);
        GrabResult grabbed{GrabStatus::done};
        if (!visible.empty())
            grabbed =
                transport_.grab(root, visible, rowBytes(format, visible.width) * visible.height);
        if (!connection_.answers())
            return std::nullopt;
        const auto geometry = geometryRequest.take();
        if (geometry == nullptr)
            return std::nullopt;
        const PixelRect before =
            std::exchange(root_, PixelRect{0, 0, geometry->width, geometry->height});
        if (before != root_ || grabbed.status == GrabStatus::mismatch)
            continue;
        if (grabbed.status != GrabStatus::done)
            return std::nullopt;
        if (paletteRequest && (format.palette = paletteRequest->take()).empty())
            return std::nullopt;
        return desktopImage(area, visible, format, std::move(grabbed.bytes));
    }
    return std::nullopt;
}

}  // namespace qor::x11
