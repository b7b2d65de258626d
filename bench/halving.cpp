// How close is RgbDownsampling to the time that moving its bytes takes?
#include <fmt/format.h>

#include <cstring>
#include <optional>
#include <stdexcept>

#include "accuracy.h"
#include "comparison.h"
#include "program.h"
#include "scaling.h"
#include "turns.h"

namespace qor::bench {

namespace {

constexpr Size kFrom{3840, 2160};
constexpr Size kTo{1920, 1080};
constexpr double kBar = 1.10;  // time against the floor, of the kernels that are used

constexpr int kRounds = 200;
constexpr const char* kFloor = "floor (memcpy)";

void halveFrame(const scaling::RowKernels& kernels, FramePair& pair) {
    scaling::halve(kernels, static_cast<unsigned int>(kFrom.width),
                   static_cast<unsigned int>(kFrom.height), static_cast<int>(kFrom.rowBytes()),
                   pair.source.data(), pair.target.data());
}

// Half way between four pixels, the bilinear result is their mean: the rule of RgbDownsampling.
void judge(FramePair& pair) {
    const std::vector<double> exact = scaleExactly(pair.source.bytes(), kFrom, kTo);
    for (const scaling::RowKernels* const kernels : scaling::usableRowKernels()) {
        std::memset(pair.target.data(), 0, pair.target.size());
        halveFrame(*kernels, pair);
        if (deviationOf(pair.target.bytes(), exact, kBytesPerPixel).fromRounded != 0) {
            throw std::runtime_error(fmt::format("the result of '{}' is not the rounded mean",
                                                 scaling::nameOf(*kernels)));
        }
    }
}

std::vector<Contender> contendersOn(FramePair& pair, FramePair& floorPair, int rounds) {
    std::vector<Contender> contenders;
    for (const scaling::RowKernels* const kernels : scaling::usableRowKernels()) {
        contenders.push_back(
            {scaling::nameOf(*kernels), rounds, [&pair, kernels](benchmark::State& state) {
                 repeat(state, [&] { halveFrame(*kernels, pair); });
             }});
    }
    contenders.push_back({kFloor, rounds, [&floorPair](benchmark::State& state) {
                              repeat(state, [&] {
                                  std::memcpy(floorPair.target.data(), floorPair.source.data(),
                                              floorPair.source.size());
                                  benchmark::ClobberMemory();
                              });
                          }});
    return contenders;
}

void measure(const Options& options, Report& report) {
    const std::string name = fmt::format("{} to {}", nameOf(kFrom), nameOf(kTo));
    if (!options.wants(name)) {
        return;
    }
    const size_t copied = (kFrom.bytes() + kTo.bytes()) / 2;
    FramePair pair = makePair(kFrom.bytes(), kTo.bytes(), 1);
    FramePair floorPair = makePair(copied, copied, 2);
    judge(pair);

    const std::vector<Contender> contenders = contendersOn(pair, floorPair, options.rounds);
    const std::vector<Timing> timings = timeInTurns(contenders);
    const std::string used = scaling::nameOf(scaling::chosenRowKernels());
    std::vector<Compared> entries;
    for (size_t i = 0; i < contenders.size(); ++i) {
        entries.push_back({contenders[i].name, timings[i],
                           contenders[i].name == used ? std::optional(kBar) : std::nullopt});
    }
    Comparison comparison(kFloor);
    comparison.add(name, entries);
    comparison.reportTo("halving", report);
}

}  // namespace

}  // namespace qor::bench

int main(int argc, char** argv) {
    using namespace qor::bench;
    return runProgram(
        {"halving", "Times RgbDownsampling against copying the bytes it touches", kRounds, measure},
        argc, argv);
}
