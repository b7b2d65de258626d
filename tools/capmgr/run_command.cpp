#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "capture_choice.h"
#include "capture_watch.h"
#include "commands.h"
#include "failure.h"
#include "frame_keeper.h"
#include "frame_reader.h"
#include "json_output.h"
#include "option_values.h"
#include "output_directory.h"
#include "output_file.h"
#include "png_encoder.h"
#include "run_progress.h"
#include "run_summary.h"

namespace {

struct RunOptions {
    CaptureOptions capture;
    std::string directory = "captures";
    double seconds = 5.0;
    bool json = false;
};

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
void readFrames(const CaptureChoice& choice, double seconds, const Environment& environment,
                FrameKeeper& frames, RunProgress& progress) {
    const std::chrono::duration<double> length(seconds);
    FrameReader reader(choice.settings, environment.trace);
    MonitorWatch monitor(choice.monitor);
    Clock::time_point end = Clock::time_point::max();
    while (!environment.interruption.requested()) {
        const Clock::time_point deadline =
            std::min({end, progress.due(), Clock::now() + kInterruptionTick});
        const std::optional<FrameNews> news = reader.read(frames.next(), deadline);
        const Clock::time_point now = Clock::now();
        if (news) {
            frames.add(*news, now);
            monitor.check(now);
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

/* The failure that ended the run early, if one did. */
std::optional<Failure> readUntilFailure(const CaptureChoice& choice, const RunOptions& options,
                                        const Environment& environment, FrameKeeper& frames) {
    std::optional<Failure> failure;
    // With --json standard output is one document.
    RunProgress progress(options.json ? environment.errors : environment.console, options.seconds);
    try {
        readFrames(choice, options.seconds, environment, frames, progress);
    } catch (const Failure& reason) {
        failure = reason;
    }
    progress.finish(frames);
    return failure;
}

void runCapture(const RunOptions& options, const Environment& environment) {
    const CaptureChoice choice = chooseCapture(options.capture, environment);
    OutputDirectory directory(options.directory);
    const Pictures pictures(directory.path());
    FrameKeeper frames;
    const std::optional<Failure> failure = readUntilFailure(choice, options, environment, frames);
    if (frames.frames() == 0) {
        throw failure.value_or(Failure("interrupted before a frame came; nothing was written"));
    }
    directory.keep();
    pictures.write(frames, environment.interruption);
    if (options.json) {
        writeJson(environment.console, describeRun(frames, choice.monitor, pictures.paths()));
    } else {
        environment.console.write(runSummary(frames, choice.monitor, pictures.paths()));
    }
    if (failure) {
        throw *failure;
    }
}

}  // namespace

void addRunCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& run = *app.add_subcommand(
        "run", "capture a monitor for a while; writes three pictures and a summary");
    const auto options = std::make_shared<RunOptions>();
    addCaptureOptions(run, options->capture);
    addRateOption(run, options->capture);
    run.add_option_function<std::string>(
           "--seconds",
           [options](const std::string& text) {
               options->seconds = parseSeconds("--seconds", text);
           },
           "how long, counted from the first frame (default: 5)")
        ->type_name("S");
    run.add_option_function<std::string>(
           "--out",
           [options](const std::string& text) { options->directory = parsePath("--out", text); },
           "directory for first.png, middle.png and last.png, created if absent "
           "(default: captures)")
        ->type_name("DIR");
    addJsonOption(run, options->json);
    run.callback([options, &invocation] {
        invocation.command = [options](const Environment& environment) {
            runCapture(*options, environment);
        };
    });
}
