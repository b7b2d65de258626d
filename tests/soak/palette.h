/*
 * The colours of the soak's scene: a pixel's colour tells what it is a pixel of. Only secret
 * windows have any red, also once a frame is scaled.
 */
#pragma once

#include <cstdint>
#include <optional>

#include "painter.h"

namespace palette {

/* How many clock times there are before they begin again. */
constexpr unsigned kTimes = 25 * 256;

/* The n-th of each kind; they begin again after a few hundred. */
Color ordinary(unsigned n);
Color secret(unsigned n);
Color background(unsigned n);
Color clock(unsigned time);

/* As in a frame, 0xRRGGBB. */
std::uint32_t pixelOf(Color color);

/* Whether a pixel may be in a picture of the scene at all. Black may: it stands for no picture. */
bool has(std::uint32_t pixel);

bool isOfBackground(std::uint32_t pixel);

/* The time that a pixel of a clock shows. */
std::optional<unsigned> timeOf(std::uint32_t pixel);

/* Whether one time is later than another, for times that are not too far apart. */
bool isLater(unsigned time, unsigned than);

}  // namespace palette
