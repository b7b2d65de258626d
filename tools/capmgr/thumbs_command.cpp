#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "capture_choice.h"
#include "commands.h"
#include "contact_sheet.h"
#include "display_text.h"
#include "json_output.h"
#include "monitors.h"
#include "option_values.h"
#include "output_file.h"
#include "picture_taking.h"
#include "png_encoder.h"

namespace {

constexpr unsigned int kLeastWidth = 64;  // less holds no name
constexpr unsigned int kMostWidth = 1920;

struct ThumbsOptions {
    CaptureOptions capture;
    std::string file;
    unsigned int width = 320;  // pixels
    bool json = false;
};

CAP_SIZE thumbnailSize(const CAP_MONITOR_INFO& monitor, unsigned int width) {
    const CAP_SIZE whole = monitorSize(monitor);
    const std::uint32_t reduced = std::min(width, whole.dwWidth);
    const std::uint64_t height = std::uint64_t{whole.dwHeight} * reduced / whole.dwWidth;
    return {reduced, static_cast<std::uint32_t>(std::max<std::uint64_t>(height, 1))};
}

std::string captionOf(const CAP_MONITOR_INFO& monitor) {
    return fmt::format("{}: {}{}\n{} at {},{}", monitor.dwIndex, printable(monitorName(monitor)),
                       monitor.bPrimary ? " (primary)" : "", sizeText(monitorSize(monitor)),
                       monitor.rcMonitor.left, monitor.rcMonitor.top);
}

nlohmann::ordered_json describe(const Thumbnail& thumbnail, const CAP_MONITOR_INFO& monitor) {
    return {{"index", monitor.dwIndex},
            {"name", monitor.cstrName},
            {"primary", monitor.bPrimary},
            {"left", thumbnail.left},
            {"top", thumbnail.top},
            {"width", thumbnail.picture.width},
            {"height", thumbnail.picture.height}};
}

/*
 * By a short capture of each monitor: the library's own thumbnails, which only its C++ interface
 * has, show all windows.
 */
std::vector<Thumbnail> takeThumbnails(const ThumbsOptions& options,
                                      const std::vector<CAP_MONITOR_INFO>& monitors,
                                      const Environment& environment) {
    CaptureSettings settings = chooseCapture(options.capture, environment).settings;
    std::vector<Thumbnail> thumbnails;
    for (const CAP_MONITOR_INFO& monitor : monitors) {
        settings.monitor = monitor.dwIndex;
        settings.size = thumbnailSize(monitor, options.width);
        thumbnails.push_back(
            {takePicture(settings, environment), captionOf(monitor), monitor.bPrimary});
    }
    return thumbnails;
}

void makeSheet(const ThumbsOptions& options, const Environment& environment) {
    const std::vector<CAP_MONITOR_INFO> monitors = listMonitors();
    const OutputFile file(options.file);
    std::vector<Thumbnail> thumbnails = takeThumbnails(options, monitors, environment);
    const Frame sheet = contactSheet(thumbnails, options.width);
    file.write(encodePng(sheet), environment.interruption);
    if (!options.json) {
        environment.console.write(
            fmt::format("{}  {}\n", file.path().string(), sizeText({sheet.width, sheet.height})));
        return;
    }
    auto list = nlohmann::ordered_json::array();
    for (std::size_t index = 0; index < monitors.size(); ++index) {
        list.push_back(describe(thumbnails[index], monitors[index]));
    }
    writeJson(environment.console, {{"path", file.path().string()},
                                    {"width", sheet.width},
                                    {"height", sheet.height},
                                    {"monitors", list}});
}

}  // namespace

void addThumbsCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& thumbs =
        *app.add_subcommand("thumbs",
                            "write small pictures of all monitors, with their names, as "
                            "one PNG picture");
    const auto options = std::make_shared<ThumbsOptions>();
    addExcludeOption(thumbs, options->capture);
    thumbs
        .add_option_function<std::string>(
            "--width",
            [options](const std::string& text) {
                options->width = parseWholeNumber("--width", text, kLeastWidth, kMostWidth);
            },
            fmt::format("width of a small picture in pixels, {} to {} (default: 320)", kLeastWidth,
                        kMostWidth))
        ->type_name("W");
    thumbs
        .add_option_function<std::string>(
            "FILE", [options](const std::string& text) { options->file = parsePath("FILE", text); },
            "picture to write; replaced when it exists")
        ->type_name("")
        ->required();
    addJsonOption(thumbs, options->json);
    thumbs.callback([options, &invocation] {
        invocation.command = [options](const Environment& environment) {
            makeSheet(*options, environment);
        };
    });
}
