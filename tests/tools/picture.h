#ifndef TESTS_TOOLS_PICTURE_H
#define TESTS_TOOLS_PICTURE_H

#include <cstdint>
#include <filesystem>
#include <vector>

#include "painter.h"

/* A decoded PNG file. All zero when the file is absent or is no whole PNG. */
struct Picture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int bitDepth = 0;   // as the file says
    int colorType = 0;  // PNG_COLOR_TYPE_*, as the file says
    std::vector<std::uint8_t> rgb;
};

Picture readPicture(const std::filesystem::path& file);

/* A pixel's colour; black outside the picture. */
Color colorAt(const Picture& picture, std::uint32_t x, std::uint32_t y);

/* Whether any pixel has a colour. */
bool shows(const Picture& picture, Color color);

/* The greatest difference of a channel; 256 when the sizes differ or a picture is empty. */
int greatestDifference(const Picture& one, const Picture& other);

#endif
