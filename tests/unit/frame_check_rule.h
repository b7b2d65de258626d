// What checkFrame finds, one pixel at a time: what tests and searches judge it by.
#ifndef UNIT_FRAME_CHECK_RULE_H
#define UNIT_FRAME_CHECK_RULE_H

#include "FrameCheck.h"

FrameCheck plainlyChecked(const unsigned char* data, uint32_t width, uint32_t height);

// Of frames that are not uniform nothing else is told.
bool isSameFinding(const FrameCheck& one, const FrameCheck& other);

#endif
