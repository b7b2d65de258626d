#include "capture_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <string>

#include "option_values.h"

namespace {

void addWindowOptions(CLI::App& command, CaptureOptions& options) {
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
    command
        .add_option_function<std::string>(
            "--window",
            [&options](const std::string& text) { options.window = parseWindow("--window", text); },
            "capture this window alone, at its place on the monitor")
        ->type_name("ID");
}

void refuseContradictions(const CaptureOptions& options) {
    if (options.window && !options.excluded.empty()) {
        throw CLI::ValidationError(
            "--window and --exclude cannot go together: a picture of one window shows no other");
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
        ->type_name("N");
    command
        .add_option_function<std::string>(
            "--size",
            [&options](const std::string& text) { options.size = parseSize("--size", text); },
            "size of the frames in pixels, at most the monitor's (default: the monitor's)")
        ->type_name("WIDTHxHEIGHT");
    addWindowOptions(command, options);
    command.parse_complete_callback([&options] { refuseContradictions(options); });
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
