#include "scaling_rule.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

double sourcePosition(int target, int sourceSize, int targetSize) {
    const double position = (target + 0.5) * sourceSize / targetSize - 0.5;
    return std::clamp(position, 0.0, static_cast<double>(sourceSize - 1));
}

// The source position numerator / denominator, without loss.
struct Fraction {
    int64_t numerator;
    int64_t denominator;

    int whole() const { return static_cast<int>(numerator / denominator); }
    int64_t rest() const { return numerator % denominator; }
};

Fraction sourceFraction(int target, int sourceSize, int targetSize) {
    const int64_t denominator = 2 * int64_t{targetSize};
    const int64_t numerator = (2 * int64_t{target} + 1) * sourceSize - targetSize;
    return {std::clamp(numerator, int64_t{0}, (sourceSize - 1) * denominator), denominator};
}

class SourceImage {
  public:
    SourceImage(const Bytes& pixels, const Scaling& scaling)
        : pixels_(pixels), size_(scaling.source), bytesPerPixel_(scaling.bytesPerPixel) {}

    // Positions past the last pixel are that pixel's.
    int at(int x, int y, int channel) const {
        const size_t row = static_cast<size_t>(std::min(y, size_.height - 1));
        const size_t column = static_cast<size_t>(std::min(x, size_.width - 1));
        const size_t pixel = row * static_cast<size_t>(size_.width) + column;
        return pixels_[pixel * static_cast<size_t>(bytesPerPixel_) + static_cast<size_t>(channel)];
    }

  private:
    const Bytes& pixels_;
    Size size_;
    int bytesPerPixel_;
};

double exactValue(const SourceImage& image, double x, double y, int channel) {
    const int left = static_cast<int>(x);
    const int top = static_cast<int>(y);
    const auto onRow = [&](int row) {
        return std::lerp(static_cast<double>(image.at(left, row, channel)),
                         static_cast<double>(image.at(left + 1, row, channel)), x - left);
    };
    return std::lerp(onRow(top), onRow(top + 1), y - top);
}

unsigned char roundedValue(const SourceImage& image, Fraction x, Fraction y, int channel) {
    const auto onRow = [&](int row) {
        return image.at(x.whole(), row, channel) * (x.denominator - x.rest()) +
               image.at(x.whole() + 1, row, channel) * x.rest();
    };
    const int64_t sum =
        onRow(y.whole()) * (y.denominator - y.rest()) + onRow(y.whole() + 1) * y.rest();
    const int64_t whole = x.denominator * y.denominator;
    return static_cast<unsigned char>((2 * sum + whole) / (2 * whole));
}

}  // namespace

std::vector<double> exactlyScaled(const Bytes& source, const Scaling& s) {
    const SourceImage image(source, s);
    std::vector<double> exact;
    exact.reserve(s.targetBytes());
    for (int y = 0; y < s.target.height; ++y) {
        const double sourceY = sourcePosition(y, s.source.height, s.target.height);
        for (int x = 0; x < s.target.width; ++x) {
            const double sourceX = sourcePosition(x, s.source.width, s.target.width);
            for (int channel = 0; channel < s.bytesPerPixel; ++channel) {
                exact.push_back(exactValue(image, sourceX, sourceY, channel));
            }
        }
    }
    return exact;
}

Bytes correctlyRounded(const Bytes& source, const Scaling& s) {
    const SourceImage image(source, s);
    Bytes rounded;
    rounded.reserve(s.targetBytes());
    for (int y = 0; y < s.target.height; ++y) {
        const Fraction sourceY = sourceFraction(y, s.source.height, s.target.height);
        for (int x = 0; x < s.target.width; ++x) {
            const Fraction sourceX = sourceFraction(x, s.source.width, s.target.width);
            for (int channel = 0; channel < s.bytesPerPixel; ++channel) {
                rounded.push_back(roundedValue(image, sourceX, sourceY, channel));
            }
        }
    }
    return rounded;
}

ScalingError errorOf(const Bytes& scaled, const std::vector<double>& exact) {
    ScalingError error;
    for (size_t i = 0; i < scaled.size(); ++i) {
        const double distance = std::abs(scaled[i] - exact[i]);
        error.worst = std::max(error.worst, distance);
        error.mean += distance / static_cast<double>(scaled.size());
    }
    return error;
}
