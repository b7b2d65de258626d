#include "FrameCheck.h"

#include <cstddef>
#include <cstring>
#include <optional>

namespace {

constexpr uint32_t kColourMask = 0xFFFFFF;
constexpr uint32_t kPixelsPerDifference = 400;  // a quarter of one per cent may differ

class Pixels {
  public:
    explicit Pixels(const unsigned char* data) : data_(data) {}

    uint32_t operator[](size_t index) const {
        uint32_t pixel = 0;
        std::memcpy(&pixel, data_ + index * sizeof pixel, sizeof pixel);
        return pixel & kColourMask;
    }

  private:
    const unsigned char* data_;
};

// The colour that three of the corners, or two opposite ones and the centre, agree on.
std::optional<uint32_t> referenceColour(const Pixels& pixels, size_t width, size_t height) {
    const uint32_t topLeft = pixels[0];
    const uint32_t topRight = pixels[width - 1];
    const uint32_t bottomLeft = pixels[(height - 1) * width];
    const uint32_t bottomRight = pixels[width * height - 1];
    if (topLeft == topRight && topLeft == bottomLeft) {
        return topLeft;
    }
    if (bottomRight == topRight && topRight == bottomLeft) {
        return topRight;
    }
    if (bottomRight != topLeft || pixels[((height + 1) * width) / 2] != topLeft) {
        return std::nullopt;
    }
    return topLeft;
}

}  // namespace

FrameCheck checkFrame(const unsigned char* data, uint32_t width, uint32_t height) {
    constexpr FrameCheck kContent = {false, 0, 0, 0};
    const Pixels pixels(data);
    const std::optional<uint32_t> reference = referenceColour(pixels, width, height);
    if (!reference) {
        return kContent;
    }
    const uint32_t limit = (width * height) / kPixelsPerDifference;
    uint32_t differing = 0;
    for (size_t y = 0; y < height; y += 2) {
        for (size_t x = 1; x < width; x += 2) {
            if (pixels[y * width + x] != *reference && ++differing > limit) {
                return kContent;
            }
        }
    }
    return {true, *reference, differing, limit};
}
