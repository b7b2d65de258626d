#include "capture_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <string>

#include "option_values.h"

namespace {

void addWindowOptions(CLI::App& command, CaptureOptions& options) {
    addExcludeOption(command, options);
    command
        .add_option_function<std::string>(
            "--window",
            [&options](const std::string& text) { options.window = parseWindow("--window", text); },
            "capture this window alone, at its place on the monitor")
        ->type_name("ID");
    command
        .add_flag("--pick", options.isPicked,
                  "capture the window that is clicked alone; Esc or the right button cancels")
        ->disable_flag_override();
    command
        .add_flag(
            "--pick-exclude", options.excludedByClick,
            "leave the window that is clicked out of the picture; may be given several times, "
            "for a click each")
        ->disable_flag_override();
}

void refuseContradictions(const CaptureOptions& options) {
    if (options.window && options.isPicked) {
        throw CLI::ValidationError(
            "--window and --pick cannot go together: both say which window to capture");
    }
    const bool showsOne = options.window || options.isPicked;
    const bool leavesOut = !options.excluded.empty() || options.excludedByClick > 0;
    if (showsOne && leavesOut) {
        throw CLI::ValidationError(
            fmt::format("{} and {} cannot go together: a picture of one window shows no other",
                        options.isPicked ? "--pick" : "--window",
                        options.excluded.empty() ? "--pick-exclude" : "--exclude"));
    }
}

}  // namespace

void addCaptureOptions(CLI::App& command, CaptureOptions& options) {
    command
        .add_option_function<std::string>(
            "--monitor",
            [&options](const std::string& text) {
                options.monitor = parseWholeNumber("--monitor", text, 0, 0xFFFFFFFEU);
            },
            "monitor to capture, by its index (default: the primary one)")
        ->type_name("INDEX");
    command
        .add_option_function<std::string>(
            "--size",
            [&options](const std::string& text) { options.size = parseSize("--size", text); },
            "size of the frames in pixels, at most the monitor's (default: the monitor's)")
        ->type_name("WIDTHxHEIGHT");
    addWindowOptions(command, options);
    command.parse_complete_callback([&options] { refuseContradictions(options); });
}

void addExcludeOption(CLI::App& command, CaptureOptions& options) {
    command
        .add_option_function<std::vector<std::string>>(
            "--exclude",
            [&options](const std::vector<std::string>& texts) {
                for (const std::string& text : texts) {
                    options.excluded.push_back(parseWindow("--exclude", text));
                }
            },
            "windows to leave out of the picture, by the numbers that 'capmgr windows' lists; "
            "with commas or blanks between them")
        ->delimiter(',')
        ->type_name("ID");
}

void addRateOption(CLI::App& command, CaptureOptions& options) {
    command
        .add_option_function<std::string>(
            "--fps",
            [&options](const std::string& text) {
                options.framesPerSecond = parseWholeNumber("--fps", text, 1, kMostFramesPerSecond);
            },
            fmt::format("frames a second, 1 to {0} (default: {0})", kMostFramesPerSecond))
        ->type_name("R");
}
