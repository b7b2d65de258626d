#include "reference.h"

#include <algorithm>

namespace qor::scaling {
namespace {

constexpr size_t kHalvedChannels = 4;

int between(int first, int second, int32_t weight) {
    return first * (kWeightOne - weight) + second * weight;
}

// A sample between two neighbours in a row, with kFractionBits below the point.
int filtered(const unsigned char* row, const Tap& column, size_t channels, size_t channel) {
    const unsigned char first = row[static_cast<size_t>(column.first) * channels + channel];
    const unsigned char second = row[static_cast<size_t>(column.second) * channels + channel];
    return between(first, second, column.weight) >> (kWeightBits - kFractionBits);
}

unsigned char rounded(int value, int fractionBits) {
    return static_cast<unsigned char>((value + (1 << (fractionBits - 1))) >> fractionBits);
}

// The mean, halves rounded up, of one channel over rows x columns pixels that begin at source.
unsigned char mean(const unsigned char* source, size_t pitch, size_t rows, size_t columns) {
    size_t sum = 0;
    for (size_t y = 0; y < rows; ++y) {
        for (size_t x = 0; x < columns; ++x) {
            sum += source[y * pitch + x * kHalvedChannels];
        }
    }
    const size_t count = rows * columns;
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): what is halved has rows and columns
    return static_cast<unsigned char>((sum + count / 2) / count);
}

}  // namespace

void interpolateRow(const unsigned char* upper, const unsigned char* lower, int32_t weight,
                    const std::vector<Tap>& columns, int bytesPerPixel, unsigned char* target) {
    const auto channels = static_cast<size_t>(bytesPerPixel);
    for (const Tap& column : columns) {
        for (size_t channel = 0; channel < channels; ++channel) {
            const int value = between(filtered(upper, column, channels, channel),
                                      filtered(lower, column, channels, channel), weight);
            *target++ = rounded(value, kFractionBits + kWeightBits);
        }
    }
}

void halveRow(const unsigned char* source, size_t pitch, size_t rows, size_t width,
              unsigned char* target) {
    for (size_t x = 0; x < width; x += 2) {
        const size_t columns = std::min<size_t>(2, width - x);
        for (size_t channel = 0; channel < kHalvedChannels; ++channel) {
            *target++ = mean(source + x * kHalvedChannels + channel, pitch, rows, columns);
        }
    }
}

}  // namespace qor::scaling
