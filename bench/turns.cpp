#include "turns.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <stdexcept>

namespace qor::bench {

namespace {

constexpr double kTurnSeconds = 0.0025;

// Keeps the time per call of every turn, under the contender's name.
class Collector : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                turns_[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
            }
        }
    }

    Timing timingOf(const std::string& name) const;

  private:
    std::map<std::string, std::vector<double>> turns_;  // milliseconds
};

// Interpolated between the two values that the quantile lies between.
double quantile(const std::vector<double>& sorted, double part) {
    const double position = part * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<size_t>(position);
    const size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] +
           (sorted[above] - sorted[below]) * (position - static_cast<double>(below));
}

Timing Collector::timingOf(const std::string& name) const {
    const auto found = turns_.find(name);
    if (found == turns_.end()) {
        throw std::runtime_error(fmt::format("'{}' was not timed", name));
    }
    std::vector<double> sorted = found->second;
    std::sort(sorted.begin(), sorted.end());
    const double median = quantile(sorted, 0.5);
    return {median, (quantile(sorted, 0.75) - quantile(sorted, 0.25)) / median};
}

// The one way to ask for random turns is the benchmark library's command line.
void askForRandomTurns() {
    static const bool asked = [] {
        std::string program = "bench";
        std::string option = "--benchmark_enable_random_interleaving=true";
        char* arguments[] = {program.data(), option.data(), nullptr};
        int count = 2;
        benchmark::Initialize(&count, arguments);
        return true;
    }();
    static_cast<void>(asked);
}

}  // namespace

std::vector<Timing> timeInTurns(const std::vector<Contender>& contenders) {
    askForRandomTurns();
    benchmark::ClearRegisteredBenchmarks();
    for (const Contender& contender : contenders) {
        auto* const entry = benchmark::RegisterBenchmark(contender.name.c_str(), contender.turn)
                                ->Unit(benchmark::kMillisecond)
                                ->MinTime(kTurnSeconds)
                                ->Repetitions(contender.turns);
        contender.setsTimes ? entry->UseManualTime() : entry->UseRealTime();
    }
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);

    std::vector<Timing> timings;
    timings.reserve(contenders.size());
    for (const Contender& contender : contenders) {
        timings.push_back(collector.timingOf(contender.name));
    }
    return timings;
}

void repeat(benchmark::State& state, const std::function<void()>& call) {
    // Brings back to the caches what a caller frame after frame has there: code, tables, frames.
    call();
    for ([[maybe_unused]] auto iteration : state) {
        call();
    }
}

void timeAfter(benchmark::State& state, const std::function<void()>& prepare,
               const std::function<void()>& call) {
    using Clock = std::chrono::steady_clock;
    for ([[maybe_unused]] auto iteration : state) {
        prepare();
        const Clock::time_point start = Clock::now();
        call();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
}

}  // namespace qor::bench
