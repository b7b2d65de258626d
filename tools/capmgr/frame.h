/* One frame in the host's own memory. */
#ifndef CAPMGR_FRAME_H
#define CAPMGR_FRAME_H

#include <cstdint>
#include <vector>

struct Frame {
    std::vector<std::uint8_t> pixels;  // rows top-down, blue, green, red, alpha, no gaps
    std::uint32_t width = 0;           // pixels
    std::uint32_t height = 0;          // pixels
};

#endif
