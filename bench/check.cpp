// What does checking a frame for one colour cost, against copying it?
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "FrameCheck.h"
#include "comparison.h"
#include "frames.h"
#include "program.h"
#include "reading.h"
#include "turns.h"

namespace qor::bench {

namespace {

struct Case {
    Size size;
    double bar;  // time of the check against memcpy, frame just written
};

constexpr Case kCases[] = {{{1920, 1080}, 0.28}, {{3840, 2160}, 0.32}};

constexpr int kRounds = 300;
constexpr const char* kCopy = "memcpy";

uint32_t colourAt(const Buffer& frame, size_t pixel) {
    uint32_t value = 0;
    std::memcpy(&value, frame.data() + pixel * kBytesPerPixel, sizeof value);
    return value & 0xFFFFFF;
}

// Samples that differ from the first pixel, in a frame whose corners are equal: the plain loop.
uint32_t countDiffering(const Buffer& frame, Size size) {
    const auto width = static_cast<size_t>(size.width);
    const auto height = static_cast<size_t>(size.height);
    const uint32_t reference = colourAt(frame, 0);
    const auto limit = static_cast<uint32_t>(width * height / 400);
    uint32_t differing = 0;
    for (size_t y = 0; y < height; y += 2) {
        for (size_t x = 1; x < width; x += 2) {
            if (colourAt(frame, y * width + x) != reference && ++differing > limit) {
                return differing;
            }
        }
    }
    return differing;
}

FrameCheck check(const Buffer& frame, Size size) {
    return checkFrame(frame.data(), static_cast<uint32_t>(size.width),
                      static_cast<uint32_t>(size.height));
}

void prefetch(const Buffer& frame, size_t first, size_t bytes) {
    for (size_t at = first; at < std::min(first + bytes, frame.size()); at += kCacheLine) {
        __builtin_prefetch(frame.data() + at);
    }
}

// The processor foresees what comes next in a row, not that a row is left out after it; told of the
// row after that one, it reads frames larger than its caches a quarter faster.
uint64_t readEverySecondRow(const Buffer& frame, Size size) {
    constexpr size_t kBlock = 512;
    uint64_t sum = 0;
    for (size_t row = 0; row < frame.size(); row += 2 * size.rowBytes()) {
        for (size_t x = 0; x < size.rowBytes(); x += kBlock) {
            const size_t bytes = std::min(kBlock, size.rowBytes() - x);
            prefetch(frame, row + 2 * size.rowBytes() + x, bytes);
            sum += sumOfWords(frame.data() + row + x, bytes);
        }
    }
    return sum;
}

void setPixel(Buffer& frame, size_t pixel, unsigned char value) {
    std::memset(frame.data() + pixel * kBytesPerPixel, value, kBytesPerPixel);
}

void makeCornersEqual(Buffer& frame, Size size) {
    const size_t pixels = frame.size() / kBytesPerPixel;
    const auto width = static_cast<size_t>(size.width);
    for (const size_t corner : {size_t{0}, width - 1, pixels - width, pixels - 1}) {
        setPixel(frame, corner, 0);
    }
}

void judgeOn(const Buffer& frame, Size size) {
    const auto limit = static_cast<uint32_t>(frame.size() / kBytesPerPixel / 400);
    const uint32_t differing = countDiffering(frame, size);
    const FrameCheck found = check(frame, size);
    if (found.uniform != (differing <= limit) || (found.uniform && found.differing != differing)) {
        throw std::runtime_error(fmt::format("{}: {} samples differ, the check says {}",
                                             nameOf(size), differing, found.differing));
    }
}

// A frame of one colour but for some dots, and one that is content all over.
void judge(Size size) {
    Buffer frame(size.bytes());
    for (size_t pixel = 1; pixel < frame.size() / kBytesPerPixel; pixel += 1009) {
        setPixel(frame, pixel, static_cast<unsigned char>(pixel));
    }
    makeCornersEqual(frame, size);
    judgeOn(frame, size);
    fillWithNoise(frame, 1);
    makeCornersEqual(frame, size);
    judgeOn(frame, size);
}

// Times `look` at a frame just written. Another colour each time, so that nothing known of the
// last frame helps.
template <typename Look>
Contender onFreshFrame(const char* name, int rounds, Buffer& frame, Look look) {
    return {name, rounds,
            [&frame, look](benchmark::State& state) {
                int colour = 0;
                timeAfter(
                    state,
                    [&] {
                        std::memset(frame.data(), ++colour, frame.size());
                        benchmark::ClobberMemory();
                    },
                    [&] { benchmark::DoNotOptimize(look()); });
            },
            true};
}

Contender onContent(const char* name, int rounds, const Buffer& frame, Size size) {
    return {name, rounds, [&frame, size](benchmark::State& state) {
                repeat(state, [&] { benchmark::DoNotOptimize(check(frame, size)); });
            }};
}

std::vector<Compared> measureCase(const Case& plan, int rounds) {
    const Size size = plan.size;
    Buffer frame(size.bytes());
    Buffer copy(size.bytes());
    Buffer content(size.bytes());
    Buffer framed(size.bytes());
    fillWithNoise(content, 1);
    fillWithNoise(framed, 1);
    makeCornersEqual(framed, size);

    const std::vector<Contender> contenders = {
        onFreshFrame("check", rounds, frame, [&] { return check(frame, size).differing; }),
        onFreshFrame("plain loop", rounds, frame, [&] { return countDiffering(frame, size); }),
        onFreshFrame("floor (every second row)", rounds, frame,
                     [&] { return readEverySecondRow(frame, size); }),
        onFreshFrame(kCopy, rounds, frame,
                     [&] { return std::memcpy(copy.data(), frame.data(), frame.size()); }),
        onContent("check of content", rounds, content, size),
        onContent("check of content, equal corners", rounds, framed, size),
    };
    const std::vector<Timing> timings = timeInTurns(contenders);
    std::vector<Compared> entries;
    for (size_t i = 0; i < contenders.size(); ++i) {
        entries.push_back({contenders[i].name, timings[i], std::nullopt});
    }
    entries.front().bar = plan.bar;
    return entries;
}

void measure(const Options& options, Report& report) {
    Comparison comparison(kCopy);
    for (const Case& plan : kCases) {
        if (options.wants(nameOf(plan.size))) {
            judge(plan.size);
            comparison.add(nameOf(plan.size), measureCase(plan, options.rounds));
        }
    }
    comparison.reportTo("frame check", report);
}

}  // namespace

}  // namespace qor::bench

int main(int argc, char** argv) {
    using namespace qor::bench;
    return runProgram(
        {"check", "Times the check for frames of one colour against copying the frame", kRounds,
         measure},
        argc, argv);
}
