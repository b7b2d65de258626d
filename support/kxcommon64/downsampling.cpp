#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kxcommon64.h"

namespace {

constexpr size_t kChannels = 4;

// Mean of one channel over the rows x columns source pixels (1 or 2 of each) that start at src.
unsigned char blockMean(const unsigned char* src, size_t pitch, size_t rows, size_t columns) {
    unsigned int sum = 0;
    for (size_t y = 0; y < rows; ++y) {
        for (size_t x = 0; x < columns; ++x) {
            sum += src[y * pitch + x * kChannels];
        }
    }
    const unsigned int count = static_cast<unsigned int>(rows * columns);
    return static_cast<unsigned char>((sum + count / 2) / count);
}

}  // namespace

void RgbDownsampling(unsigned int width, unsigned int height, int pitch, unsigned char* src,
                     unsigned char* dst) {
    if (src == nullptr || dst == nullptr || width == 0 || height == 0 ||
        pitch < static_cast<int64_t>(width) * static_cast<int64_t>(kChannels)) {
        return;
    }
    const size_t rowBytes = static_cast<size_t>(pitch);
    for (size_t y = 0; y < height; y += 2) {
        const size_t rows = std::min<size_t>(2, height - y);
        const unsigned char* const row = src + y * rowBytes;
        for (size_t x = 0; x < width; x += 2) {
            const size_t columns = std::min<size_t>(2, width - x);
            for (size_t channel = 0; channel < kChannels; ++channel) {
                *dst++ = blockMean(row + x * kChannels + channel, rowBytes, rows, columns);
            }
        }
    }
}
