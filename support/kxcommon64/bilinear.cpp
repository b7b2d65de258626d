#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "kxcommon64.h"

namespace {

// Weights are fixed point: 11 bits on either axis and 8 of the channel keep a sum within 30 bits,
// and put the result less than 0.63 from the exact value, rounding included.
constexpr int kWeightBits = 11;
constexpr uint32_t kWeightOne = 1U << kWeightBits;
constexpr uint32_t kHalf = 1U << (2 * kWeightBits - 1);

// The two source positions that a target position lies between: first * (1 - w) + second * w.
struct Tap {
    size_t first;
    size_t second;
    uint32_t weight;  // of second, in 1 / kWeightOne
};

// The source position (target + 0.5) * ratio - 0.5 in exact integers: numerator / (2 * dstSize).
Tap tapAt(int64_t target, int64_t srcSize, int64_t dstSize) {
    const int64_t numerator = (2 * target + 1) * srcSize - dstSize;
    const int64_t denominator = 2 * dstSize;
    if (numerator <= 0) {
        return {0, 0, 0};
    }
    const int64_t first = numerator / denominator;
    if (first >= srcSize - 1) {
        return {static_cast<size_t>(srcSize - 1), static_cast<size_t>(srcSize - 1), 0};
    }
    const int64_t fraction = numerator % denominator;
    const int64_t weight = (fraction * int64_t{kWeightOne} + dstSize) / denominator;
    return {static_cast<size_t>(first), static_cast<size_t>(first + 1),
            static_cast<uint32_t>(weight)};
}

uint32_t mix(uint32_t first, uint32_t second, uint32_t weight) {
    return first * (kWeightOne - weight) + second * weight;
}

template <size_t Channels>
void scaleRow(const unsigned char* upper, const unsigned char* lower, uint32_t lowerWeight,
              const std::vector<Tap>& columns, unsigned char* dst) {
    for (const Tap& column : columns) {
        const size_t left = column.first * Channels;
        const size_t right = column.second * Channels;
        for (size_t channel = 0; channel < Channels; ++channel) {
            const uint32_t top = mix(upper[left + channel], upper[right + channel], column.weight);
            const uint32_t bottom =
                mix(lower[left + channel], lower[right + channel], column.weight);
            *dst++ = static_cast<unsigned char>((mix(top, bottom, lowerWeight) + kHalf) >>
                                                (2 * kWeightBits));
        }
    }
}

template <size_t Channels>
void scale(const unsigned char* src, int srcWidth, int srcHeight, unsigned char* dst,
           const std::vector<Tap>& columns, int dstHeight) {
    const size_t srcRow = static_cast<size_t>(srcWidth) * Channels;
    for (int y = 0; y < dstHeight; ++y) {
        const Tap row = tapAt(y, srcHeight, dstHeight);
        scaleRow<Channels>(src + row.first * srcRow, src + row.second * srcRow, row.weight, columns,
                           dst);
        dst += columns.size() * Channels;
    }
}

// Kept from call to call, so that scaling frame after frame allocates nothing.
std::vector<Tap>& columnTable() {
    thread_local std::vector<Tap> table;
    return table;
}

bool fillColumns(std::vector<Tap>& columns, int srcWidth, int dstWidth) {
    try {
        columns.resize(static_cast<size_t>(dstWidth));
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (size_t x = 0; x < columns.size(); ++x) {
        columns[x] = tapAt(static_cast<int64_t>(x), srcWidth, dstWidth);
    }
    return true;
}

bool imageFits(int width, int height, int bytesPerPixel) {
    ptrdiff_t pixels = 0;
    ptrdiff_t bytes = 0;
    return width > 0 && height > 0 && !__builtin_mul_overflow(width, height, &pixels) &&
           !__builtin_mul_overflow(pixels, bytesPerPixel, &bytes);
}

}  // namespace

void BilinearInterpolation(const unsigned char* src, int srcWidth, int srcHeight,
                           unsigned char* dst, int dstWidth, int dstHeight, int bytesPerPixel) {
    if (src == nullptr || dst == nullptr || !imageFits(srcWidth, srcHeight, bytesPerPixel) ||
        !imageFits(dstWidth, dstHeight, bytesPerPixel) ||
        (bytesPerPixel != 1 && bytesPerPixel != 3 && bytesPerPixel != 4)) {
        return;
    }
    std::vector<Tap>& columns = columnTable();
    if (!fillColumns(columns, srcWidth, dstWidth)) {
        return;
    }
    switch (bytesPerPixel) {
        case 1:
            return scale<1>(src, srcWidth, srcHeight, dst, columns, dstHeight);
        case 3:
            return scale<3>(src, srcWidth, srcHeight, dst, columns, dstHeight);
        default:
            return scale<4>(src, srcWidth, srcHeight, dst, columns, dstHeight);
    }
}
