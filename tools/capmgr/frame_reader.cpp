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

FrameReader::FrameReader(const CaptureSettings& settings, const TraceOutput& trace,
                         std::function<void()> onNews)
    : settings_(settings), watch_(trace, std::move(onNews)), session_(settings) {}

void FrameReader::resume() {
    forgetFrames();
    session_.resume();
}

void FrameReader::setSize(CAP_SIZE size) {
    session_.setSize(size);
    settings_.size = size;
    forgetFrames();
}

void FrameReader::leaveOut(std::uint32_t window) {
    session_.leaveOut(window);
    settings_.excluded.push_back(window);
    forgetFrames();
}

void FrameReader::takeIn(std::uint32_t window) {
    session_.takeIn(window);
    std::erase(settings_.excluded, window);
    forgetFrames();
}

void FrameReader::restart(const CaptureSettings& settings) {
    session_.stop();
    settings_ = settings;
    forgetFrames();
    watch_.wait(since_);  // for nothing: faults of the capture that has ended
    lastFault_ = GrabFault::None;
    session_.start(settings);
}

void FrameReader::setRate(unsigned int framesPerSecond) {
    session_.setRate(framesPerSecond);
    settings_.framesPerSecond = framesPerSecond;
}

std::optional<std::string> FrameReader::trouble() const {
    return lastFault_ == GrabFault::NoImage ? std::optional<std::string>(reasonOfSilence())
                                            : std::nullopt;
}

void FrameReader::forgetFrames() {
    since_ = Clock::now();
    lastRead_ = since_;
    pending_ = FrameNews{};
}

std::optional<FrameNews> FrameReader::read(Frame& frame, Clock::time_point deadline) {
    while (true) {
        const bool retry = pending_.frames > 0;
        take(watch_.wait(retry ? std::min(deadline, Clock::now() + kHandOutDelay) : deadline));
        const bool done = pending_.frames > 0 && session_.read(read_) && !watch_.faultSinceWait();
        const Clock::time_point now = Clock::now();
        if (done) {
            lastRead_ = now;
            std::swap(frame, read_);
            return std::exchange(pending_, FrameNews{});
        }
        failIfSilent(now);
        if (now >= deadline) {
            return std::nullopt;
        }
    }
}

void FrameReader::take(const FrameNews& news) {
    standIns_ += news.standIns;
    failOn(news.fault);
    if (news.frames == 0 && news.fault == GrabFault::None) {
        return;  // the wait was over before there was any news
    }
    lastFault_ = news.fault;
    if (news.fault == GrabFault::NoImage) {
        pending_ = FrameNews{};  // the black stand-in has taken the place of what was not read yet
        return;
    }
    if (news.grabBegan < since_) {
        return;
    }
    pending_.frames += news.frames;
    pending_.grabBegan = news.grabBegan;
}

void FrameReader::failOn(GrabFault fault) const {
    switch (fault) {
        case GrabFault::SizeChanged:
            throw Failure(
                fmt::format("monitor {} changed its size while it was captured; start again",
                            settings_.monitor));
        case GrabFault::NoStart:
            throw Failure(
                fmt::format("monitor {} gives no image; see 'capmgr monitors'", settings_.monitor));
        case GrabFault::GaveUp:
            throw Failure(
                fmt::format("capturing monitor {} failed for too long", settings_.monitor));
        case GrabFault::None:
        case GrabFault::NoImage:
            return;
    }
}

void FrameReader::failIfSilent(Clock::time_point now) const {
    if (now - lastRead_ < kLongestSilence) {
        return;
    }
    throw Failure(fmt::format("no frame came from monitor {} for {} s: {}", settings_.monitor,
                              kLongestSilence.count(), reasonOfSilence()));
}

const char* FrameReader::reasonOfSilence() const {
    if (lastFault_ != GrabFault::NoImage) {
        return "see --trace 2";
    }
    if (settings_.window) {
        return "the window is not on screen any more, or its picture cannot be had by itself";
    }
    return settings_.excluded.empty() ? "its images cannot be read any more"
                                      : "its images cannot be had without the windows left out";
}
