#include "progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

namespace {

// A redraw more often than that is not seen; a log wants a line a second.
constexpr std::chrono::milliseconds kRedrawPeriod{100};
constexpr std::chrono::milliseconds kLinePeriod{1000};

constexpr std::size_t kMostBarCells = 30;

std::string cells(double share, std::size_t count) {
    const auto full = static_cast<std::size_t>(share * static_cast<double>(count));
    return std::string(full, '#') + std::string(count - full, '-');
}

}  // namespace

Progress::Progress(Console& console, double seconds)
    : console_(console),
      seconds_(seconds),
      interactive_(console.isInteractive()),
      due_(Clock::now() + (interactive_ ? kRedrawPeriod : kLinePeriod)) {}

void Progress::update(const FrameKeeper& frames, Clock::time_point now) {
    if (now < due_) {
        return;
    }
    due_ = now + (interactive_ ? kRedrawPeriod : kLinePeriod);
    draw(frames, now);
}

void Progress::finish(const FrameKeeper& frames) {
    if (interactive_ && frames.frames() > 0) {
        draw(frames, Clock::now());
    }
    if (drawn_) {
        console_.write("\n");
    }
}

void Progress::draw(const FrameKeeper& frames, Clock::time_point now) {
    takeLatency(frames);
    const bool begun = frames.frames() > 0;
    const std::chrono::duration<double> elapsed =
        begun ? now - frames.firstAt() : Clock::duration::zero();
    if (interactive_) {
        // Erased to the end because the new line may be shorter than the one under it.
        console_.write(fmt::format("\r{}\x1b[K", bar(elapsed.count(), state(frames))));
        drawn_ = true;
    } else {
        console_.write(fmt::format("{:.0f} s: {}\n", elapsed.count(), state(frames)));
    }
}

// The mean since the last time one was shown: that of the newest frame alone would only flicker.
void Progress::takeLatency(const FrameKeeper& frames) {
    const std::vector<double>& all = frames.latencies();
    if (all.size() == latenciesTaken_) {
        return;
    }
    const auto from = all.begin() + static_cast<std::ptrdiff_t>(latenciesTaken_);
    const auto count = static_cast<double>(all.size() - latenciesTaken_);
    latency_ = std::accumulate(from, all.end(), 0.0) / count;
    latenciesTaken_ = all.size();
}

std::string Progress::state(const FrameKeeper& frames) const {
    return fmt::format("{} frames, {:.1f} frames/s, latency {:.1f} ms", frames.frames(),
                       frames.rate(), latency_);
}

// Never as wide as the terminal: a line that wraps cannot be redrawn.
std::string Progress::bar(double elapsed, const std::string& state) const {
    const double share = std::clamp(elapsed / seconds_, 0.0, 1.0);
    const std::string clock =
        fmt::format("{:.1f} of {:g} s, ", std::min(elapsed, seconds_), seconds_);
    const std::size_t room = console_.columns() - 1;
    const std::size_t text = clock.size() + state.size() + 3;  // with brackets and a blank
    const std::size_t width = room > text ? std::min(room - text, kMostBarCells) : 0;
    const std::string line = fmt::format("[{}] {}{}", cells(share, width), clock, state);
    return line.substr(0, room);
}
