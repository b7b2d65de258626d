#include "progress.h"

#include <fmt/format.h>

#include <algorithm>

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

Progress::Progress(Console& console, std::optional<double> seconds)
    : console_(console),
      seconds_(seconds),
      interactive_(console.isInteractive()),
      due_(Clock::now() + (interactive_ ? kRedrawPeriod : kLinePeriod)) {}

void Progress::show(Clock::duration elapsed, Clock::time_point now, const std::string& state) {
    due_ = now + (interactive_ ? kRedrawPeriod : kLinePeriod);
    const double seconds = std::chrono::duration<double>(elapsed).count();
    if (interactive_) {
        // Erased to the end because the new line may be shorter than the one under it.
        console_.write(fmt::format("\r{}\x1b[K", line(seconds, state)));
        drawn_ = true;
    } else {
        console_.write(fmt::format("{:.0f} s: {}\n", seconds, state));
    }
}

void Progress::finish() {
    if (drawn_) {
        console_.write("\n");
    }
}

// Never as wide as the terminal: a line that wraps cannot be redrawn.
std::string Progress::line(double elapsed, const std::string& state) const {
    const std::size_t room = console_.columns() - 1;
    if (!seconds_) {
        return fmt::format("{:.1f} s, {}", elapsed, state).substr(0, room);
    }
    const double share = std::clamp(elapsed / *seconds_, 0.0, 1.0);
    const std::string clock =
        fmt::format("{:.1f} of {:g} s, ", std::min(elapsed, *seconds_), *seconds_);
    const std::size_t text = clock.size() + state.size() + 3;  // with brackets and a blank
    const std::size_t width = room > text ? std::min(room - text, kMostBarCells) : 0;
    const std::string line = fmt::format("[{}] {}{}", cells(share, width), clock, state);
    const std::size_t full = std::min(line.find_first_not_of('#', 1), room);
    return line.substr(0, 1) + console_.styled(line.substr(1, full - 1), Style::Good) +
           line.substr(full, room - full);
}
