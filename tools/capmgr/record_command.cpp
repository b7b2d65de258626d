#include <fmt/format.h>

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
#include "ffmpeg_log.h"
#include "frame_reader.h"
#include "json_output.h"
#include "option_values.h"
#include "record_progress.h"
#include "record_summary.h"
#include "recorder.h"
#include "recording_target.h"

namespace {

struct RecordOptions {
    CaptureOptions capture;
    std::string file;
    FormatWish wish;
    RecordingFormat format;  // what the wish comes to
    std::optional<double> seconds;
    bool json = false;

    bool isToStandardOutput() const { return file == kStandardOutput; }
};

/* What came from the capture, and how that ended. */
struct Outcome {
    std::optional<Clock::time_point> first;  // when the grab of the first frame began
    Clock::time_point end;                   // until when the last frame is shown
    std::uint64_t missed = 0;
    bool windowClosed = false;
    std::optional<Failure> failure;
};

class Recording {
  public:
    Recording(const RecordOptions& options, const CaptureChoice& choice,
              const Environment& environment, Console& console, Recorder& recorder)
        : options_(options),
          settings_(choice.settings),
          environment_(environment),
          recorder_(recorder),
          progress_(console, options.seconds, recorder),
          monitor_(choice.monitor),
          window_(settings_.window) {}

    /* Until the time is up, an interruption comes, the window closes or the recorder fails. */
    Outcome run() {
        try {
            FrameReader reader(settings_, environment_.trace);
            capture(reader);
        } catch (const Failure& failure) {
            outcome_.failure = failure;
            outcome_.end = endOfLastFrame();
        }
        progress_.finish();
        return outcome_;
    }

  private:
    void capture(FrameReader& reader) {
        Frame frame;
        while (!environment_.interruption.requested() && !recorder_.hasFailed()) {
            const Clock::time_point deadline =
                std::min({timeUp_, progress_.due(), Clock::now() + kInterruptionTick});
            const std::optional<FrameNews> news = reader.read(frame, deadline);
            const Clock::time_point now = Clock::now();
            if (news) {
                monitor_.check(now);
                take(frame, *news);
            }
            progress_.update(now - outcome_.first.value_or(now), now);
            if (now >= timeUp_) {
                outcome_.end = timeUp_;
                return;
            }
            if (!news && window_.isClosed(reader.hasNoImage(), now)) {
                outcome_.windowClosed = true;
                outcome_.end = endOfLastFrame();
                return;
            }
        }
        outcome_.end = Clock::now();
    }

    void take(Frame& frame, const FrameNews& news) {
        if (news.grabBegan >= timeUp_) {
            return;
        }
        if (!outcome_.first) {
            outcome_.first = news.grabBegan;
            if (options_.seconds) {
                const std::chrono::duration<double> length(*options_.seconds);
                timeUp_ = news.grabBegan + std::chrono::duration_cast<Clock::duration>(length);
            }
        }
        outcome_.missed += news.frames - 1;
        lastGrab_ = news.grabBegan;
        recorder_.add(frame, news.grabBegan);
    }

    Clock::time_point endOfLastFrame() const {
        return lastGrab_ + std::chrono::seconds(1) / settings_.framesPerSecond;
    }

    const RecordOptions& options_;
    const CaptureSettings& settings_;
    const Environment& environment_;
    Recorder& recorder_;
    RecordProgress progress_;
    MonitorWatch monitor_;
    WindowWatch window_;
    Outcome outcome_;
    Clock::time_point timeUp_ = Clock::time_point::max();
    Clock::time_point lastGrab_;
};

Failure reasonOfNothing(const Outcome& outcome, const CaptureSettings& settings) {
    if (outcome.failure) {
        return *outcome.failure;
    }
    return Failure(
        outcome.windowClosed
            ? fmt::format("window {} was closed before a frame came; nothing was written",
                          *settings.window)
            : "interrupted before a frame came; nothing was written");
}

RecordSummary summaryOf(const RecordOptions& options, const CaptureSettings& settings,
                        const RecordingTarget& target, const Recorder& recorder,
                        const Outcome& outcome) {
    const std::chrono::duration<double> length = outcome.end - *outcome.first;
    return {options.isToStandardOutput() ? "standard output" : target.name(),
            options.format,
            encodedSize(*options.format.codec, settings.size),
            length.count(),
            recorder.frames(),
            recorder.dropped(),
            outcome.missed,
            recorder.bytes()};
}

void record(const RecordOptions& options, const Environment& environment) {
    const CaptureChoice choice = chooseCapture(options.capture, environment);
    const CaptureSettings& settings = choice.settings;
    const FfmpegLog log(environment.trace);
    RecordingTarget target(options.file, environment.interruption);
    Recorder recorder(options.format, settings.size, settings.framesPerSecond, target,
                      environment.interruption);
    // Standard output holds nothing but the recording, or nothing but JSON.
    Console& talk =
        options.json || options.isToStandardOutput() ? environment.errors : environment.console;
    const Outcome outcome = Recording(options, choice, environment, talk, recorder).run();
    recorder.finish(outcome.end);
    if (!outcome.first) {
        throw reasonOfNothing(outcome, settings);
    }
    if (outcome.windowClosed) {
        environment.errors.note(
            fmt::format("window {} was closed; the recording ends there", *settings.window));
    }
    const RecordSummary summary = summaryOf(options, settings, target, recorder, outcome);
    options.json ? writeJson(environment.console, recordSummaryJson(summary))
                 : talk.write(recordSummary(summary));
    if (outcome.failure) {
        throw *outcome.failure;
    }
}

void addFormatOptions(CLI::App& command, RecordOptions& options) {
    command
        .add_option("--format", options.wish.container,
                    fmt::format("container: {} (default: what the name of the file ends in; mkv to "
                                "standard output)",
                                containerNames()))
        ->type_name("NAME");
    command
        .add_option("--codec", options.wish.codec,
                    fmt::format("{}; ffv1 loses nothing (default: the first)", codecNames()))
        ->type_name("NAME");
    command
        .add_option("--quality", options.wish.quality,
                    "low, medium or high, at the price of a larger file (default: medium)")
        ->type_name("NAME");
}

}  // namespace

void addRecordCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& command = *app.add_subcommand("record", "record a monitor or a window as a video");
    const auto options = std::make_shared<RecordOptions>();
    addCaptureOptions(command, options->capture);
    addRateOption(command, options->capture);
    command
        .add_option_function<std::string>(
            "--seconds",
            [options](const std::string& text) {
                options->seconds = parseSeconds("--seconds", text);
            },
            "how long, counted from the first frame (default: until Ctrl-C)")
        ->type_name("S");
    addFormatOptions(command, *options);
    addJsonOption(command, options->json);
    command
        .add_option_function<std::string>(
            "FILE", [options](const std::string& text) { options->file = parsePath("FILE", text); },
            "video to write, .mkv, .mp4, .webm or .y4m; replaced when it exists; '-' is standard "
            "output")
        ->type_name("")
        ->required();
    command.callback([options, &invocation] {
        options->format = chooseFormat(options->file, options->wish);
        if (options->json && options->isToStandardOutput()) {
            throw CLI::ValidationError(
                "--json and '-' cannot go together: both write to standard output");
        }
        invocation.command = [options](const Environment& environment) {
            record(*options, environment);
        };
    });
}
