#include "picture.h"

#include <png.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace {

constexpr std::size_t kBitDepthOffset = 24;  // signature, chunk head, width, height
constexpr std::size_t kColorTypeOffset = 25;

}  // namespace

Picture readPicture(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) == 0) {
        return {};
    }
    image.format = PNG_FORMAT_RGB;
    Picture picture{image.width, image.height, bytes[kBitDepthOffset], bytes[kColorTypeOffset],
                    std::vector<std::uint8_t>(PNG_IMAGE_SIZE(image))};
    if (png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr) == 0) {
        return {};
    }
    return picture;
}

Color colorAt(const Picture& picture, std::uint32_t x, std::uint32_t y) {
    if (x >= picture.width || y >= picture.height) {
        return {};
    }
    const std::uint8_t* const pixel = &picture.rgb[(std::size_t{y} * picture.width + x) * 3];
    return {pixel[0], pixel[1], pixel[2]};
}

bool shows(const Picture& picture, Color color) {
    for (std::size_t index = 0; index + 2 < picture.rgb.size(); index += 3) {
        const std::uint8_t* const pixel = &picture.rgb[index];
        if (Color{pixel[0], pixel[1], pixel[2]} == color) {
            return true;
        }
    }
    return false;
}

int greatestDifference(const Picture& one, const Picture& other) {
    if (one.rgb.empty() || one.width != other.width || one.height != other.height) {
        return 256;
    }
    int greatest = 0;
    for (std::size_t index = 0; index < one.rgb.size(); ++index) {
        greatest = std::max(greatest, std::abs(one.rgb[index] - other.rgb[index]));
    }
    return greatest;
}
