// Images to scale: their sizes and what is on them.
#ifndef UNIT_IMAGES_H
#define UNIT_IMAGES_H

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

using Bytes = std::vector<unsigned char>;

// In pixels.
struct Size {
    int width;
    int height;
};

struct Scaling {
    Size source;
    Size target;
    int bytesPerPixel;

    size_t sourceBytes() const;
    size_t targetBytes() const;
};

std::ostream& operator<<(std::ostream& out, const Scaling& scaling);

size_t byteCount(Size size, int bytesPerPixel);

// The same bytes for the same seed.
Bytes noise(size_t count, uint64_t seed = 20);

// Each byte 0 or 255, at random: what brings sums to their limits.
Bytes extremes(size_t count, uint64_t seed = 20);

// Pixels of 0 and 255 in turn.
Bytes checkerboard(Size size, int bytesPerPixel);

// From 0 at the top left to 255 at the bottom right, each channel a little behind the one before.
Bytes gradient(Size size, int bytesPerPixel);

#endif
