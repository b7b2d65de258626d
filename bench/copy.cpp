// What does copying a block cost, the reader of the copy included?
#include <fmt/format.h>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cstring>
#include <stdexcept>

#include "comparison.h"
#include "frames.h"
#include "kxcommon64.h"
#include "program.h"
#include "reading.h"
#include "turns.h"

namespace qor::bench {

namespace {

constexpr size_t kMebibyte = size_t{1} << 20;
constexpr Size kFullHd{1920, 1080};
constexpr Size kUltraHd{3840, 2160};
// A screen's rows as a server pads them; copied row by row, they come out packed.
constexpr size_t kPaddedRow = 7744;

struct Case {
    const char* name;
    size_t bytes;
    std::optional<double> bar;  // MacroMemcpy against memcpy, copy and read together
    bool padded = false;
};

constexpr Case kCases[] = {
    {"1 MB", kMebibyte, 1.03},
    {"2 MB", 2 * kMebibyte, std::nullopt},
    {"4 MB", 4 * kMebibyte, std::nullopt},
    {"8 MB (1920x1080)", kFullHd.bytes(), 1.03},
    {"16 MB", 16 * kMebibyte, std::nullopt},
    {"33 MB (3840x2160)", kUltraHd.bytes(), 0.78},
    {"1080 rows of 7680 bytes", kFullHd.bytes(), std::nullopt, true},
};

constexpr int kRounds = 150;
constexpr const char* kReference = "memcpy";

using CopyBlock = void (*)(unsigned char* target, const unsigned char* source, size_t bytes);

void copyByMacro(unsigned char* target, const unsigned char* source, size_t bytes) {
    MacroMemcpy(target, bytes, source, bytes);
}

void copyByLibrary(unsigned char* target, const unsigned char* source, size_t bytes) {
    std::memcpy(target, source, bytes);
}

#ifdef __SSE2__
// Past the caches. The target lies on a cache line, as all buffers here do.
void copyByStreaming(unsigned char* target, const unsigned char* source, size_t bytes) {
    constexpr size_t kVector = sizeof(__m128i);
    const size_t streamed = bytes / kVector * kVector;
    for (size_t at = 0; at < streamed; at += kVector) {
        const void* const from = source + at;
        void* const to = target + at;
        _mm_stream_si128(static_cast<__m128i*>(to),
                         _mm_loadu_si128(static_cast<const __m128i*>(from)));
    }
    _mm_sfence();
    std::memcpy(target + streamed, source + streamed, bytes - streamed);
}
#endif

struct Way {
    const char* name;
    CopyBlock copy;
};

constexpr Way kWays[] = {
    {"MacroMemcpy", copyByMacro},
    {kReference, copyByLibrary},
#ifdef __SSE2__
    {"streaming stores", copyByStreaming},
#endif
};

void copyFrame(CopyBlock copy, bool padded, FramePair& pair) {
    if (!padded) {
        copy(pair.target.data(), pair.source.data(), pair.target.size());
        return;
    }
    const size_t row = kFullHd.rowBytes();
    for (size_t y = 0; y * row < pair.target.size(); ++y) {
        copy(pair.target.data() + y * row, pair.source.data() + y * kPaddedRow, row);
    }
}

FramePair framesOf(const Case& plan) {
    const size_t sourceBytes =
        plan.padded ? plan.bytes / kFullHd.rowBytes() * kPaddedRow : plan.bytes;
    return makePair(sourceBytes, plan.bytes, 1);
}

void judge(const Case& plan, FramePair& pair) {
    Buffer expected(plan.bytes);
    copyFrame(copyByLibrary, plan.padded, pair);
    std::memcpy(expected.data(), pair.target.data(), plan.bytes);
    for (const Way& way : kWays) {
        std::memset(pair.target.data(), 0, plan.bytes);
        copyFrame(way.copy, plan.padded, pair);
        if (std::memcmp(pair.target.data(), expected.data(), plan.bytes) != 0) {
            throw std::runtime_error(fmt::format("{}: {} did not copy", plan.name, way.name));
        }
    }
}

std::vector<Timing> timeCase(const Case& plan, FramePair& pair, bool thenRead, int rounds) {
    std::vector<Contender> contenders;
    for (const Way& way : kWays) {
        contenders.push_back({way.name, rounds, [&, thenRead](benchmark::State& state) {
                                  // The first block after a pause is another case.
                                  copyFrame(way.copy, plan.padded, pair);
                                  repeat(state, [&] {
                                      copyFrame(way.copy, plan.padded, pair);
                                      benchmark::ClobberMemory();
                                      if (thenRead) {
                                          benchmark::DoNotOptimize(
                                              sumOfWords(pair.target.data(), plan.bytes));
                                      }
                                  });
                              }});
    }
    return timeInTurns(contenders);
}

std::vector<Compared> compared(const std::vector<Timing>& timings, std::optional<double> bar) {
    std::vector<Compared> entries;
    for (size_t i = 0; i < timings.size(); ++i) {
        entries.push_back({kWays[i].name, timings[i], i == 0 ? bar : std::nullopt});
    }
    return entries;
}

void measure(const Options& options, Report& report) {
    Comparison read(kReference);
    Comparison alone(kReference);
    for (const Case& plan : kCases) {
        if (!options.wants(plan.name)) {
            continue;
        }
        FramePair pair = framesOf(plan);
        judge(plan, pair);
        read.add(plan.name, compared(timeCase(plan, pair, true, options.rounds), plan.bar));
        alone.add(plan.name, compared(timeCase(plan, pair, false, options.rounds), std::nullopt));
    }
    read.reportTo("copy and read", report);
    alone.reportTo("copy alone", report);
}

}  // namespace

}  // namespace qor::bench

int main(int argc, char** argv) {
    using namespace qor::bench;
    return runProgram(
        {"copy", "Times block copies together with a reader of the copy", kRounds, measure}, argc,
        argv);
}
