/*
 * Draws at random on windows of a test's X server, in the ways that the core protocol has for it.
 *
 * It takes any depth of screen, and palettes that can be changed. What was drawn is only sent; it
 * is up to the connection's owner to await it. The same numbers give the same drawings.
 */
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "painter.h"

class RandomDrawing {
  public:
    /* Both are the caller's, and outlive the object. Throws std::runtime_error if the server
     * refuses what it needs. */
    RandomDrawing(xcb_connection_t* connection, std::mt19937& random);

    int below(int bound) { return std::uniform_int_distribution(0, bound - 1)(random_); }
    bool oneIn(int count) { return below(count) == 0; }

    /* A colour, by the number that stands for it. */
    std::uint32_t anyPixel();

    /* As often small as large; often across an edge of the screen. */
    Area anyArea(int mostWidth, int mostHeight);

    /* Each of these returns what it did, in a word. Draws in a window, maybe with a part of another
     * one. */
    std::string draw(xcb_window_t target, xcb_window_t source);
    /* Across all windows, as what is dragged is outlined. */
    std::string drawOverAll();
    /* Without a palette, something else. */
    std::string changePalette();

    /* A pattern, the caller's to free. */
    xcb_pixmap_t makePattern();

    bool hasPalette() const { return !palette_.empty(); }

  private:
    xcb_gcontext_t pen(std::uint8_t function = XCB_GX_COPY,
                       std::uint8_t subwindowMode = XCB_SUBWINDOW_MODE_CLIP_BY_CHILDREN);
    void allocatePalette();
    std::string fill(xcb_window_t target);
    std::string drawLines(xcb_window_t target);
    std::string drawPoints(xcb_window_t target);
    std::string drawText(xcb_window_t target);
    std::string copy(xcb_window_t target, xcb_window_t source);
    std::string scroll(xcb_window_t target);
    std::string putImage(xcb_window_t target);
    std::string clear(xcb_window_t target);

    xcb_connection_t* const connection_;
    std::mt19937& random_;
    const xcb_screen_t* const screen_;
    xcb_gcontext_t pen_ = XCB_NONE;
    std::uint32_t bitsPerPixel_ = 0;
    std::vector<std::uint32_t> palette_;  // the places in it that are ours
};
