/* Searches for blocks that MacroMemcpy copies wrongly, or leaves. */
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "fuzz_memory.h"
#include "kxcommon64.h"

namespace {

constexpr int kLargestBits = 26;
constexpr std::size_t kLargest = (std::size_t{1} << kLargestBits) + 300;

/* Each power of two is as likely, so that most inputs are tried fast. */
std::size_t takeCount(FuzzedDataProvider& input) {
    const int bits = input.ConsumeIntegralInRange(0, kLargestBits);
    const std::size_t power = std::size_t{1} << bits;
    if (input.ConsumeBool()) {
        return input.ConsumeIntegralInRange<std::size_t>(power - 1, 2 * power - 1) % kLargest;
    }
    return power + input.ConsumeIntegralInRange<std::size_t>(0, 300) -
           std::min<std::size_t>(power, 150);
}

/* No two places of it alike for long, made once: large blocks would take most of the time. */
std::span<const unsigned char> content() {
    static const std::vector<unsigned char> bytes = [] {
        std::vector<unsigned char> made(kLargest);
        std::uint32_t state = 1;
        for (unsigned char& byte : made) {
            state = state * 1664525 + 1013904223;
            byte = static_cast<unsigned char>(state >> 24);
        }
        return made;
    }();
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static FuzzMemory sourceMemory(kLargest);
    static FuzzMemory targetMemory(kLargest);
    constexpr unsigned char kUnwritten = 0x5A;
    FuzzedDataProvider input(data, size);
    const std::size_t count = takeCount(input);
    const std::size_t targetSize =
        input.ConsumeBool() ? count : std::min(takeCount(input), 2 * count + 64);
    const std::size_t copied = std::min(count, targetSize);
    const auto source = sourceMemory.take(input, copied);
    const auto target = targetMemory.take(input, targetSize);
    const auto bytes = content().first(copied);
    std::ranges::copy(bytes, source.begin());
    std::ranges::fill(target, kUnwritten);
    MacroMemcpy(target.data(), targetSize, source.data(), count);
    const auto isUnwritten = [](unsigned char byte) { return byte == kUnwritten; };
    if (!std::ranges::equal(bytes, target.first(copied)) ||
        !std::ranges::all_of(target.subspan(copied), isUnwritten) ||
        !targetMemory.isSurroundingUntouched()) {
        std::abort();
    }
    return 0;
}
