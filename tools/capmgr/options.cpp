#include "options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <string_view>

#include "failure.h"

namespace {

constexpr double kMaxSeconds = 86400.0;

template <typename Number, typename... Base>
std::optional<Number> parseNumber(std::string_view text, Base... base) {
    Number value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base...);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

template <typename Number>
Number numberWithin(const std::string& option, const std::string& text, Number least, Number most) {
    const std::optional<Number> value = parseNumber<Number>(text);
    if (!value || *value < least || *value > most) {
        throw CLI::ValidationError(
            option, fmt::format("'{}' is not a whole number from {} to {}", text, least, most));
    }
    return *value;
}

// A side of 0 passes: refusing it belongs where the monitor's size can be named.
CAP_SIZE parseSize(const std::string& text) {
    const std::string::size_type cross = text.find('x');
    const std::string_view all = text;
    const auto width = parseNumber<std::uint32_t>(all.substr(0, cross));
    const auto height = cross == std::string::npos
                            ? std::nullopt
                            : parseNumber<std::uint32_t>(all.substr(cross + 1));
    if (!width || !height) {
        throw CLI::ValidationError("--size",
                                   fmt::format("'{}' is not WIDTHxHEIGHT, such as 1280x720", text));
    }
    return {*width, *height};
}

// The comparison is written so that a NaN, which from_chars reads, is refused as well.
double parseSeconds(const std::string& text) {
    const std::optional<double> seconds = parseNumber<double>(text);
    if (!seconds || !(*seconds > 0.0 && *seconds <= kMaxSeconds)) {
        throw CLI::ValidationError(
            "--seconds",
            fmt::format("'{}' is not a number above 0 and at most {:.0f}", text, kMaxSeconds));
    }
    return *seconds;
}

// In decimal, or in hexadecimal as programs of the display server print it.
std::uint32_t parseWindow(const std::string& option, const std::string& text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto number = hexadecimal ? parseNumber<std::uint32_t>(text.substr(2), 16)
                                    : parseNumber<std::uint32_t>(text);
    if (number.value_or(0) == 0) {
        throw CLI::ValidationError(
            option,
            fmt::format("'{}' is not a window's number, such as 12582924 or 0xc0000c", text));
    }
    return *number;
}

std::string parsePath(const std::string& option, const std::string& text) {
    if (text.empty()) {
        throw CLI::ValidationError(option, "the name is empty");
    }
    return text;
}

void addWindowOptions(CLI::App& command, Options& options) {
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

void addCaptureOptions(CLI::App& command, Options& options) {
    command
        .add_option_function<std::string>(
            "--monitor",
            [&options](const std::string& text) {
                options.monitor = numberWithin<unsigned int>("--monitor", text, 0, 0xFFFFFFFEU);
            },
            "monitor to capture, by its index (default: the primary one)")
        ->type_name("N");
    command
        .add_option_function<std::string>(
            "--size", [&options](const std::string& text) { options.size = parseSize(text); },
            "size of the frames in pixels, at most the monitor's (default: the monitor's)")
        ->type_name("WIDTHxHEIGHT");
    addWindowOptions(command, options);
}

void addShot(CLI::App& app, Options& options) {
    CLI::App& shot = *app.add_subcommand("shot", "write one frame of a monitor as a PNG picture");
    addCaptureOptions(shot, options);
    shot.add_option_function<std::string>(
            "FILE", [&options](const std::string& text) { options.file = parsePath("FILE", text); },
            "picture to write; replaced when it exists")
        ->type_name("")
        ->required();
    shot.callback([&options] { options.command = Command::Shot; });
}

void addRun(CLI::App& app, Options& options) {
    CLI::App& run = *app.add_subcommand(
        "run", "capture a monitor for a while; writes three pictures and a summary");
    addCaptureOptions(run, options);
    run.add_option_function<std::string>(
           "--fps",
           [&options](const std::string& text) {
               options.framesPerSecond = numberWithin<unsigned int>("--fps", text, 1, 30);
           },
           "frames a second, 1 to 30 (default: 30)")
        ->type_name("R");
    run.add_option_function<std::string>(
           "--seconds",
           [&options](const std::string& text) { options.seconds = parseSeconds(text); },
           "how long, counted from the first frame (default: 5)")
        ->type_name("S");
    run.add_option_function<std::string>(
           "--out",
           [&options](const std::string& text) { options.directory = parsePath("--out", text); },
           "directory for first.png, middle.png and last.png, created if absent "
           "(default: captures)")
        ->type_name("DIR");
    run.callback([&options] { options.command = Command::Run; });
}

void describe(CLI::App& app, Options& options) {
    app.set_version_flag("--version", "capmgr " CAPMGR_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option_function<std::string>(
           "--trace",
           [&options](const std::string& text) {
               options.traceLevel = numberWithin<int>("--trace", text, -1, 3);
           },
           "show the library's trace on standard error up to LEVEL: -1 nothing, 0 errors, "
           "1 warnings, 2 information, 3 per-frame detail (default: none is shown)")
        ->type_name("LEVEL");
    app.add_subcommand("monitors", "list the monitors")->callback([&options] {
        options.command = Command::Monitors;
    });
    app.add_subcommand("windows", "list the windows on screen, front to back")
        ->callback([&options] { options.command = Command::Windows; });
    addShot(app, options);
    addRun(app, options);
    app.footer("Exit status: 0 done, 1 failed, 2 bad usage.");
}

// The parser's own words for a missing or misspelt command name neither it nor the possible ones.
std::string complaint(const CLI::App& app, const CLI::ParseError& error) {
    const std::string commands = "monitors, windows, shot or run";
    const std::vector<std::string> unknown = app.remaining();
    const bool commandGiven = !app.get_subcommands().empty();
    if (!commandGiven && !unknown.empty()) {
        const bool option = unknown.front().starts_with('-');
        return option ? fmt::format("'{}' is not an option", unknown.front())
                      : fmt::format("'{}' is not a command: {}", unknown.front(), commands);
    }
    if (!commandGiven && error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError)) {
        return "a command is required: " + commands;
    }
    std::string text = error.what();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

}  // namespace

std::optional<Options> parseOptions(int argc, char** argv, Console& console) {
    Options options;
    CLI::App app("Captures monitors through the capture manager.", "capmgr");
    describe(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {
        std::ostringstream answer;
        app.exit(asked, answer, answer);
        console.write(answer.str());
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw Failure(complaint(app, error) + "; see 'capmgr --help'", ExitStatus::BadUsage);
    }
    if (options.window && !options.excluded.empty()) {
        throw Failure(
            "--window and --exclude cannot go together: a picture of one window shows no other; "
            "see 'capmgr --help'",
            ExitStatus::BadUsage);
    }
    return options;
}
