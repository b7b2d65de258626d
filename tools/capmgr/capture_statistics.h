/* The figures of a running capture: of all of it, and of the time since they were last taken. */
#ifndef CAPMGR_CAPTURE_STATISTICS_H
#define CAPMGR_CAPTURE_STATISTICS_H

#include <chrono>
#include <cstdint>

#include "frame.h"
#include "frame_watch.h"
#include "latency_counts.h"

/* Of a stretch of time. */
struct FrameFigures {
    std::uint64_t frames = 0;    // read
    std::uint64_t missed = 0;    // replaced before they were read
    std::uint64_t standIns = 0;  // black, in place of images that could not be had
    double framesPerSecond = 0.0;
    LatencySummary latency;
};

struct CaptureFigures {
    double seconds = 0.0;  // since the capture was started
    FrameFigures recent;   // since the figures before
    FrameFigures all;
    std::uint32_t width = 0;  // of the newest frame, pixels; 0 before the first
    std::uint32_t height = 0;
    double processorPercent = 0.0;  // of one processor, by this process, recently
    std::uint64_t memory = 0;       // bytes, of this process
};

class CaptureStatistics {
  public:
    CaptureStatistics();

    void add(const Frame& frame, const FrameNews& news, Clock::time_point readAt);

    /* standIns: how many there were since the beginning. */
    CaptureFigures take(Clock::time_point now, std::uint64_t standIns);

  private:
    struct Stretch {
        Clock::time_point begin;
        std::uint64_t frames = 0;
        std::uint64_t missed = 0;
        LatencyCounts latencies;

        FrameFigures figures(Clock::time_point now) const;
    };

    Stretch all_;
    Stretch recent_;
    std::uint64_t standInsBefore_ = 0;
    std::chrono::microseconds processorTimeBefore_;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
};

#endif
