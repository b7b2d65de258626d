#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "capture_choice.h"
#include "commands.h"
#include "json_output.h"
#include "monitors.h"
#include "option_values.h"
#include "output_file.h"
#include "picture_taking.h"
#include "png_encoder.h"

namespace {

struct ShotOptions {
    CaptureOptions capture;
    std::string file;
    bool json = false;
};

void takeShot(const ShotOptions& options, const Environment& environment) {
    const CaptureChoice choice = chooseCapture(options.capture, environment);
    const OutputFile file(options.file);
    const Frame frame = takePicture(choice.settings, environment);
    file.write(encodePng(frame), environment.interruption);
    if (options.json) {
        writeJson(
            environment.console,
            {{"path", file.path().string()}, {"width", frame.width}, {"height", frame.height}});
        return;
    }
    environment.console.write(
        fmt::format("{}  {}\n", file.path().string(), sizeText({frame.width, frame.height})));
}

}  // namespace

void addShotCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& shot = *app.add_subcommand("shot", "write one frame of a monitor as a PNG picture");
    const auto options = std::make_shared<ShotOptions>();
    addCaptureOptions(shot, options->capture);
    shot.add_option_function<std::string>(
            "FILE", [options](const std::string& text) { options->file = parsePath("FILE", text); },
            "picture to write; replaced when it exists")
        ->type_name("")
        ->required();
    addJsonOption(shot, options->json);
    shot.callback([options, &invocation] {
        invocation.command = [options](const Environment& environment) {
            takeShot(*options, environment);
        };
    });
}
