#include <SDL_syswm.h>
#include <X11/Xlib.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>

#include "viewer_platform.h"

namespace {

// Two threads may find out at the same time; one line is enough.
[[noreturn]] void endWith(const char* line) {
    static std::atomic<bool> ending{false};
    if (!ending.exchange(true)) {
        std::fprintf(stderr, "capmgr: %s\n", line);
        _exit(1);
    }
    while (true) {
        pause();
    }
}

int onServerLost(Display* /*display*/) {
    endWith("the connection to the display server is lost");
}

int onRefusal(Display* display, XErrorEvent* error) {
    std::array<char, 128> reason{};
    XGetErrorText(display, error->error_code, reason.data(), static_cast<int>(reason.size()));
    std::array<char, 256> line{};
    std::snprintf(line.data(), line.size(),
                  "the display server refused a request of the window: %s", reason.data());
    endWith(line.data());
}

}  // namespace

std::optional<std::uint32_t> windowNumber(SDL_Window* window) {
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    if (SDL_GetWindowWMInfo(window, &info) == SDL_FALSE || info.subsystem != SDL_SYSWM_X11) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(info.info.x11.window);
}

void endWhenServerIsLost() {
    XSetIOErrorHandler(onServerLost);
    XSetErrorHandler(onRefusal);
}
