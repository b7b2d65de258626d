/*
 * qorcapturesrc: a live source of pictures of a monitor or of one window.
 *
 * The type is final; README.md describes its properties.
 */
#ifndef QOR_GSTREAMER_QOR_CAPTURE_SRC_H
#define QOR_GSTREAMER_QOR_CAPTURE_SRC_H

#include <gst/base/gstpushsrc.h>

/* Opaque outside its source file. */
struct QorCaptureSrc;

GST_ELEMENT_REGISTER_DECLARE(qorcapturesrc)

#endif
