/* Searches for frames in which checkFrame finds other than the plain loop does. */
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "frame_check_rule.h"
#include "fuzz_memory.h"

namespace {

constexpr std::uint32_t kLargestPixels = 60000;

struct FrameSize {
    std::uint32_t width;
    std::uint32_t height;
};

FrameSize takeSize(FuzzedDataProvider& input) {
    const std::uint32_t widest = input.ConsumeBool() ? 150 : 4000;
    const auto width = input.ConsumeIntegralInRange<std::uint32_t>(1, widest);
    return {width, input.ConsumeIntegralInRange<std::uint32_t>(1, kLargestPixels / width)};
}

void setPixel(std::span<unsigned char> frame, std::size_t index, std::uint32_t colour) {
    std::memcpy(&frame[index * sizeof colour], &colour, sizeof colour);
}

/* One colour and some pixels of others: a run of samples at once, as single ones reach no limit. */
void draw(FuzzedDataProvider& input, std::span<unsigned char> frame, FrameSize size) {
    const std::uint32_t pixels = size.width * size.height;
    const auto colour = input.ConsumeIntegral<std::uint32_t>();
    for (std::size_t i = 0; i < pixels; ++i) {
        setPixel(frame, i, colour);
    }
    while (input.remaining_bytes() > 0) {
        const auto first = input.ConsumeIntegralInRange<std::size_t>(0, pixels - 1);
        const auto step = input.ConsumeIntegralInRange<std::size_t>(1, 3);
        const auto count = input.ConsumeIntegralInRange<std::size_t>(1, pixels / 400 + 2);
        const auto difference = input.ConsumeIntegral<std::uint32_t>();
        for (std::size_t i = first; i < std::min<std::size_t>(first + count * step, pixels);
             i += step) {
            setPixel(frame, i, colour ^ difference);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static FuzzMemory memory(std::size_t{kLargestPixels} * 4);
    FuzzedDataProvider input(data, size);
    const FrameSize frameSize = takeSize(input);
    const auto frame = memory.take(input, std::size_t{frameSize.width} * frameSize.height * 4);
    draw(input, frame, frameSize);
    const FrameCheck found = checkFrame(frame.data(), frameSize.width, frameSize.height);
    const FrameCheck expected = plainlyChecked(frame.data(), frameSize.width, frameSize.height);
    if (!isSameFinding(found, expected)) {
        std::abort();
    }
    return 0;
}
