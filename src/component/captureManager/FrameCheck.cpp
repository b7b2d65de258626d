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

// Registers of pixels, as the compiler has them on any processor.
using Lanes = uint32_t __attribute__((vector_size(16)));
constexpr size_t kLanesPerLine = 4;
constexpr size_t kLineBytes = kLanesPerLine * sizeof(Lanes);
constexpr size_t kLinePixels = kLineBytes / sizeof(uint32_t);

// How many of a line's samples, its odd pixels, are of a colour; the others count as if they were.
Lanes alikeInLine(const unsigned char* line, uint32_t colour) {
    constexpr Lanes kOddPixels = {0, kColourMask, 0, kColourMask};
    const Lanes wanted = {0, colour, 0, colour};
    Lanes alike = {};
    for (size_t i = 0; i < kLanesPerLine; ++i) {
        Lanes pixels;
        std::memcpy(&pixels, line + i * sizeof pixels, sizeof pixels);
        alike -= static_cast<Lanes>((pixels & kOddPixels) == wanted);  // true is -1
    }
    return alike;
}

// How many samples of a row, every second pixel from the second on, are of another colour.
// Meanwhile a row that is sampled later is fetched into the second-level cache: the processor does
// not foresee that rows are left out.
uint32_t differingInRow(const unsigned char* row, const unsigned char* laterRow, size_t width,
                        uint32_t colour) {
    constexpr int kIsRead = 0;
    constexpr int kIntoSecondLevel = 2;
    Lanes alike = {};
    size_t x = 0;
    for (; x + kLinePixels <= width; x += kLinePixels) {
        __builtin_prefetch(laterRow + x * sizeof(uint32_t), kIsRead, kIntoSecondLevel);
        alike += alikeInLine(row + x * sizeof(uint32_t), colour);
    }
    auto differing = static_cast<uint32_t>(x) - (alike[0] + alike[1] + alike[2] + alike[3]);
    const Pixels pixels(row);
    for (x += 1; x < width; x += 2) {
        differing += static_cast<uint32_t>(pixels[x] != colour);
    }
    return differing;
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
    constexpr size_t kRowsAhead = 4;  // two that are sampled: one would come just in time
    const size_t rowBytes = size_t{width} * sizeof(uint32_t);
    uint32_t differing = 0;
    for (size_t y = 0; y < height; y += 2) {
        const unsigned char* const row = data + y * rowBytes;
        const unsigned char* const later =
            y + kRowsAhead < height ? row + kRowsAhead * rowBytes : row;
        differing += differingInRow(row, later, width, *reference);
        if (differing > limit) {
            return kContent;
        }
    }
    return {true, *reference, differing, limit};
}
