/*
 * livescene: draws a moving desktop on the X server in DISPLAY until it is told to end (SIGTERM,
 * SIGINT) or the server goes away. Writes one line, "ready", once the first scene is on the screen.
 */
#include <poll.h>

#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

#include "canvas.h"
#include "scene.h"

namespace {

volatile std::sig_atomic_t endRequested = 0;

void requestEnd(int) {
    endRequested = 1;
}

// Without SA_RESTART, so that the wait between two frames ends as well.
void takeEndSignals() {
    struct sigaction action {};
    action.sa_handler = requestEnd;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

std::optional<unsigned int> parseFrameRate(int argc, char** argv) {
    constexpr unsigned int kUsual = 30;
    constexpr unsigned int kMost = 60;
    if (argc == 1) {
        return kUsual;
    }
    unsigned int rate = 0;
    if (argc != 3 || std::strcmp(argv[1], "--fps") != 0) {
        return std::nullopt;
    }
    const char* const end = argv[2] + std::strlen(argv[2]);
    const auto [stop, error] = std::from_chars(argv[2], end, rate);
    const bool valid = error == std::errc() && stop == end && rate >= 1 && rate <= kMost;
    return valid ? std::optional(rate) : std::nullopt;
}

// Wakes early when the server sends something or goes away.
void waitUntil(std::chrono::steady_clock::time_point time, const Canvas& canvas) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(time - std::chrono::steady_clock::now());
    if (left > milliseconds::zero()) {
        pollfd server{canvas.descriptor(), POLLIN, 0};
        poll(&server, 1, static_cast<int>(left.count()));
    }
}

void animate(Canvas& canvas, unsigned int framesPerSecond) {
    const auto period = std::chrono::nanoseconds(std::chrono::seconds(1)) / framesPerSecond;
    Scene scene(canvas);
    auto next = std::chrono::steady_clock::now();
    for (std::uint64_t frame = 0; endRequested == 0 && canvas.alive(); ++frame) {
        scene.draw(frame);
        if (frame == 0 && canvas.alive()) {
            std::puts("ready");
            std::fflush(stdout);
        }
        next += period;
        while (endRequested == 0 && canvas.alive() && std::chrono::steady_clock::now() < next) {
            waitUntil(next, canvas);
            canvas.finishDrawing();  // takes what woke it, else it would wake at once again
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<unsigned int> framesPerSecond = parseFrameRate(argc, argv);
    if (!framesPerSecond) {
        std::fputs("livescene: usage: livescene [--fps RATE], 1 to 60 (default 30)\n", stderr);
        return 2;
    }
    takeEndSignals();
    std::signal(SIGPIPE, SIG_IGN);
    Canvas canvas;
    if (!canvas.alive()) {
        std::fputs("livescene: cannot reach the X server in DISPLAY\n", stderr);
        return 1;
    }
    animate(canvas, *framesPerSecond);
    if (endRequested == 0) {
        std::fputs("livescene: the X server went away\n", stderr);
        return 1;
    }
    return 0;
}
