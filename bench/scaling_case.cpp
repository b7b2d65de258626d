#include "scaling_case.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>

#include "scalers.h"

namespace qor::bench {

namespace {

// A scaler further than this from the exact result computes something else, such as the mean of an
// area or colours at half the resolution: those are off by 60 and more on noise. Positions and
// weights of little precision cost a bilinear scaler up to 9.
constexpr double kStillBilinear = 16.0;

// A scaler that takes so many times as long as the quickest is far behind.
constexpr double kFarBehind = 6.0;
constexpr int kFewTurns = 3;

constexpr const char* kFloor = "floor (memcpy)";

Buffer resultOf(const Scaler& scaler, const Buffer& source, Size to) {
    Buffer target(to.bytes());
    scaler.bind(source.data(), target.data())();
    return target;
}

class Judge {
  public:
    Judge(Size from, Size to) : from_(from), to_(to), source_(from.bytes()) {
        fillWithNoise(source_, 1);
        exact_ = scaleExactly(source_.bytes(), from, to);
    }

    Entry judge(const Scaler& scaler, bool ours) const {
        const Buffer result = resultOf(scaler, source_, to_);
        const Deviation deviation = deviationOf(result.bytes(), exact_, scaler.channels);
        return {scaler.name, ours, deviation, kindOf(result, deviation, scaler.channels),
                secondsOf(scaler)};
    }

    // Throws when the variants' results are not the same.
    void compare(const std::vector<Scaler>& variants) const {
        const Buffer reference = resultOf(variants.front(), source_, to_);
        for (const Scaler& variant : variants) {
            const Buffer result = resultOf(variant, source_, to_);
            if (std::memcmp(result.data(), reference.data(), to_.bytes()) != 0) {
                throw std::runtime_error(
                    fmt::format("{} to {}: the results of '{}' and '{}' differ", nameOf(from_),
                                nameOf(to_), variant.name, variants.front().name));
            }
        }
    }

  private:
    // Of a second call: the first one fills the caches and what the scaler keeps.
    double secondsOf(const Scaler& scaler) const {
        Buffer target(to_.bytes());
        const Call call = scaler.bind(source_.data(), target.data());
        call();
        const auto start = std::chrono::steady_clock::now();
        call();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    Kind kindOf(const Buffer& result, const Deviation& deviation, size_t channels) const {
        if (deviation.largest <= kStillBilinear) {
            return Kind::Bilinear;
        }
        const std::vector<double> elsewhere =
            scaleExactly(source_.bytes(), from_, to_, Positions::Corners);
        return deviationOf(result.bytes(), elsewhere, channels).largest <= kStillBilinear
                   ? Kind::BilinearElsewhere
                   : Kind::NotBilinear;
    }

    Size from_;
    Size to_;
    Buffer source_;
    std::vector<double> exact_;
};

// Goes through pairs of frames one after the other. All scalers of a run share `next`: whoever
// comes next takes the frames that were not used for longest.
Contender goingThrough(const std::string& name, int turns, std::vector<Call> calls, size_t& next) {
    return {name, turns, [calls = std::move(calls), &next](benchmark::State& state) {
                repeat(state, [&] {
                    calls[next]();
                    next = (next + 1) % calls.size();
                });
            }};
}

// One that is far behind gets fewer turns, which leaves more for those whose order matters.
int turnsOf(const Entry& entry, const std::vector<Entry>& all, int rounds) {
    const auto quickest =
        std::min_element(all.begin(), all.end(),
                         [](const Entry& a, const Entry& b) { return a.roughly < b.roughly; });
    return entry.roughly <= kFarBehind * quickest->roughly ? rounds
                                                           : std::max(kFewTurns, rounds / 8);
}

std::vector<Call> boundTo(std::vector<FramePair>& pairs, const Scaler& scaler) {
    std::vector<Call> calls;
    calls.reserve(pairs.size());
    for (FramePair& pair : pairs) {
        calls.push_back(scaler.bind(pair.source.data(), pair.target.data()));
    }
    return calls;
}

std::vector<Call> copiesOf(std::vector<FramePair>& pairs) {
    std::vector<Call> calls;
    calls.reserve(pairs.size());
    for (FramePair& pair : pairs) {
        calls.push_back([&pair] {
            std::memcpy(pair.target.data(), pair.source.data(), pair.source.size());
            benchmark::ClobberMemory();
        });
    }
    return calls;
}

// Copying as many bytes reads and writes together what scaling has to read and to write.
size_t floorBytes(Size from, Size to) {
    const auto rows = static_cast<size_t>(sourceRowsNeeded(from.height, to.height));
    return (rows * from.rowBytes() + to.bytes()) / 2;
}

// Fills in one of the timings of every entry and of the floor, with as many pairs of frames.
void timeAll(CaseResult& result, Frames frames, const std::vector<Scaler>& scalers, Size from,
             Size to, size_t pairCount, int rounds) {
    const size_t copied = floorBytes(from, to);
    std::vector<FramePair> pairs = makePairs(from.bytes(), to.bytes(), pairCount);
    std::vector<FramePair> floorPairs = makePairs(copied, copied, pairCount);
    size_t next = 0;
    size_t nextOfFloor = 0;
    std::vector<Contender> contenders;
    for (size_t i = 0; i < scalers.size(); ++i) {
        contenders.push_back(goingThrough(scalers[i].name,
                                          turnsOf(result.entries[i], result.entries, rounds),
                                          boundTo(pairs, scalers[i]), next));
    }
    contenders.push_back(goingThrough(kFloor, rounds, copiesOf(floorPairs), nextOfFloor));
    const std::vector<Timing> timings = timeInTurns(contenders);
    for (size_t i = 0; i < scalers.size(); ++i) {
        result.entries[i].*frames = timings[i];
    }
    result.floor.*frames = timings.back();
}

}  // namespace

const Entry& CaseResult::chosen() const {
    const std::string name = chosenScaler();
    return *std::find_if(entries.begin(), entries.end(),
                         [&](const Entry& entry) { return entry.scaler == name; });
}

const Entry& CaseResult::fastestRival(Frames frames) const {
    const Entry* fastest = nullptr;
    for (const Entry& entry : entries) {
        if (entry.rival() &&
            (fastest == nullptr || (entry.*frames).median < (fastest->*frames).median)) {
            fastest = &entry;
        }
    }
    if (fastest == nullptr) {
        throw std::runtime_error("no public scaler is bilinear here");
    }
    return *fastest;
}

double CaseResult::ratio(Frames frames) const {
    return (chosen().*frames).median / (fastestRival(frames).*frames).median;
}

CaseResult measureScaling(Size from, Size to, int rounds) {
    const std::vector<Scaler> ours = ourScalers(from, to);
    const std::vector<Scaler> others = publicScalers(from, to);
    const Judge judge(from, to);
    judge.compare(ours);

    CaseResult result{{}, {kFloor, false, {}, Kind::NotBilinear}};
    std::vector<Scaler> all;
    for (const auto* const scalers : {&ours, &others}) {
        for (const Scaler& scaler : *scalers) {
            result.entries.push_back(judge.judge(scaler, scalers == &ours));
            all.push_back(scaler);
        }
    }

    timeAll(result, &Entry::warm, all, from, to, 1, rounds);
    timeAll(result, &Entry::cold, all, from, to, pairsBeyondCache(from.bytes(), to.bytes()),
            rounds);
    return result;
}

}  // namespace qor::bench
