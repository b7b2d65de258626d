#ifndef CAPMGR_PNG_ENCODER_H
#define CAPMGR_PNG_ENCODER_H

#include <vector>

#include "frame.h"

/* The frame as the bytes of a PNG file, 8-bit RGB; alpha is left out. Throws Failure. */
std::vector<char> encodePng(const Frame& frame);

#endif
