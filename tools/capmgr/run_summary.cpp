#include "run_summary.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "latency_counts.h"
#include "monitors.h"

namespace {

LatencySummary latencyOf(const FrameKeeper& frames) {
    LatencyCounts counts;
    for (const double latency : frames.latencies()) {
        counts.add(latency);
    }
    return counts.summary();
}

std::string row(const std::string& name, const std::string& value) {
    return fmt::format("{:<10}  {}\n", name, value);
}

}  // namespace

std::string runSummary(const FrameKeeper& frames, const CAP_MONITOR_INFO& monitor,
                       const std::vector<std::filesystem::path>& pictures) {
    std::string text;
    text += row("frames", fmt::format("{} ({} missed)", frames.frames(), frames.missed()));
    text += row("rate", fmt::format("{:.1f} frames/s", frames.rate()));
    text += row("latency", latencyText(latencyOf(frames)));
    text += row("frame size", sizeText({frames.last().width, frames.last().height}));
    text += row("monitor", fmt::format("{} ({})", monitor.dwIndex, monitorName(monitor)));
    std::string name = "pictures";
    for (const std::filesystem::path& picture : pictures) {
        text += row(name, picture.string());
        name.clear();
    }
    return text;
}

nlohmann::ordered_json describeRun(const FrameKeeper& frames, const CAP_MONITOR_INFO& monitor,
                                   const std::vector<std::filesystem::path>& pictures) {
    const LatencySummary latency = latencyOf(frames);
    auto names = nlohmann::ordered_json::array();
    for (const std::filesystem::path& picture : pictures) {
        names.push_back(picture.string());
    }
    return {{"frames", frames.frames()},
            {"missed", frames.missed()},
            {"frames_per_second", frames.rate()},
            {"latency_median_ms", latency.median},
            {"latency_p99_ms", latency.p99},
            {"latency_max_ms", latency.max},
            {"width", frames.last().width},
            {"height", frames.last().height},
            {"monitor", monitor.dwIndex},
            {"monitor_name", monitor.cstrName},
            {"pictures", names}};
}
