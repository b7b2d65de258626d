#include "window_pick.h"

#include <fmt/format.h>

#include <algorithm>

#include "display_text.h"
#include "failure.h"
#include "screen_click.h"
#include "window_list.h"

namespace {

bool contains(const Window& window, ScreenPoint point) {
    const std::int64_t x = std::int64_t{point.x} - window.left;
    const std::int64_t y = std::int64_t{point.y} - window.top;
    return x >= 0 && y >= 0 && x < window.width && y < window.height;
}

std::string known(const std::string& name) {
    return name.empty() ? "-" : printable(name);
}

Window windowAt(ScreenPoint point) {
    const std::vector<Window> windows = listWindows();
    const auto found = std::find_if(windows.begin(), windows.end(), [point](const Window& window) {
        return contains(window, point);
    });
    if (found == windows.end() || isDesktop(*found)) {
        throw Failure(fmt::format("there is no window at {},{}, only the desktop's background",
                                  point.x, point.y));
    }
    return *found;
}

}  // namespace

std::uint32_t pickWindow(std::string_view purpose, const Environment& environment) {
    ScreenClick click;
    environment.errors.note(
        fmt::format("click the window to {}; Esc or the right button cancels", purpose));
    const Window window = windowAt(click.await(environment.interruption));
    environment.errors.note(fmt::format("window {}, application {}, title {}", window.number,
                                        known(window.application), known(window.title)));
    return window.number;
}
