// One measurement: a server of its own, a scene on it, and one contender that takes frames of it.
//
// To be called on the main thread, which the processes that are started end with.
#ifndef QOR_BENCH_FRAME_PATH_RUN_H
#define QOR_BENCH_FRAME_PATH_RUN_H

#include <string>

#include "frame_path_board.h"
#include "frame_path_scene_plan.h"

namespace qor::bench {

constexpr int kFramesPerSecond = 30;
constexpr double kTurnSeconds = 1.0 / 3;
constexpr double kLateMs = 43.4;  // a period and ten milliseconds

enum class Taker { nobody, ours, ffmpeg, gstreamer };

struct RunPlan {
    SceneKind scene;
    Size screen;
    Taker taker;
    Size delivered;
    Shown shown = Shown::everything;
    int captures = 1;
};

std::string nameOf(const RunPlan& plan);

// Over the turns, which begin when the taker has been at work for a while.
struct Usage {
    double seconds;           // of the clock
    double taker;             // seconds of CPU
    double server;            // likewise, the drawing of the scene included
    double spread;            // of both together, between turns: interquartile range by median
    double frames;            // finished, by all captures
    double framesPerSecond;   // of each capture
    double longestMs;         // from one frame to the next
    int late;                 // intervals longer than kLateMs
    double changesPerSecond;  // that the scene made
};

// Throws when the taker fails, takes no frames, or (ours) frames are not what the scene drew.
Usage measureUsage(const RunPlan& plan, int turns);

struct Latency {
    double medianMs;  // from a change being on the screen to it being in the frame buffer
    double worstMs;   // all but a hundredth are below
    double grabMs;    // the median time that taking a frame takes, delivery included
    size_t changes;   // looked at
    uint32_t missed;  // that were in no frame
};

// Of ours; the scene makes a change every tenth of a second or so, at irregular times.
Latency measureLatency(const RunPlan& plan, int turns);

}  // namespace qor::bench

#endif
