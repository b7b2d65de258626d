#include "frame_watch.h"

#include <algorithm>
#include <array>
#include <utility>

#include "vqutilc.h"

namespace {

constexpr int kFrameTraceLevel = 2;

// Searched for anywhere in a message, which may begin with its source position.
constexpr std::string_view kGrabBegins = "[KXSS]CCaptureMac::DoCapture DisplayID: ";
constexpr std::string_view kFrameDelivered = "[KXSS]CCaptureMac::DoCapture()... End!";

constexpr std::array<std::pair<std::string_view, GrabFault>, 4> kFaults{{
    {"[KXSC] CCaptureMac::DoCapture()... imageRef is null!", GrabFault::NoImage},
    {"[KXSC] CCaptureMac::CaptureScreen()... Resolution changed! ", GrabFault::SizeChanged},
    {"[KXSC] CCaptureBase::Capture... Init failed", GrabFault::NoStart},
    {"[KXSC] CCaptureBase::Capture() failed timout=", GrabFault::GaveUp},
}};

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

GrabFault faultIn(std::string_view text) {
    const auto* const found =
        std::find_if(kFaults.begin(), kFaults.end(),
                     [text](const auto& fault) { return contains(text, fault.first); });
    return found == kFaults.end() ? GrabFault::None : found->second;
}

}  // namespace

FrameWatch::FrameWatch(const TraceOutput& output, std::function<void()> onNews)
    : output_(output), onNews_(std::move(onNews)) {
    vq_set_trace_writer(follow, this);
    vq_set_trace_level(std::max(kFrameTraceLevel, output.level()));
}

FrameWatch::~FrameWatch() {
    output_.take();
}

FrameNews FrameWatch::wait(Clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_until(lock, deadline,
                        [this] { return news_.frames > 0 || news_.fault != GrabFault::None; });
    faultSinceWait_ = false;
    return std::exchange(news_, FrameNews{});
}

bool FrameWatch::faultSinceWait() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return faultSinceWait_;
}

void FrameWatch::follow(void* context, int level, const char* text, int /*flag*/) {
    FrameWatch& watch = *static_cast<FrameWatch*>(context);
    if (watch.note(text) && watch.onNews_) {
        watch.onNews_();
    }
    watch.output_.show(level, text);
}

// True when there is news.
bool FrameWatch::note(std::string_view text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (contains(text, kGrabBegins)) {
        grabBegan_ = Clock::now();
        grabFault_ = GrabFault::None;
        return false;
    }
    if (contains(text, kFrameDelivered)) {
        return noteDelivery();
    }
    const GrabFault fault = faultIn(text);
    if (fault == GrabFault::None) {
        return false;
    }
    grabFault_ = fault;
    news_.fault = fault;
    news_.standIns += fault == GrabFault::NoImage ? 1 : 0;
    faultSinceWait_ = true;
    changed_.notify_all();
    return true;
}

bool FrameWatch::noteDelivery() {
    if (grabFault_ != GrabFault::None) {
        return false;
    }
    news_.frames += 1;
    news_.grabBegan = grabBegan_;
    news_.fault = GrabFault::None;
    changed_.notify_all();
    return true;
}
