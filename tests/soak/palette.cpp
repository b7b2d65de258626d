#include "palette.h"

namespace palette {

namespace {

constexpr unsigned kShades = 23;  // of one component, ten apart
constexpr unsigned kReds = 190;
constexpr unsigned kDarkestRed = 60;
constexpr unsigned kTimesOfAGreen = 256;

std::uint8_t shade(unsigned n) {
    return static_cast<std::uint8_t>(20 + 10 * (n % kShades));
}

}  // namespace

Color ordinary(unsigned n) {
    return {0, shade(n), shade(n / kShades)};
}

Color secret(unsigned n) {
    return {static_cast<std::uint8_t>(kDarkestRed + n % kReds), 0, 0};
}

Color background(unsigned n) {
    return {0, 0, shade(n)};
}

/* Greens that end in 5 are the clock's. */
Color clock(unsigned time) {
    const unsigned wrapped = time % kTimes;
    return {0, static_cast<std::uint8_t>(5 + 10 * (wrapped / kTimesOfAGreen)),
            static_cast<std::uint8_t>(wrapped % kTimesOfAGreen)};
}

std::uint32_t pixelOf(Color color) {
    return std::uint32_t{color.red} << 16 | std::uint32_t{color.green} << 8 | color.blue;
}

bool has(std::uint32_t pixel) {
    const std::uint32_t red = pixel >> 16 & 0xFF;
    const std::uint32_t green = pixel >> 8 & 0xFF;
    const std::uint32_t blue = pixel & 0xFF;
    if (red != 0)
        return red >= kDarkestRed && red < kDarkestRed + kReds && green == 0 && blue == 0;
    const bool isOfShades = green % 10 == 0 && blue % 10 == 0 && green <= 240 && blue <= 240;
    return isOfShades || timeOf(pixel);
}

bool isOfBackground(std::uint32_t pixel) {
    return pixel <= 0xFF && has(pixel);
}

std::optional<unsigned> timeOf(std::uint32_t pixel) {
    const std::uint32_t green = pixel >> 8 & 0xFF;
    if (pixel >> 16 != 0 || green % 10 != 5 || green > 245)
        return std::nullopt;
    return green / 10 * kTimesOfAGreen + (pixel & 0xFF);
}

bool isLater(unsigned time, unsigned than) {
    const unsigned distance = (time + kTimes - than) % kTimes;
    return distance != 0 && distance < kTimes / 2;
}

}  // namespace palette
