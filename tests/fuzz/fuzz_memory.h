/*
 * Blocks of memory that nobody may leave, placed by the input.
 *
 * On the heap the sanitizer guards them byte by byte; next to a page without access the machine
 * does, from the instructions that the sanitizer does not know too.
 */
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <span>
#include <vector>

#include "guarded_buffer.h"

class FuzzMemory {
  public:
    /* For blocks of up to so many bytes. */
    explicit FuzzMemory(std::size_t largest) : guarded_(largest + kLargestDistance) {}

    /* Ends the life of the block taken before. */
    std::span<unsigned char> take(FuzzedDataProvider& input, std::size_t count) {
        const auto distance = input.ConsumeIntegralInRange<std::size_t>(0, kLargestDistance);
        isOnHeap_ = input.ConsumeBool();
        if (isOnHeap_) {
            heap_ = std::vector<unsigned char>(distance + count);
            return std::span(heap_).subspan(distance);
        }
        const auto edge = input.ConsumeBool() ? Placement::Edge::Front : Placement::Edge::Back;
        return guarded_.place({edge, distance}, count);
    }

    bool isSurroundingUntouched() const { return isOnHeap_ || guarded_.isSurroundingUntouched(); }

  private:
    static constexpr std::size_t kLargestDistance = 64;

    GuardedBuffer guarded_;
    std::vector<unsigned char> heap_;
    bool isOnHeap_ = false;
};

/* All that is left of the input, over and over, a little different each time. */
inline void fillFrom(FuzzedDataProvider& input, std::span<unsigned char> block) {
    std::vector<unsigned char> pattern = input.ConsumeRemainingBytes<unsigned char>();
    pattern.push_back(255);
    for (std::size_t i = 0; i < block.size(); ++i) {
        const std::size_t round = i / pattern.size();
        block[i] = static_cast<unsigned char>(pattern[i % pattern.size()] + 37 * round);
    }
}
