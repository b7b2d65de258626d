#include <fmt/format.h>

#include "commands.h"
#include "failure.h"
#include "frame_reader.h"
#include "monitor_choice.h"
#include "output_file.h"
#include "png_encoder.h"

namespace {

constexpr unsigned int kQuickestRate = 30;

// How long an interruption may go unnoticed.
constexpr std::chrono::milliseconds kTick{100};

Frame takeFrame(const MonitorChoice& choice, const Environment& environment) {
    FrameReader reader({choice.monitor.dwIndex, choice.size, kQuickestRate}, environment.trace);
    Frame frame;
    while (!reader.read(frame, Clock::now() + kTick)) {
        if (environment.interruption.requested()) {
            throw Failure("interrupted before a frame came; nothing was written");
        }
    }
    return frame;
}

}  // namespace

void shotCommand(const Options& options, const Environment& environment) {
    const MonitorChoice choice = chooseMonitor(options);
    const OutputFile file(options.file);
    const Frame frame = takeFrame(choice, environment);
    file.write(encodePng(frame), environment.interruption);
    environment.console.write(
        fmt::format("{}  {}\n", file.path().string(), sizeText({frame.width, frame.height})));
}
