#include "run_progress.h"

#include <fmt/format.h>

#include <numeric>

void RunProgress::update(const FrameKeeper& frames, Clock::time_point now) {
    if (now >= due()) {
        show(frames, now);
    }
}

void RunProgress::finish(const FrameKeeper& frames) {
    if (progress_.isRedrawn() && frames.frames() > 0) {
        show(frames, Clock::now());
    }
    progress_.finish();
}

void RunProgress::show(const FrameKeeper& frames, Clock::time_point now) {
    takeLatency(frames);
    const bool begun = frames.frames() > 0;
    progress_.show(begun ? now - frames.firstAt() : Clock::duration::zero(), now,
                   fmt::format("{} frames, {:.1f} frames/s, latency {:.1f} ms", frames.frames(),
                               frames.rate(), latency_));
}

// The mean since the last time one was shown: that of the newest frame alone would only flicker.
void RunProgress::takeLatency(const FrameKeeper& frames) {
    const std::vector<double>& all = frames.latencies();
    if (all.size() == latenciesTaken_) {
        return;
    }
    const auto from = all.begin() + static_cast<std::ptrdiff_t>(latenciesTaken_);
    const auto count = static_cast<double>(all.size() - latenciesTaken_);
    latency_ = std::accumulate(from, all.end(), 0.0) / count;
    latenciesTaken_ = all.size();
}
