#include "frame_path_run.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

#include "frame_path_takers.h"

namespace qor::bench {

namespace {

constexpr int64_t kLongestWarmUpNs = kNsPerSecond;
constexpr double kMarginSeconds = 0.3;  // that peers run on after the turns

// The duration of turns.
int64_t nsOf(int turns) {
    return static_cast<int64_t>(turns * kTurnSeconds * 1e9);
}

int64_t warmUpFor(int turns) {
    return std::min(kLongestWarmUpNs, nsOf(turns) / 4);
}

// The value that a part of all are below.
double quantile(std::vector<double> values, double part) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(part * static_cast<double>(values.size() - 1))];
}

struct Sample {
    int64_t time;
    double taker;
    double server;
    uint32_t changes;
};

Sample takeSample(const Stage& stage, const FrameTaker& taker) {
    return {nowNs(), taker.cpuSeconds(), stage.cpuSeconds(), stage.changes()};
}

std::vector<Sample> sampleTurns(const Stage& stage, const FrameTaker& taker, int64_t warmUpNs,
                                int turns) {
    const int64_t begin = nowNs() + warmUpNs;
    std::vector<Sample> samples;
    for (int turn = 0; turn <= turns; ++turn) {
        waitUntil(begin + nsOf(turn));
        samples.push_back(takeSample(stage, taker));
    }
    return samples;
}

double median(const std::vector<double>& values) {
    return quantile(values, 0.5);
}

double spreadOf(const std::vector<Sample>& samples) {
    std::vector<double> used;
    for (size_t i = 1; i < samples.size(); ++i) {
        used.push_back(samples[i].taker + samples[i].server - samples[i - 1].taker -
                       samples[i - 1].server);
    }
    const double middle = median(used);
    return middle > 0 ? (quantile(used, 0.75) - quantile(used, 0.25)) / middle : 0;
}

void judgeCapacity(const Deliveries& deliveries) {
    if (deliveries.taken > Deliveries::kCapacity) {
        throw std::runtime_error("more frames than can be noted: measure for a shorter time");
    }
}

// When frames were finished, by capture, in order.
std::map<uint32_t, std::vector<int64_t>> finishedBetween(const Deliveries& deliveries,
                                                         int64_t begin, int64_t end) {
    std::map<uint32_t, std::vector<int64_t>> times;
    for (uint32_t i = 0; i < deliveries.taken; ++i) {
        const Deliveries::Frame& frame = deliveries.frames[i];
        if (deliveries.present[i] && frame.end >= begin && frame.end < end) {
            times[frame.capture].push_back(frame.end);
        }
    }
    return times;
}

void judgePace(const Deliveries& deliveries, int64_t begin, int64_t end, Usage& usage) {
    for (const auto& [capture, times] : finishedBetween(deliveries, begin, end)) {
        usage.frames += static_cast<double>(times.size());
        for (size_t i = 1; i < times.size(); ++i) {
            const double interval = static_cast<double>(times[i] - times[i - 1]) * 1e-6;
            usage.longestMs = std::max(usage.longestMs, interval);
            usage.late += interval > kLateMs ? 1 : 0;
        }
    }
}

}  // namespace

std::string nameOf(const RunPlan& plan) {
    static const std::map<Taker, const char*> kNames{{Taker::nobody, "nobody"},
                                                     {Taker::ours, "ours"},
                                                     {Taker::ffmpeg, "ffmpeg"},
                                                     {Taker::gstreamer, "gstreamer"}};
    static const std::map<Shown, const char*> kShown{
        {Shown::everything, ""},
        {Shown::withoutTwoWindows, ", without two windows"},
        {Shown::singleWindow, ", one window alone"}};
    return fmt::format("{}, {} to {}, {}{}, {}", nameOf(plan.scene), nameOf(plan.screen),
                       nameOf(plan.delivered), kNames.at(plan.taker), kShown.at(plan.shown),
                       plan.captures);
}

Usage measureUsage(const RunPlan& plan, int turns) {
    const int64_t warmUp = warmUpFor(turns);
    const double peerSeconds =
        static_cast<double>(warmUp) * 1e-9 + turns * kTurnSeconds + kMarginSeconds;
    const SharedBoard<Deliveries> deliveries;
    Stage stage(plan, false);
    const std::unique_ptr<FrameTaker> taker = makeTaker(plan, stage, peerSeconds, deliveries);
    taker->begin();
    const std::vector<Sample> samples = sampleTurns(stage, *taker, warmUp, turns);
    const Sample& first = samples.front();
    const Sample& last = samples.back();
    taker->finish();

    Usage usage{};
    usage.seconds = static_cast<double>(last.time - first.time) * 1e-9;
    usage.taker = last.taker - first.taker;
    usage.server = last.server - first.server;
    usage.spread = spreadOf(samples);
    usage.changesPerSecond = (last.changes - first.changes) / usage.seconds;
    judgeCapacity(*deliveries.operator->());
    judgePace(*deliveries.operator->(), first.time, last.time, usage);
    usage.framesPerSecond = usage.frames / plan.captures / usage.seconds;
    if (plan.taker != Taker::nobody && usage.frames < 1) {
        throw std::runtime_error(nameOf(plan) + ": no frames");
    }
    return usage;
}

Latency measureLatency(const RunPlan& plan, int turns) {
    const SharedBoard<Deliveries> deliveries;
    Stage stage(plan, true);
    Ours ours(plan, stage, deliveries);
    const HostBoard& board = ours.measureLatency(warmUpFor(turns), nsOf(turns));
    std::vector<double> latencies;
    for (uint32_t i = 0; i < board.latencyCount; ++i) {
        latencies.push_back(static_cast<double>(board.latencies[i]) * 1e-6);
    }
    std::vector<double> grabs;
    judgeCapacity(*deliveries.operator->());
    for (uint32_t i = 0; i < deliveries->taken; ++i) {
        grabs.push_back(
            static_cast<double>(deliveries->frames[i].end - deliveries->frames[i].begin) * 1e-6);
    }
    if (latencies.empty()) {
        throw std::runtime_error(nameOf(plan) + ": no change was seen");
    }
    return {median(latencies), quantile(latencies, 0.99), median(grabs), latencies.size(),
            board.missed};
}

}  // namespace qor::bench
