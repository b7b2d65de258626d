#include "x11/session.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "coregraphics/trace.h"
#include "x11/desktop_image.h"
#include "x11/outputs.h"

namespace qor::x11 {

using coregraphics::Display;
using coregraphics::ImageReference;
using coregraphics::PixelRect;
using coregraphics::ServerState;

Session::Session(const char* displayName) : connection_(displayName) {}

ServerState Session::refresh() {
    const ServerState state = connection_.refresh();
    if (state == ServerState::ready)
        windowPictures_.takeNotices();
    return state;
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

ImageReference Session::grab(const PixelRect& area) {
    return screenContent_.update(area) ? screenContent_.image() : nullptr;
}

std::optional<std::vector<std::uint32_t>> Session::windowsOnScreen() {
    return windowPictures_.numbersOnScreen();
}

std::optional<std::vector<coregraphics::WindowDescription>> Session::windowDescriptions() {
    const auto stack = windowPictures_.listWindows();
    return stack ? windowDescriptions_.describe(stack->windows) : std::nullopt;
}

ImageReference Session::grabWindows(const PixelRect& area,
                                    const std::vector<std::uint32_t>& windows) {
    return windowPictures_.desktopOf(windows, area);
}

ImageReference Session::grabWindow(const PixelRect& area, std::uint32_t window) {
    return windowPictures_.aloneIn(area, window);
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
