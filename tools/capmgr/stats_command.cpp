#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "capture_choice.h"
#include "capture_watch.h"
#include "commands.h"
#include "frame_reader.h"
#include "json_output.h"
#include "option_values.h"
#include "stats_report.h"

namespace {

struct StatsOptions {
    CaptureOptions capture;
    std::optional<double> seconds;  // none: until it is ended
    double interval = 1.0;
    bool json = false;
};

constexpr double kShortestInterval = 0.1;

Clock::duration durationOf(double seconds) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

/* Shows the figures of a capture until it is to end. */
class Watcher {
  public:
    Watcher(const StatsOptions& options, const CaptureChoice& choice,
            const Environment& environment)
        : options_(options),
          choice_(choice),
          environment_(environment),
          reader_(choice.settings, environment.trace),
          monitor_(choice.monitor) {
        if (!options.json && environment.console.isInteractive()) {
            screen_.emplace(environment.console, environment.interruption);
            screen_->show(statsScreen(CaptureFigures{}, choice));
        }
    }

    void run() {
        const Clock::time_point end =
            options_.seconds ? begin_ + durationOf(*options_.seconds) : Clock::time_point::max();
        Clock::time_point due = begin_ + durationOf(options_.interval);
        while (Clock::now() < end && !isToEnd()) {
            const auto news =
                reader_.read(frame_, std::min({end, due, Clock::now() + kInterruptionTick}));
            const Clock::time_point now = Clock::now();
            if (news) {
                statistics_.add(frame_, *news, now);
                monitor_.check(now);
            }
            if (now >= due) {
                show();
                due = std::max(due + durationOf(options_.interval), now);
            }
        }
    }

  private:
    bool isToEnd() const {
        const bool quit = screen_ && screen_->takeKey().value_or('\0') == 'q';
        return quit || environment_.interruption.requested();
    }

    void show() {
        const CaptureFigures figures = statistics_.take(Clock::now(), reader_.standIns());
        if (options_.json) {
            writeJsonLine(environment_.console, describeStats(figures, choice_));
        } else if (screen_) {
            screen_->show(statsScreen(figures, choice_));
        } else {
            environment_.console.write(statsLine(figures, choice_));
        }
        environment_.console.finish();  // nobody is left to watch
    }

    const StatsOptions& options_;
    const CaptureChoice& choice_;
    const Environment& environment_;
    const Clock::time_point begin_ = Clock::now();
    FrameReader reader_;
    MonitorWatch monitor_;
    CaptureStatistics statistics_;
    Frame frame_;
    std::optional<TerminalScreen>
        screen_;  // last: the terminal is restored before the capture ends
};

void watchCapture(const StatsOptions& options, const Environment& environment) {
    const CaptureChoice choice = chooseCapture(options.capture, environment);
    Watcher(options, choice, environment).run();
}

double parseInterval(const std::string& text) {
    const double interval = parseSeconds("--interval", text);
    if (interval < kShortestInterval) {
        throw CLI::ValidationError("--interval", "'" + text + "' is less than 0.1");
    }
    return interval;
}

}  // namespace

void addStatsCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& stats = *app.add_subcommand(
        "stats", "watch the figures of a capture, redrawn on a terminal, else a line each");
    const auto options = std::make_shared<StatsOptions>();
    addCaptureOptions(stats, options->capture);
    addRateOption(stats, options->capture);
    stats
        .add_option_function<std::string>(
            "--seconds",
            [options](const std::string& text) {
                options->seconds = parseSeconds("--seconds", text);
            },
            "how long (default: until q or Ctrl-C)")
        ->type_name("S");
    stats
        .add_option_function<std::string>(
            "--interval",
            [options](const std::string& text) { options->interval = parseInterval(text); },
            "seconds from one look at the figures to the next, from 0.1 (default: 1)")
        ->type_name("S");
    addJsonOption(stats, options->json);
    stats.callback([options, &invocation] {
        invocation.command = [options](const Environment& environment) {
            watchCapture(*options, environment);
        };
    });
}
