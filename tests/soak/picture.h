/* Pixels without their fourth byte, 0xRRGGBB, row by row. */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "painter.h"

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;

    Picture(int pictureWidth, int pictureHeight)
        : width(pictureWidth),
          height(pictureHeight),
          pixels(static_cast<std::size_t>(pictureWidth) * static_cast<std::size_t>(pictureHeight)) {
    }

    std::uint32_t& at(int x, int y) {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }

    /* Fills what of the area is in the picture, whose upper left corner is at x, y. */
    void fill(const Area& area, int x, int y, std::uint32_t pixel) {
        const int left = std::max(0, area.x - x);
        const int right = std::min(width, area.x + area.width - x);
        for (int row = std::max(0, area.y - y); row < std::min(height, area.y + area.height - y);
             ++row) {
            for (int column = left; column < right; ++column)
                at(column, row) = pixel;
        }
    }
};
