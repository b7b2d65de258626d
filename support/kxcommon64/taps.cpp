#include "taps.h"

#include <algorithm>

namespace qor::scaling {

Tap tapAt(int target, int sourceSize, int targetSize) {
    // (target + 0.5) * sourceSize / targetSize - 0.5 as a fraction of integers
    const int64_t numerator = (2 * int64_t{target} + 1) * sourceSize - targetSize;
    const int64_t denominator = 2 * int64_t{targetSize};
    const int32_t last = sourceSize - 1;
    if (numerator <= 0) {
        return {0, 0, 0};
    }
    const auto first = static_cast<int32_t>(std::min<int64_t>(numerator / denominator, last));
    if (first == last) {
        return {last, last, 0};
    }
    const int64_t rest = numerator % denominator;
    const auto weight = static_cast<int32_t>((rest * kWeightOne + targetSize) / denominator);
    if (weight == 0) {
        return {first, first, 0};
    }
    if (weight == kWeightOne) {
        return {first + 1, first + 1, 0};
    }
    return {first, first + 1, weight};
}

SplitWeight split(int32_t weight) {
    constexpr int kFineOne = kWeightOne / kCoarseOne;
    if (weight == 0) {  // the same pixel on either side: any two weights that add up are right
        return {kCoarseOne / 2, 0};
    }
    const int coarse = std::max(weight / kFineOne, 1);
    return {static_cast<signed char>(coarse), static_cast<signed char>(weight - coarse * kFineOne)};
}

}  // namespace qor::scaling
