#include "picture_taking.h"

#include <algorithm>
#include <utility>

#include "failure.h"
#include "frame_reader.h"

namespace {

// A picture that has stayed the same for so long is at rest; one that moves is not waited for.
constexpr std::chrono::milliseconds kRest{200};
constexpr std::chrono::milliseconds kLongestUnrest{1000};

Frame takeFrame(FrameReader& reader, const Environment& environment) {
    Frame frame;
    while (!reader.read(frame, Clock::now() + kInterruptionTick)) {
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
        if (reader.read(next, std::min({rested, last, Clock::now() + kInterruptionTick})) &&
            next.pixels != frame.pixels) {
            std::swap(frame, next);
            rested = Clock::now() + kRest;
        }
    }
}

}  // namespace

Frame takePicture(const CaptureSettings& settings, const Environment& environment) {
    FrameReader reader(settings, environment.trace);
    Frame frame = takeFrame(reader, environment);
    if (settings.window || !settings.excluded.empty()) {
        awaitRest(reader, frame, environment);
    }
    return frame;
}
