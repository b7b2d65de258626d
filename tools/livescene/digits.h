#ifndef LIVESCENE_DIGITS_H
#define LIVESCENE_DIGITS_H

#include <xcb/xproto.h>

#include <cstdint>
#include <vector>

/*
 * The rectangles that show a number in seven-segment digits: `count` of them with leading zeros, as
 * large as fit into `area` (pixels).
 */
std::vector<xcb_rectangle_t> digitRectangles(std::uint64_t number, unsigned int count,
                                             const xcb_rectangle_t& area);

#endif
