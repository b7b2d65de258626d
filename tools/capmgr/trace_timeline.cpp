#include "trace_timeline.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string_view>

namespace {

using Kind = TraceEvent::Kind;

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

/* The number behind a name, as in "capture index: 5"; none if it is missing, no number, or longer
 * than the 32 bits that all of the library's have. */
std::optional<long> numberAfter(std::string_view text, std::string_view name) {
    const std::size_t begin = text.find(name);
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(begin + name.size());
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    long number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool fits = number >= std::numeric_limits<std::int32_t>::min() &&
                      number <= std::numeric_limits<std::uint32_t>::max();
    return error == std::errc() && fits ? std::optional(number) : std::nullopt;
}

long numberOrZero(std::string_view text, std::string_view name) {
    return numberAfter(text, name).value_or(0);
}

std::string sharedThing(std::string_view text) {
    const long type = numberOrZero(text, "share type:");
    if (type == 0) {
        return "the whole monitor";
    }
    return type == 1 ? "one window" : fmt::format("unknown share type {}", type);
}

std::string exclusionText(std::string_view text) {
    switch (numberOrZero(text, "action type:")) {
        case 0:
            return "no window is left out any more";
        case 1:
            return "one more window is left out";
        case 2:
            return "one window is no longer left out";
        default:
            return "unknown change of the windows left out";
    }
}

/* Messages of calls that name their capture, and what is told of them. */
struct Call {
    std::string_view text;
    std::string_view index;  // stands before the capture's index
    const char* name;
    std::string (*detail)(std::string_view text);
};

std::string nothing(std::string_view /*text*/) {
    return "";
}

std::string rateText(std::string_view text) {
    return fmt::format("{} frames/s", numberOrZero(text, "framerate:"));
}

std::string sizeAfterNames(std::string_view text) {
    return fmt::format("{}x{}", numberOrZero(text, ", w:"), numberOrZero(text, ", h:"));
}

std::string windowText(std::string_view text) {
    const long window = numberOrZero(text, "nAppWndID:");
    return numberOrZero(text, "Action:") == 1 ? fmt::format("window {}", window) : "none any more";
}

constexpr std::string_view kIndex = "capture index:";

constexpr std::array<Call, 10> kCalls{{
    {"GenerateCaptureIndex...", kIndex, "index made", nothing},
    {"CAPTURE_MANAGER_API StartCapture...", kIndex, "start", sharedThing},
    {"CAPTURE_MANAGER_API StopCapture...", kIndex, "stop", nothing},
    {"CAPTURE_MANAGER_API PauseCapture...", kIndex, "pause", nothing},
    {"CAPTURE_MANAGER_API ResumeCapture...", kIndex, "resume", nothing},
    {"SetCaptureFrameSize... cap index:", "cap index:", "frame size", sizeAfterNames},
    {"CapMgr_SetMaxFrameRate... capture index:", kIndex, "rate at most", rateText},
    {"CapMgr_UpdateFrameRate... capture index:", kIndex, "rate", rateText},
    {"SetExcludeWnd...capture index:", kIndex, "exclusion", exclusionText},
    {"[begin to set share windows]", "[Index:", "window", windowText},
}};

struct Fault {
    std::string_view text;
    const char* name;
    const char* detail;
};

constexpr std::array<Fault, 6> kFaults{{
    {"imageRef is null!", "no image", "what is delivered is black"},
    {"Invalid Param m_nWndCaptureID is null", "no window", "none was chosen yet"},
    {"Resolution changed!", "size changed", "the monitor's; no frames until it is started again"},
    {"does not fit!", "does not fit", "the monitor had another size at first; start it again"},
    {"CCaptureBase::Capture... Init failed", "no first image", "the capture has ended"},
    {"CCaptureBase::Capture() failed timout=", "gave up", "it failed for too long and has ended"},
}};

/* Parts of the library's messages of level 0, which do not tell their level. */
constexpr std::array<std::string_view, 14> kErrorParts{{
    "invalid!",
    "invalid param",
    "Invalid",
    "param dwCaptureIndex invalid",
    "is NULL",
    "== NULL",
    "= NULL ",
    "failed",
    " ERROR",
    "param Error",
    "nFrameSize error",
    "Err!",
    " fail, return",
    "Type Error!",
}};

bool isError(std::string_view text) {
    return std::any_of(kErrorParts.begin(), kErrorParts.end(),
                       [text](std::string_view part) { return contains(text, part); });
}

}  // namespace

void TraceTimeline::add(const TraceMessage& message) {
    messages_ += 1;
    if (contains(message.text, "[information of the monitor]")) {
        noteMonitor(message.text);
    } else if (contains(message.text, "][STEP][start capture end]")) {
        addStep(message);
    } else if (!addCall(message) && !addThreadEvent(message) && isError(message.text)) {
        addError(message);
    }
}

