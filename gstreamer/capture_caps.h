/*
 * What the element offers: sizes up to the monitor's own, rates up to the capture manager's.
 */
#ifndef QOR_GSTREAMER_CAPTURE_CAPS_H
#define QOR_GSTREAMER_CAPTURE_CAPS_H

#include <gst/gst.h>

#include "CaptureManager.h"
#include "frame_pacer.h"

constexpr FrameRate kHighestRate{30, 1};
constexpr FrameRate kLowestRate{1, 1};

/* The caps of a monitor of that size, the caller's to unref. */
GstCaps* captureCapsUpTo(CAP_SIZE monitor);

/* What is preferred where those who receive the pictures leave it open. */
struct PreferredFormat {
    CAP_SIZE size = {};  // a side of 0: as the other side and the monitor's proportions say
    FrameRate rate = kHighestRate;
};

/* Takes the caps, and gives fixed ones, the caller's to unref. */
GstCaps* fixateCapture(GstCaps* caps, const PreferredFormat& preferred, CAP_SIZE monitor);

#endif
