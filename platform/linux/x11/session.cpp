#include "x11/session.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "coregraphics/trace.h"
#include "x11/desktop_image.h"
#include "x11/outputs.h"

namespace qor::x11 {

using coregraphics::Display;
using coregraphics::PixelBuffer;
using coregraphics::PixelRect;
using coregraphics::ServerState;

namespace {

constexpr int kMostGrabAttempts = 4;

PixelRect areaOf(const xcb_get_geometry_reply_t& geometry) {
    return {0, 0, geometry.width, geometry.height};
}

Request<xcb_get_geometry_reply_t> askRootGeometry(Connection& connection) {
    return {connection, xcb_get_geometry(connection.handle(), connection.screen().root)};
}

}  // namespace

Session::Session(const char* displayName) : connection_(displayName) {}

ServerState Session::refresh() {
    const ServerState state = connection_.refresh();
    if (state == ServerState::ready && !isPrepared_)
        prepare();
    if (state == ServerState::ready)
        windowPictures_.takeNotices();
    return state;
}

void Session::prepare() {
    isPrepared_ = true;
    const xcb_screen_t& screen = connection_.screen();
    root_ = {0, 0, screen.width_in_pixels, screen.height_in_pixels};
    format_ = findRootFormat(connection_);
    if (!format_)
        coregraphics::trace("no images: a depth of %u bits is not supported", screen.root_depth);
}

void Session::abandon() noexcept {
    connection_.abandon();
}

std::optional<std::vector<Display>> Session::displays() {
    const auto arrangement = askArrangement(connection_);
    return arrangement ? std::optional(displaysIn(*arrangement)) : std::nullopt;
}

std::optional<std::string> Session::displayName(std::uint32_t displayId) {
    const auto present = displays();
    if (!present || std::ranges::count(*present, displayId, &Display::id) == 0)
        return std::nullopt;
    if (displayId == connection_.screen().root)
        return std::string();
    if (const std::uint32_t name = monitorNameIn(displayId))
        return askAtomName(connection_, name);
    return askOutputName(connection_, displayId);
}

std::optional<PixelBuffer> Session::grab(const PixelRect& area) {
    if (!format_)
        return std::nullopt;
    // Asking for a pixel outside the root window is an error, and the root window can be resized at
    // any time. So its size is asked for in the same round trip as the image, which is cut to the
    // size last seen; if that was wrong, there is another round.
    for (int attempt = 0; attempt < kMostGrabAttempts; ++attempt) {
        const PixelRect visible = intersection(area, root_);
        PixelFormat format = format_->pixels;
        auto geometryRequest = askRootGeometry(connection_);
        std::optional<PaletteRequest> paletteRequest;
        if (format_->paletteSize > 0)
            paletteRequest.emplace(connection_, format_->paletteSize);
        GrabResult grabbed{GrabStatus::done};
        if (!visible.empty())
            grabbed = transport_.grab(connection_.screen().root, visible,
                                      rowBytes(format, visible.width) * visible.height);
        if (!connection_.answers())
            return std::nullopt;
        const auto geometry = geometryRequest.take();
        if (geometry == nullptr)
            return std::nullopt;
        const PixelRect before = std::exchange(root_, areaOf(*geometry));
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

std::optional<std::vector<std::uint32_t>> Session::windowsOnScreen() {
    return windowPictures_.numbersOnScreen();
}

std::optional<PixelBuffer> Session::grabWindows(const PixelRect& area,
                                                const std::vector<std::uint32_t>& windows) {
    return format_ ? windowPictures_.desktopOf(windows, area, format_->pixels) : std::nullopt;
}

std::optional<PixelBuffer> Session::grabWindow(const PixelRect& area, std::uint32_t window) {
    return format_ ? windowPictures_.aloneIn(area, window, format_->pixels) : std::nullopt;
}

}  // namespace qor::x11

namespace qor::coregraphics {

std::unique_ptr<DisplayServer> connectDisplayServer() {
    const char* displayName = std::getenv("DISPLAY");
    if (displayName == nullptr || *displayName == '\0') {
        trace("cannot connect: DISPLAY is not set");
        return nullptr;
    }
    return std::make_unique<x11::Session>(displayName);
}

}  // namespace qor::coregraphics