bool TraceTimeline::addCall(const TraceMessage& message) {
    const std::string_view text = message.text;
    const auto* const call = std::find_if(kCalls.begin(), kCalls.end(), [text](const Call& known) {
        return contains(text, known.text);
    });
    const auto index = call == kCalls.end() ? std::nullopt : numberAfter(text, call->index);
    if (!index) {
        return false;
    }
    const auto capture = static_cast<unsigned int>(*index);
    const std::string_view name = call->name;
    std::string detail = call->detail(text);
    if (name == "start") {
        const auto monitor = static_cast<unsigned int>(numberOrZero(text, "monitor index:"));
        detail = monitorText(monitor) + ", " + detail;
        starting_ = capture;
        running_.insert(capture);
        awaitingFrame_.insert(capture);
    }
    append(captures_[capture], message, Kind::Call, call->name, detail);
    if (name == "stop") {
        running_.erase(capture);
        awaitingFrame_.erase(capture);
        stopped_ = capture;
    }
    return true;
}

// The end of a start names no capture, but follows the beginning in the same thread.
void TraceTimeline::addStep(const TraceMessage& message) {
    const long result = numberOrZero(message.text, "[Ret:");
    if (starting_ && result != 0) {
        append(captures_[*starting_], message, Kind::Fault, "not started",
               fmt::format("code {}", result));
        running_.erase(*starting_);
        awaitingFrame_.erase(*starting_);
    }
    starting_.reset();
}

bool TraceTimeline::addThreadEvent(const TraceMessage& message) {
    const std::string_view text = message.text;
    if (contains(text, "CCaptureMac::DoCapture()... End!")) {
        Events& events = running();
        const bool isFirst = running_.size() == 1 && awaitingFrame_.erase(*running_.begin()) == 1;
        if (isFirst) {
            append(events, message, Kind::Call, "first frame");
        }
        appendFrame(events, message);
        return true;
    }
    const auto* const fault =
        std::find_if(kFaults.begin(), kFaults.end(),
                     [text](const Fault& known) { return contains(text, known.text); });
    if (fault == kFaults.end()) {
        return false;
    }
    append(running(), message, Kind::Fault, fault->name, fault->detail);
    return true;
}

void TraceTimeline::addError(const TraceMessage& message) {
    const std::size_t begin = std::min(message.text.find_first_not_of(' '), message.text.size());
    const std::string text = message.text.substr(begin);
    const bool belongs = starting_.has_value();
    append(belongs ? captures_[*starting_] : others_, message, Kind::Fault, "error", text);
}

// Once the last one was stopped, what comes is of its end.
TraceTimeline::Events& TraceTimeline::running() {
    if (running_.size() == 1) {
        return captures_[*running_.begin()];
    }
    if (running_.empty() && stopped_) {
        return captures_[*stopped_];
    }
    isAmbiguous_ = isAmbiguous_ || running_.size() > 1;
    return others_;
}

// The same again is one event that lasts. A stand-in is traced as a fault, then as a frame.
void TraceTimeline::append(Events& events, const TraceMessage& message, Kind kind,
                           const std::string& name, const std::string& detail) {
    const std::optional<double> now = timeOf(message);
    TraceEvent* const last = events.empty() ? nullptr : &events.back();
    const bool standIn = kind == Kind::Frames && last != nullptr && last->name == "no image";
    if (standIn && last->line + 2 >= message.line) {
        return;
    }
    if (last != nullptr && kind != Kind::Call && last->name == name && last->detail == detail) {
        last->count += 1;
        last->until = now;
        return;
    }
    events.push_back({message.line, now, now, kind, name, detail, 1});
}

// One that was under way when its capture was stopped is traced behind the stop, told before it.
void TraceTimeline::appendFrame(Events& events, const TraceMessage& message) {
    std::optional<TraceEvent> stop;
    if (!events.empty() && events.back().name == "stop") {
        stop = events.back();
        events.pop_back();
    }
    append(events, message, Kind::Frames, "frames");
    if (stop) {
        events.push_back(*stop);
    }
}

void TraceTimeline::noteMonitor(const std::string& text) {
    const auto index = numberAfter(text, "[Index:");
    if (!index) {
        return;
    }
    constexpr std::string_view kName = "Name:";
    const std::size_t begin = std::min(text.find(kName) + kName.size(), text.size());
    const std::string name = text.substr(begin, text.rfind(']') - begin);
    monitors_[static_cast<unsigned int>(*index)] =
        fmt::format("{}, {}x{}", name, numberOrZero(text, "R:") - numberOrZero(text, "L:"),
                    numberOrZero(text, "B:") - numberOrZero(text, "T:"));
}

std::string TraceTimeline::monitorText(unsigned int index) const {
    const auto known = monitors_.find(index);
    return known == monitors_.end() ? fmt::format("monitor {}", index)
                                    : fmt::format("monitor {} ({})", index, known->second);
}

// A clock without a date begins anew at midnight.
std::optional<double> TraceTimeline::timeOf(const TraceMessage& message) {
    constexpr double kDay = 86400.0;
    if (!message.seconds) {
        return std::nullopt;
    }
    double now = *message.seconds + days_;
    if (begin_ && now < newest_ - kDay / 2 && *message.seconds < kDay) {
        days_ += kDay;
        now += kDay;
    }
    begin_ = begin_.value_or(now);
    newest_ = now;
    return now - *begin_;
}
