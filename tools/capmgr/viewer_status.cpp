#include "viewer_status.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <nlohmann/json.hpp>

#include "display_text.h"
#include "monitors.h"

namespace {

constexpr std::chrono::seconds kMeterSpan{2};

std::string monitorLine(const ViewerStatus& status) {
    return fmt::format("monitor   {} ({}), {}", status.monitor.dwIndex,
                       printable(monitorName(status.monitor)),
                       sizeText(monitorSize(status.monitor)));
}

std::string pictureLine(const ViewerStatus& status, const std::vector<std::string>& leftOut) {
    if (status.settings.window) {
        return fmt::format("shows     window {} alone", *status.settings.window);
    }
    return leftOut.empty() ? std::string("left out  nothing")
                           : fmt::format("left out  {}", fmt::join(leftOut, "\n          "));
}

std::string sizeLine(const ViewerStatus& status) {
    const CAP_SIZE size = status.settings.size;
    const std::uint32_t whole = monitorSize(status.monitor).dwWidth;
    const double percent = whole == 0 ? 0.0 : 100.0 * size.dwWidth / whole;
    return fmt::format("frames    {}, {:.0f} %", sizeText(size), percent);
}

}  // namespace

void RateMeter::reset(Clock::time_point now) {
    frames_.clear();
    since_ = now;
}

void RateMeter::add(unsigned int frames, Clock::time_point now) {
    frames_.emplace_back(now, frames);
}

double RateMeter::rate(Clock::time_point now) {
    while (!frames_.empty() && now - frames_.front().first > kMeterSpan) {
        since_ = frames_.front().first;
        frames_.pop_front();
    }
    unsigned int count = 0;
    for (const auto& [time, frames] : frames_) {
        count += frames;
    }
    const std::chrono::duration<double> span = now - since_;
    return span.count() > 0.0 ? count / span.count() : 0.0;
}

std::string statusText(const ViewerStatus& status, double rate, Clock::duration latency,
                       const std::vector<std::string>& leftOut) {
    using std::chrono::duration_cast;
    using std::chrono::milliseconds;
    return fmt::format("{}\n{}\nrate      {:.1f} of {} frames/s\nlatency   {} ms\n{}",
                       monitorLine(status), sizeLine(status), rate, status.settings.framesPerSecond,
                       duration_cast<milliseconds>(latency).count(), pictureLine(status, leftOut));
}

nlohmann::ordered_json statusDocument(const ViewerStatus& status) {
    const auto document = [](CAP_SIZE size) {
        return nlohmann::ordered_json{{"width", size.dwWidth}, {"height", size.dwHeight}};
    };
    using Json = nlohmann::ordered_json;
    return {{"monitor", status.monitor.dwIndex},
            {"monitor_name", status.monitor.cstrName},
            {"frame", document(status.settings.size)},
            {"shown", document(status.shown)},
            {"frames_per_second_wanted", status.settings.framesPerSecond},
            {"paused", status.isPaused},
            {"window", status.settings.window ? Json(*status.settings.window) : Json()},
            {"excluded", status.settings.excluded},
            {"own_window", status.ownWindow ? Json(*status.ownWindow) : Json()},
            {"texts", status.showsTexts},
            {"choosing_windows", status.choosesWindows},
            {"fullscreen", status.isFullscreen},
            {"notice", status.notice}};
}
