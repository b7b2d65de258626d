#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "capture_choice.h"
#include "commands.h"
#include "failure.h"
#include "frame_reader.h"
#include "monitors.h"
#include "option_values.h"
#include "output_file.h"
#include "png_encoder.h"

namespace {

struct ShotOptions {
    CaptureOptions capture;
    std::string file;
};

// How long an interruption may go unnoticed.
constexpr std::chrono::milliseconds kTick{100};

// A picture that has stayed the same for so long is at rest; one that moves is not waited for.
constexpr std::chrono::milliseconds kRest{200};
constexpr std::chrono::milliseconds kLongestUnrest{1000};

Frame takeFrame(FrameReader& reader, const Environment& environment) {
    Frame frame;
    while (!reader.read(frame, Clock::now() + kTick)) {
        if (environment.interruption.requested()) {
            throw Failure("interrupted before a frame came; nothing was written");
        }
    }
    return frame;
}

/*
 * Waits for the windows in a picture of chosen ones to be painted: when the display server begins
 * to keep their contents apart, it may ask applications to paint them anew, and the first frames
 * may show some without what belongs in them.
 */
void awaitRest(FrameReader& reader, Frame& frame, const Environment& environment) {
    const Clock::time_point last = Clock::now() + kLongestUnrest;
    Clock::time_point rested = Clock::now() + kRest;
    while (Clock::now() < std::min(rested, last) && !environment.interruption.requested()) {
        Frame next;
        if (reader.read(next, std::min({rested, last, Clock::now() + kTick})) &&
            next.pixels != frame.pixels) {
            std::swap(frame, next);
            rested = Clock::now() + kRest;
        }
    }
}

Frame takePicture(const CaptureSettings& settings, const Environment& environment) {
    FrameReader reader(settings, environment.trace);
    Frame frame = takeFrame(reader, environment);
    if (settings.window || !settings.excluded.empty()) {
        awaitRest(reader, frame, environment);
    }
    return frame;
}

void takeShot(const ShotOptions& options, const Environment& environment) {
    const CaptureChoice choice = chooseCapture(options.capture);
    const OutputFile file(options.file);
    const Frame frame = takePicture(choice.settings, environment);
    file.write(encodePng(frame), environment.interruption);
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
    shot.callback([options, &invocation] {
        invocation.command = [options](const Environment& environment) {
            takeShot(*options, environment);
        };
    });
}
