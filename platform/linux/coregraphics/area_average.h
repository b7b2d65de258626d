/*
 * Scaling by area averaging: a target pixel is the mean of all of the picture that it covers, so
 * that nothing of it is lost however small the target is.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace qor::coregraphics {

struct Size {
    std::size_t width = 0;
    std::size_t height = 0;
};

/* Rows from the top down, four bytes a pixel: blue, green, red, unused. */
struct Picture {
    const std::uint8_t* pixels = nullptr;
    Size size;
    std::size_t bytesPerRow = 0;
};

/* Takes the target's row y: blue, green, red of each pixel. The row is lent for the call. */
using TakeRow = std::function<void(std::size_t y, std::span<const std::uint8_t> row)>;

/* Scales picture to target and hands over the rows from firstRow to before endRow, in order. The
 * means are exact, rounded to the nearest. Neither size has a dimension of 0 or above 32767. Throws
 * std::bad_alloc. */
void averageArea(const Picture& picture, Size target, std::size_t firstRow, std::size_t endRow,
                 const TakeRow& takeRow);

}  // namespace qor::coregraphics
