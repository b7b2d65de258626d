/*
 * Searches for images that some instruction set's kernels halve differently from the scalar ones,
 * or that make them leave the images.
 */
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "fuzz_memory.h"
#include "scaling.h"

namespace {

using qor::scaling::halve;
using qor::scaling::RowKernels;
using qor::scaling::usableRowKernels;

constexpr std::size_t kBytesPerPixel = 4;
constexpr std::size_t kLargestPixels = 40000;
constexpr std::size_t kLargestPadding = 200;

struct PaddedImage {
    std::size_t width;
    std::size_t height;
    std::size_t padding;

    std::size_t pitch() const { return width * kBytesPerPixel + padding; }
    /* Of the last row only the pixels are there. */
    std::size_t bytes() const { return height * pitch() - padding; }
    std::size_t halvedBytes() const {
        return (width + 1) / 2 * ((height + 1) / 2) * kBytesPerPixel;
    }
};

PaddedImage takeImage(FuzzedDataProvider& input) {
    const std::size_t widest = input.ConsumeBool() ? 150 : 5000;
    const auto width = input.ConsumeIntegralInRange<std::size_t>(1, widest);
    const std::size_t highest = std::clamp<std::size_t>(kLargestPixels / width, 1, 150);
    return {width, input.ConsumeIntegralInRange<std::size_t>(1, highest),
            input.ConsumeIntegralInRange<std::size_t>(0, kLargestPadding)};
}

void halveWith(const RowKernels& kernels, const PaddedImage& image, const unsigned char* source,
               unsigned char* target) {
    halve(kernels, static_cast<unsigned>(image.width), static_cast<unsigned>(image.height),
          static_cast<int>(image.pitch()), source, target);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static FuzzMemory sourceMemory(kLargestPixels * (kBytesPerPixel + kLargestPadding));
    static FuzzMemory targetMemory(kLargestPixels * kBytesPerPixel);
    FuzzedDataProvider input(data, size);
    const PaddedImage image = takeImage(input);
    const auto source = sourceMemory.take(input, image.bytes());
    const auto target = targetMemory.take(input, image.halvedBytes());
    fillFrom(input, source);
    std::vector<unsigned char> expected(target.size());
    halveWith(*usableRowKernels().front(), image, source.data(), expected.data());
    for (const RowKernels* kernels : usableRowKernels()) {
        std::ranges::fill(target, static_cast<unsigned char>(0x5A));
        halveWith(*kernels, image, source.data(), target.data());
        if (!std::ranges::equal(target, expected) || !targetMemory.isSurroundingUntouched()) {
            std::abort();
        }
    }
    return 0;
}
