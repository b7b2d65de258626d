#include "run_summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "monitors.h"

namespace {

/* The value that `share` of the sorted ones do not exceed (nearest rank). */
double percentile(const std::vector<double>& sorted, double share) {
    const double rank = std::ceil(share * static_cast<double>(sorted.size()));
    return sorted[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
}

std::string latencyText(std::vector<double> latencies) {
    std::sort(latencies.begin(), latencies.end());
    return fmt::format("median {:.1f} ms, p99 {:.1f} ms, max {:.1f} ms", percentile(latencies, 0.5),
                       percentile(latencies, 0.99), latencies.back());
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
    text += row("latency", latencyText(frames.latencies()));
    text += row("frame size", sizeText({frames.last().width, frames.last().height}));
    text += row("monitor", fmt::format("{} ({})", monitor.dwIndex, monitorName(monitor)));
    std::string name = "pictures";
    for (const std::filesystem::path& picture : pictures) {
        text += row(name, picture.string());
        name.clear();
    }
    return text;
}
