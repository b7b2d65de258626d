/*
 * Searches for scalings that some instruction set's kernels do differently from the scalar ones, or
 * that make them leave the images.
 */
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "fuzz_memory.h"
#include "images.h"
#include "scaling.h"

namespace {

using qor::scaling::interpolate;
using qor::scaling::RowKernels;
using qor::scaling::Stores;
using qor::scaling::usableRowKernels;

constexpr int kLong = 2100;
constexpr int kShort = 12;
constexpr int kMiddle = 80;
constexpr int kLargestPixels = 60000;
constexpr std::size_t kLargest = std::size_t{kLargestPixels} * 4;

/* Long one way only: what goes wrong at an edge does so in small images, and fast. */
Size takeSize(FuzzedDataProvider& input) {
    const int shape = input.ConsumeIntegralInRange(0, 3);
    const int width = shape == 0 ? kLong : shape == 1 ? kShort : kMiddle;
    const int height = shape == 0 ? kShort : shape == 1 ? kLong : kMiddle;
    return {input.ConsumeIntegralInRange(1, width), input.ConsumeIntegralInRange(1, height)};
}

/* Any length, or one that makes a ratio of small numbers. */
int takeTargetLength(FuzzedDataProvider& input, int source, int any) {
    const int factor = input.ConsumeIntegralInRange(0, 4);
    const int divisor = input.ConsumeIntegralInRange(1, 4);
    return factor == 0 ? any : std::clamp(source * factor / divisor, 1, std::max(any, source));
}

Scaling takeScaling(FuzzedDataProvider& input) {
    const Size source = takeSize(input);
    const Size any = takeSize(input);
    Size target = {takeTargetLength(input, source.width, any.width),
                   takeTargetLength(input, source.height, any.height)};
    target.height = std::min(target.height, kLargestPixels / target.width);
    return {source, target, input.PickValueInArray({4, 3, 1})};
}

void scale(const RowKernels& kernels, const unsigned char* source, unsigned char* target,
           const Scaling& s, Stores stores) {
    interpolate(kernels, source, s.source.width, s.source.height, target, s.target.width,
                s.target.height, s.bytesPerPixel, stores);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static FuzzMemory sourceMemory(kLargest);
    static FuzzMemory targetMemory(kLargest);
    FuzzedDataProvider input(data, size);
    const Scaling scaling = takeScaling(input);
    const auto source = sourceMemory.take(input, scaling.sourceBytes());
    const auto target = targetMemory.take(input, scaling.targetBytes());
    fillFrom(input, source);
    Bytes expected(target.size());
    scale(*usableRowKernels().front(), source.data(), expected.data(), scaling, Stores::cached);
    for (const RowKernels* kernels : usableRowKernels()) {
        for (const Stores stores : {Stores::cached, Stores::streamed}) {
            std::ranges::fill(target, static_cast<unsigned char>(0x5A));
            scale(*kernels, source.data(), target.data(), scaling, stores);
            if (!std::ranges::equal(target, expected) || !targetMemory.isSurroundingUntouched()) {
                std::abort();
            }
        }
    }
    return 0;
}
