#include "frame_keeper.h"

#include <utility>

void FrameKeeper::add(const FrameNews& news, Clock::time_point readAt) {
    const std::chrono::duration<double, std::milli> latency = readAt - news.grabBegan;
    latencies_.push_back(latency.count());
    missed_ += news.frames - 1;
    lastAt_ = readAt;
    if (frames() == 1) {
        first_ = older_ = newer_ = last_;
        firstAt_ = readAt;
        return;
    }
    if (frames() == newerNumber_ * 2) {
        newerNumber_ *= 2;
        std::swap(older_, newer_);
        newer_ = last_;
    }
}

double FrameKeeper::rate() const {
    const std::chrono::duration<double> span = lastAt_ - firstAt_;
    if (frames() < 2 || span.count() <= 0.0) {
        return 0.0;
    }
    return static_cast<double>(frames() + missed_ - 1) / span.count();
}

const Frame& FrameKeeper::middle() const {
    const std::uint64_t half = (frames() + 1) / 2;
    const std::uint64_t olderNumber = newerNumber_ / 2;
    return newerNumber_ - half < half - olderNumber ? newer_ : older_;
}
