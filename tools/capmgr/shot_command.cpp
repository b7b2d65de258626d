#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "commands.h"
#include "failure.h"
#include "frame_reader.h"
#include "monitor_choice.h"
#include "output_file.h"
#include "png_encoder.h"
#include "window_choice.h"

namespace {

constexpr unsigned int kQuickestRate = 30;

// How long an interruption may go unnoticed.
constexpr std::chrono::milliseconds kTick{100};

// A picture that has stayed the same for so long is at rest; one that moves is not waited for.
constexpr std::chrono::milliseconds kRest{200};
constexpr std::chrono::milliseconds kLongestUnrest{1000};

Frame takeFrame(FrameReader& reader, const Environment& environment) {
    Frame frame;
    while (!reader.read(frame, Clock::now() + kTick)) {
        if (environment.interruption.requested()) {
            throw Failure("interrupted before a frame came; nothing was written");
        }
    }
    return frame;
}

/*
 * Waits for the windows in a picture of chosen ones to be painted: when the display server begins
 * to keep their contents apart, it may ask applications to paint them anew, and the first frames
 * may show some without what belongs in them.
 */
void awaitRest(FrameReader& reader, Frame& frame, const Environment& environment) {
    const Clock::time_point last = Clock::now() + kLongestUnrest;
    Clock::time_point rested = Clock::now() + kRest;
    while (Clock::now() < std::min(rested, last) && !environment.interruption.requested()) {
        Frame next;
        if (reader.read(next, std::min({rested, last, Clock::now() + kTick})) &&
            next.pixels != frame.pixels) {
            std::swap(frame, next);
            rested = Clock::now() + kRest;
        }
    }
}

Frame takePicture(const MonitorChoice& choice, const Options& options,
                  const Environment& environment) {
    FrameReader reader(
        {choice.monitor.dwIndex, choice.size, kQuickestRate, options.excluded, options.window},
        environment.trace);
    Frame frame = takeFrame(reader, environment);
    if (options.window || !options.excluded.empty()) {
        awaitRest(reader, frame, environment);
    }
    return frame;
}

}  // namespace

void shotCommand(const Options& options, const Environment& environment) {
    const MonitorChoice choice = chooseMonitor(options);
    checkWindows(options);
    const OutputFile file(options.file);
    const Frame frame = takePicture(choice, options, environment);
    file.write(encodePng(frame), environment.interruption);
    environment.console.write(
        fmt::format("{}  {}\n", file.path().string(), sizeText({frame.width, frame.height})));
}
