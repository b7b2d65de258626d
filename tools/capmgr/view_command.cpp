#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "capture_choice.h"
#include "commands.h"
#include "json_output.h"
#include "option_values.h"
#include "viewer.h"

namespace {

struct ViewOptions {
    CaptureOptions capture;
    ViewerOptions viewer;
};

void refuseContradictions(const ViewOptions& options) {
    const bool showsOne = options.capture.window || options.capture.isPicked;
    if (showsOne && options.viewer.includesItself) {
        throw CLI::ValidationError(
            fmt::format("{} and --include-self cannot go together: a picture of one window shows "
                        "no other",
                        options.capture.window ? "--window" : "--pick"));
    }
}

void addOptions(CLI::App& view, const std::shared_ptr<ViewOptions>& options) {
    addCaptureOptions(view, options->capture);
    addRateOption(view, options->capture);
    view.add_option_function<std::string>(
            "--seconds",
            [options](const std::string& text) {
                options->viewer.seconds = parseSeconds("--seconds", text);
            },
            "how long, counted from the first picture (default: until the window is closed)")
        ->type_name("S");
    view.add_flag_callback(
            "--no-overlay", [options] { options->viewer.showsTexts = false; },
            "begin without the texts over the picture; H shows them")
        ->disable_flag_override();
    view.add_flag("--include-self", options->viewer.includesItself,
                  "show the viewer's own window in the picture as well")
        ->disable_flag_override();
    addJsonOption(view, options->viewer.json);
}

}  // namespace

void addViewCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& view = *app.add_subcommand(
        "view", "show what is captured live in a window, as others will see it");
    const auto options = std::make_shared<ViewOptions>();
    addOptions(view, options);
    view.footer(fmt::format(
        "Keys: {}.\nWith --json, a line on standard output tells every change of state.",
        fmt::join(keysHelp(), "; ")));
    view.callback([options, &invocation] {
        refuseContradictions(*options);
        invocation.command = [options](const Environment& environment) {
            Viewer(chooseCapture(options->capture, environment), options->viewer, environment)
                .run();
        };
    });
}
