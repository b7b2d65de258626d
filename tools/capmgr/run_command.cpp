#include <algorithm>
#include <array>
#include <optional>

#include "commands.h"
#include "failure.h"
#include "frame_keeper.h"
#include "frame_reader.h"
#include "monitor_choice.h"
#include "output_directory.h"
#include "output_file.h"
#include "png_encoder.h"
#include "progress.h"
#include "run_summary.h"
#include "window_choice.h"

namespace {

// How long an interruption may go unnoticed.
constexpr std::chrono::milliseconds kTick{100};

/* The three pictures of a run, in the order of the frames. */
class Pictures {
  public:
    explicit Pictures(const std::filesystem::path& directory)
        : first_(directory / "first.png"),
          middle_(directory / "middle.png"),
          last_(directory / "last.png") {}

    void write(const FrameKeeper& frames, Interruption& interruption) const {
        first_.write(encodePng(frames.first()), interruption);
        middle_.write(encodePng(frames.middle()), interruption);
        last_.write(encodePng(frames.last()), interruption);
    }

    std::vector<std::filesystem::path> paths() const {
        return {first_.path(), middle_.path(), last_.path()};
    }

  private:
    OutputFile first_;
    OutputFile middle_;
    OutputFile last_;
};

/* Captures until the time is up or an interruption comes. The time counts from the first frame. */
void record(FrameReader& reader, const Options& options, const Environment& environment,
            FrameKeeper& frames, Progress& progress) {
    const std::chrono::duration<double> length(options.seconds);
    Clock::time_point end = Clock::time_point::max();
    while (!environment.interruption.requested()) {
        const Clock::time_point deadline = std::min({end, progress.due(), Clock::now() + kTick});
        const std::optional<FrameNews> news = reader.read(frames.next(), deadline);
        const Clock::time_point now = Clock::now();
        if (news) {
            frames.add(*news, now);
        }
        if (news && frames.frames() == 1) {
            end = now + std::chrono::duration_cast<Clock::duration>(length);
        }
        progress.update(frames, now);
        if (now >= end) {
            return;
        }
    }
}

/* The failure that ended the recording early, if one did. */
std::optional<Failure> recordUntilFailure(const MonitorChoice& choice, const Options& options,
                                          const Environment& environment, FrameKeeper& frames) {
    std::optional<Failure> failure;
    Progress progress(environment.console, options.seconds);
    try {
        FrameReader reader({choice.monitor.dwIndex, choice.size, options.framesPerSecond,
                            options.excluded, options.window},
                           environment.trace);
        record(reader, options, environment, frames, progress);
    } catch (const Failure& reason) {
        failure = reason;
    }
    progress.finish(frames);
    return failure;
}

}  // namespace

void runCommand(const Options& options, const Environment& environment) {
    const MonitorChoice choice = chooseMonitor(options);
    checkWindows(options);
    OutputDirectory directory(options.directory);
    const Pictures pictures(directory.path());
    FrameKeeper frames;
    const std::optional<Failure> failure = recordUntilFailure(choice, options, environment, frames);
    if (frames.frames() == 0) {
        throw failure.value_or(Failure("interrupted before a frame came; nothing was written"));
    }
    directory.keep();
    pictures.write(frames, environment.interruption);
    environment.console.write(runSummary(frames, choice, pictures.paths()));
    if (failure) {
        throw *failure;
    }
}
