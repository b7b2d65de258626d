#include "window_choice.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "failure.h"
#include "window_list.h"

void checkWindows(const Options& options) {
    if (!options.window && options.excluded.empty()) {
        return;
    }
    const std::vector<Window> windows = listWindows();
    const auto isOnScreen = [&windows](std::uint32_t number) {
        return std::any_of(windows.begin(), windows.end(),
                           [number](const Window& window) { return window.number == number; });
    };
    if (options.window && !isOnScreen(*options.window)) {
        throw Failure(fmt::format("no window {} on screen; see 'capmgr windows'", *options.window));
    }
    for (const std::uint32_t number : options.excluded) {
        if (!isOnScreen(number)) {
            fmt::print(stderr, "note: no window {} on screen; nothing to leave out\n", number);
        }
    }
}
