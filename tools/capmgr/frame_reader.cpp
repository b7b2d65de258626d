#include "frame_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "failure.h"

namespace {

// A screen of one colour is held back for about a second, and a display that wakes up takes one or
// two; what is silent for longer than this has failed.
constexpr std::chrono::seconds kLongestSilence{5};

// The first delivery is traced a moment before the library hands frames out.
constexpr std::chrono::milliseconds kHandOutDelay{1};

}  // namespace

FrameReader::FrameReader(const CaptureSettings& settings, const TraceOutput& trace)
    : monitor_(settings.monitor), watch_(trace), session_(settings) {}

std::optional<FrameNews> FrameReader::read(Frame& frame, Clock::time_point deadline) {
    while (true) {
        const bool retry = pending_.frames > 0;
        take(watch_.wait(retry ? std::min(deadline, Clock::now() + kHandOutDelay) : deadline));
        const bool done = pending_.frames > 0 && session_.read(frame);
        const Clock::time_point now = Clock::now();
        if (done) {
            lastRead_ = now;
            return std::exchange(pending_, FrameNews{});
        }
        failIfSilent(now);
        if (now >= deadline) {
            return std::nullopt;
        }
    }
}

void FrameReader::take(const FrameNews& news) {
    failOn(news.fault);
    lastFault_ = news.fault;
    if (news.fault == GrabFault::NoImage) {
        pending_ = FrameNews{};  // the black stand-in has taken the place of what was not read yet
        return;
    }
    if (news.frames > 0) {
        pending_.frames += news.frames;
        pending_.grabBegan = news.grabBegan;
    }
}

void FrameReader::failOn(GrabFault fault) const {
    switch (fault) {
        case GrabFault::SizeChanged:
            throw Failure(fmt::format(
                "monitor {} changed its size while it was captured; start again", monitor_));
        case GrabFault::NoStart:
            throw Failure(
                fmt::format("monitor {} gives no image; see 'capmgr monitors'", monitor_));
        case GrabFault::GaveUp:
            throw Failure(fmt::format("capturing monitor {} failed for too long", monitor_));
        case GrabFault::None:
        case GrabFault::NoImage:
            return;
    }
}

void FrameReader::failIfSilent(Clock::time_point now) const {
    if (now - lastRead_ < kLongestSilence) {
        return;
    }
    const char* const reason =
        lastFault_ == GrabFault::NoImage ? "its images cannot be read any more" : "see --trace 2";
    throw Failure(fmt::format("no frame came from monitor {} for {} s: {}", monitor_,
                              kLongestSilence.count(), reason));
}
