#include "bilinear_reference.h"

#include <algorithm>
#include <cmath>

namespace {

/* Two neighbouring samples and how much of the second is taken. */
struct Tap {
    std::uint32_t first;
    std::uint32_t second;
    double share;
};

Tap tapFor(std::uint32_t target, std::uint32_t targetSize, std::uint32_t sourceSize) {
    const double scale = static_cast<double>(sourceSize) / targetSize;
    const double last = sourceSize - 1.0;
    const double position = std::clamp((target + 0.5) * scale - 0.5, 0.0, last);
    const double first = std::floor(position);
    return {static_cast<std::uint32_t>(first),
            static_cast<std::uint32_t>(std::min(first + 1.0, last)), position - first};
}

}  // namespace

Picture scaledBilinearly(const Picture& source, std::uint32_t width, std::uint32_t height) {
    Picture scaled{width, height, source.bitDepth, source.colorType, {}};
    const auto sample = [&source](std::uint32_t x, std::uint32_t y, std::size_t channel) {
        return static_cast<double>(
            source.rgb[(static_cast<std::size_t>(y) * source.width + x) * 3 + channel]);
    };
    for (std::uint32_t row = 0; row < height; ++row) {
        const Tap y = tapFor(row, height, source.height);
        for (std::uint32_t column = 0; column < width; ++column) {
            const Tap x = tapFor(column, width, source.width);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const double upper = std::lerp(sample(x.first, y.first, channel),
                                               sample(x.second, y.first, channel), x.share);
                const double lower = std::lerp(sample(x.first, y.second, channel),
                                               sample(x.second, y.second, channel), x.share);
                scaled.rgb.push_back(
                    static_cast<std::uint8_t>(std::lround(std::lerp(upper, lower, y.share))));
            }
        }
    }
    return scaled;
}
