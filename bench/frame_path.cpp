// What does sharing a screen cost, client and server together?
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "frame_path_host.h"
#include "frame_path_scene.h"
#include "frame_path_tables.h"
#include "frame_path_worker.h"
#include "program.h"

namespace qor::bench {

namespace {

constexpr int kTurns = 30;

constexpr Size kSmaller = {1280, 720};

struct Case {
    SceneKind scene;
    Size screen;
    Size delivered;
    double bar;  // cost of ours against the cheapest peer's
};

constexpr Size kFullHd = {1920, 1080};
constexpr Size kUltraHd = {3840, 2160};

constexpr Case kCases[] = {
    {SceneKind::still, kFullHd, kFullHd, 0.45},   {SceneKind::still, kUltraHd, kUltraHd, 0.70},
    {SceneKind::still, kFullHd, kSmaller, 0.25},  {SceneKind::still, kUltraHd, kSmaller, 0.20},
    {SceneKind::moving, kFullHd, kFullHd, 0.75},  {SceneKind::moving, kUltraHd, kUltraHd, 0.75},
    {SceneKind::moving, kFullHd, kSmaller, 0.45}, {SceneKind::moving, kUltraHd, kSmaller, 0.40},
    {SceneKind::full, kFullHd, kFullHd, 1.40},    {SceneKind::full, kUltraHd, kUltraHd, 1.45},
    {SceneKind::full, kFullHd, kSmaller, 0.85},   {SceneKind::full, kUltraHd, kSmaller, 0.80},
};

struct LeftOutCase {
    SceneKind scene;
    Size screen;
    double bar;  // cost against that of the same scene with nothing left out
};

constexpr LeftOutCase kLeftOutCases[] = {
    {SceneKind::twoWindows, kFullHd, 1.5},
    {SceneKind::twoWindows, kUltraHd, 1.5},
    {SceneKind::twoAndMoving, kFullHd, 2.5},
    {SceneKind::twoAndMoving, kUltraHd, 2.5},
};

// With one capture; 1920x1080 is among the rows by number of captures.
constexpr Size kScreens[] = {{640, 360}, {1280, 720}, {2560, 1440}, {3840, 2160}, {7680, 4320}};
constexpr int kCaptures[] = {1, 2, 4, 8};

RunPlan oursOf(SceneKind scene, Size screen, Shown shown = Shown::everything) {
    return {scene, screen, Taker::ours, screen, shown};
}

std::string nameOf(const Case& plan) {
    const std::string name =
        fmt::format("{} {}", qor::bench::nameOf(plan.screen), nameOf(plan.scene));
    return plan.delivered.width == plan.screen.width
               ? name
               : fmt::format("{} to {}", name, qor::bench::nameOf(plan.delivered));
}

void measurePeers(const Options& options, Measurements& measured, PaceTable& pace, Report& report) {
    PeerTable peers;
    for (const Case& plan : kCases) {
        if (options.wants(nameOf(plan))) {
            RunPlan ours = oursOf(plan.scene, plan.screen);
            ours.delivered = plan.delivered;
            peers.add(nameOf(plan), ours, plan.bar, measured);
            pace.add(nameOf(plan), ours, measured);
        }
    }
    peers.reportTo(report);
}

void measureLeftOut(const Options& options, Measurements& measured, PaceTable& pace,
                    Report& report) {
    RatioTable table("two windows left out", "left out", "nothing left out");
    for (const LeftOutCase& plan : kLeftOutCases) {
        const std::string name =
            fmt::format("{} {}", qor::bench::nameOf(plan.screen), nameOf(plan.scene));
        if (options.wants(name)) {
            const RunPlan ours = oursOf(plan.scene, plan.screen, Shown::withoutTwoWindows);
            table.add(name, measured.cost(ours).together(),
                      measured.cost(oursOf(plan.scene, plan.screen)).together(), plan.bar);
            pace.add(name, ours, measured);
        }
    }
    table.reportTo(report);
}

// What the motion of one window costs, against that of the whole screen.
void measureSingle(const Options& options, Measurements& measured, PaceTable& pace,
                   Report& report) {
    RatioTable table("one window alone, its motion", "of the window", "of the screen");
    std::vector<std::string> raw;
    for (const Size screen : {kFullHd, kUltraHd}) {
        const std::string name = fmt::format("{} one window", qor::bench::nameOf(screen));
        if (!options.wants(name)) {
            continue;
        }
        const auto cost = [&](SceneKind scene, Shown shown) {
            return measured.cost(oursOf(scene, screen, shown)).together();
        };
        const double changing = cost(SceneKind::singleChanging, Shown::singleWindow);
        const double still = cost(SceneKind::singleStill, Shown::singleWindow);
        const double full = cost(SceneKind::full, Shown::everything);
        const double rest = cost(SceneKind::still, Shown::everything);
        const double share = static_cast<double>(kSingle.width * kSingle.height) /
                             static_cast<double>(screen.width * screen.height);
        table.add(name, changing - still, full - rest, share);
        pace.add(name, oursOf(SceneKind::singleChanging, screen, Shown::singleWindow), measured);
        raw.push_back(
            fmt::format("  {}: window changing {:.3f}, still {:.3f}; screen changing "
                        "{:.3f}, still {:.3f}",
                        name, changing, still, full, rest));
    }
    table.reportTo(report);
    for (const std::string& line : raw) {
        report.line(line);
    }
}

void measureScale(const Options& options, Measurements& measured, Report& report) {
    ScaleTable table;
    const auto add = [&](Size screen, int captures) {
        if (options.wants(qor::bench::nameOf(screen))) {
            RunPlan ours = oursOf(SceneKind::full, screen);
            ours.captures = captures;
            table.add(ours, measured);
        }
    };
    for (const int captures : kCaptures) {
        add(kFullHd, captures);
    }
    for (const Size screen : kScreens) {
        add(screen, 1);
    }
    table.reportTo(report);
}

// Of what a program says about itself; "unknown" where it cannot be asked.
std::string firstLineOf(const std::vector<std::string>& command) {
    try {
        Worker program(command.front(), command, {});
        program.waitForEnd();
        const std::string output = program.output();
        return output.substr(0, output.find('\n'));
    } catch (const std::runtime_error&) {
        return "unknown";
    }
}

void describeOthers(Report& report) {
    report.describe("server",
                    firstLineOf({"dpkg-query", "-W", "-f", "${Package} ${Version}", "xvfb"}));
    report.describe("ffmpeg", firstLineOf({"ffmpeg", "-version"}));
    report.describe("gstreamer", firstLineOf({"gst-launch-1.0", "--version"}));
}

int runMeasurements(int argc, char** argv) {
    heedSignals();
    bool isScale = false;
    const auto measure = [&](const Options& options, Report& report) {
        report.describe("a turn", fmt::format("{:.2f} s", kTurnSeconds));
        describeOthers(report);
        Measurements measured(options.rounds);
        if (isScale) {
            measureScale(options, measured, report);
        } else {
            PaceTable pace;
            measurePeers(options, measured, pace, report);
            measureLeftOut(options, measured, pace, report);
            measureSingle(options, measured, pace, report);
            pace.reportTo(report);
        }
        measured.reportTo(report);
    };
    const auto addOptions = [&](CLI::App& app, Options& options) {
        app.add_flag("--scale", isScale, "several captures, and screens of many sizes, instead");
        app.add_option_function<int>(
               "--seconds",
               [&](int seconds) {
                   options.rounds = static_cast<int>(std::lround(seconds / kTurnSeconds));
               },
               "how long each measurement takes, instead of --rounds")
            ->check(CLI::Range(1, 3600))
            ->excludes("--rounds");
    };
    return runProgram({"frame_path", "What does sharing a screen cost, client and server together?",
                       kTurns, measure, addOptions},
                      argc, argv);
}

}  // namespace

}  // namespace qor::bench

int main(int argc, char** argv) {
    using namespace qor::bench;
    // The processes of a measurement are this program again.
    if (argc == 3 && std::strcmp(argv[1], "scene") == 0) {
        return runScene(argv[2]);
    }
    if (argc == 4 && std::strcmp(argv[1], "host") == 0) {
        return runHost(argv[2], argv[3]);
    }
    return runMeasurements(argc, argv);
}
