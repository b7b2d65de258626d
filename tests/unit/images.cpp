#include "images.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace {

template <typename Value>
Bytes filled(Size size, int bytesPerPixel, Value valueAt) {
    Bytes bytes;
    bytes.reserve(byteCount(size, bytesPerPixel));
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            for (int channel = 0; channel < bytesPerPixel; ++channel) {
                bytes.push_back(static_cast<unsigned char>(valueAt(x, y, channel)));
            }
        }
    }
    return bytes;
}

}  // namespace

size_t byteCount(Size size, int bytesPerPixel) {
    return static_cast<size_t>(size.width) * static_cast<size_t>(size.height) *
           static_cast<size_t>(bytesPerPixel);
}

size_t Scaling::sourceBytes() const {
    return byteCount(source, bytesPerPixel);
}

size_t Scaling::targetBytes() const {
    return byteCount(target, bytesPerPixel);
}

std::ostream& operator<<(std::ostream& out, const Scaling& s) {
    return out << s.source.width << "x" << s.source.height << " to " << s.target.width << "x"
               << s.target.height << ", " << s.bytesPerPixel << " bytes a pixel";
}

Bytes noise(size_t count, uint64_t seed) {
    std::mt19937_64 random(seed);
    Bytes bytes(count);
    for (size_t i = 0; i < count; i += sizeof(uint64_t)) {
        const uint64_t eight = random();
        std::memcpy(&bytes[i], &eight, std::min(sizeof eight, count - i));
    }
    return bytes;
}

Bytes extremes(size_t count, uint64_t seed) {
    Bytes bytes = noise(count, seed);
    std::ranges::transform(bytes, bytes.begin(), [](unsigned char byte) {
        return static_cast<unsigned char>(byte < 128 ? 0 : 255);
    });
    return bytes;
}

Bytes checkerboard(Size size, int bytesPerPixel) {
    return filled(size, bytesPerPixel, [](int x, int y, int) { return (x + y) % 2 * 255; });
}

Bytes gradient(Size size, int bytesPerPixel) {
    const int steps = std::max(1, size.width + size.height - 2);
    return filled(size, bytesPerPixel, [steps](int x, int y, int channel) {
        return std::max(0, 255 * (x + y) / steps - 3 * channel);
    });
}
