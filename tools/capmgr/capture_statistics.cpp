#include "capture_statistics.h"

#include <utility>

#include "process_usage.h"

namespace {

double secondsBetween(Clock::time_point begin, Clock::time_point end) {
    return std::chrono::duration<double>(end - begin).count();
}

}  // namespace

CaptureStatistics::CaptureStatistics() : processorTimeBefore_(processorTime()) {
    all_.begin = recent_.begin = Clock::now();
}

void CaptureStatistics::add(const Frame& frame, const FrameNews& news, Clock::time_point readAt) {
    const std::chrono::duration<double, std::milli> latency = readAt - news.grabBegan;
    for (Stretch* stretch : {&all_, &recent_}) {
        stretch->frames += 1;
        stretch->missed += news.frames - 1;
        stretch->latencies.add(latency.count());
    }
    width_ = frame.width;
    height_ = frame.height;
}

CaptureFigures CaptureStatistics::take(Clock::time_point now, std::uint64_t standIns) {
    const std::chrono::microseconds processor = processorTime();
    const std::chrono::duration<double> used = processor - processorTimeBefore_;
    const double passed = secondsBetween(recent_.begin, now);
    CaptureFigures figures{secondsBetween(all_.begin, now),
                           recent_.figures(now),
                           all_.figures(now),
                           width_,
                           height_,
                           passed > 0.0 ? 100.0 * used.count() / passed : 0.0,
                           residentMemory()};
    figures.recent.standIns = standIns - std::exchange(standInsBefore_, standIns);
    figures.all.standIns = standIns;
    processorTimeBefore_ = processor;
    recent_ = Stretch{now, 0, 0, {}};
    return figures;
}

FrameFigures CaptureStatistics::Stretch::figures(Clock::time_point now) const {
    const double passed = secondsBetween(begin, now);
    const double rate = passed > 0.0 ? static_cast<double>(frames + missed) / passed : 0.0;
    return {frames, missed, 0, rate, latencies.summary()};
}
