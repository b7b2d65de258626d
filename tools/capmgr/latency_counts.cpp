#include "latency_counts.h"

#include <fmt/format.h>

#include <cmath>

namespace {

constexpr double kStepsPerMillisecond = 10.0;

}  // namespace

void LatencyCounts::add(double milliseconds) {
    counts_[std::llround(milliseconds * kStepsPerMillisecond)] += 1;
    total_ += 1;
}

LatencySummary LatencyCounts::summary() const {
    constexpr double kMedian = 0.5;
    constexpr double kNearlyAll = 0.99;
    return {percentile(kMedian), percentile(kNearlyAll), percentile(1.0)};
}

// The value that `share` of all do not exceed (nearest rank).
double LatencyCounts::percentile(double share) const {
    auto left = static_cast<std::int64_t>(std::ceil(share * static_cast<double>(total_)));
    for (const auto& [steps, count] : counts_) {
        left -= static_cast<std::int64_t>(count);
        if (left <= 0) {
            return static_cast<double>(steps) / kStepsPerMillisecond;
        }
    }
    return 0.0;
}

std::string latencyText(const LatencySummary& summary) {
    return fmt::format("median {:.1f} ms, p99 {:.1f} ms, max {:.1f} ms", summary.median,
                       summary.p99, summary.max);
}
