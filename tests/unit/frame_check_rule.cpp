#include "frame_check_rule.h"

#include <cstddef>
#include <optional>

namespace {

class Colours {
  public:
    explicit Colours(const unsigned char* data) : data_(data) {}

    uint32_t operator[](uint32_t index) const {
        const unsigned char* const pixel = data_ + size_t{index} * 4;
        return pixel[0] + 256U * pixel[1] + 65536U * pixel[2];
    }

  private:
    const unsigned char* data_;
};

std::optional<uint32_t> referenceColour(const Colours& colours, uint32_t width, uint32_t height) {
    const uint32_t topLeft = colours[0];
    const uint32_t topRight = colours[width - 1];
    const uint32_t bottomLeft = colours[(height - 1) * width];
    const uint32_t bottomRight = colours[width * height - 1];
    if (topLeft == topRight && topLeft == bottomLeft) {
        return topLeft;
    }
    if (bottomRight == topRight && topRight == bottomLeft) {
        return topRight;
    }
    if (bottomRight == topLeft && colours[(height + 1) * width / 2] == topLeft) {
        return topLeft;
    }
    return std::nullopt;
}

}  // namespace

FrameCheck plainlyChecked(const unsigned char* data, uint32_t width, uint32_t height) {
    const Colours colours(data);
    const std::optional<uint32_t> reference = referenceColour(colours, width, height);
    if (!reference) {
        return {false, 0, 0, 0};
    }
    uint32_t differing = 0;
    for (uint32_t y = 0; y < height; y += 2) {
        for (uint32_t x = 1; x < width; x += 2) {
            differing += colours[y * width + x] != *reference;
        }
    }
    const uint32_t limit = width * height / 400;
    return {differing <= limit, *reference, differing, limit};
}

bool isSameFinding(const FrameCheck& one, const FrameCheck& other) {
    if (!one.uniform || !other.uniform) {
        return one.uniform == other.uniform;
    }
    return one.reference == other.reference && one.differing == other.differing &&
           one.limit == other.limit;
}
