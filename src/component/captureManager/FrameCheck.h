// Tells frames of one colour, which a display shows while it changes hands or wakes, from content.
#ifndef QOR_CONF_FRAMECHECK_H
#define QOR_CONF_FRAMECHECK_H

#include <cstdint>

struct FrameCheck {
    bool uniform;
    // Of a uniform frame: its colour (24 bits), and how many samples differ, of how many that may.
    uint32_t reference;
    uint32_t differing;
    uint32_t limit;
};

// Checks width x height packed 4-byte pixels, neither size 0; the alpha byte does not count.
// Content is seen by its corners or after a few samples; a uniform frame has a quarter of its
// pixels read.
FrameCheck checkFrame(const unsigned char* data, uint32_t width, uint32_t height);

#endif
