/*
 * Fills buffers with pictures, each in its time: a virtual function of the element's class.
 */
#ifndef QOR_GSTREAMER_DELIVERY_H
#define QOR_GSTREAMER_DELIVERY_H

#include <gst/base/gstpushsrc.h>

GstFlowReturn fill(GstPushSrc* source, GstBuffer* buffer);

#endif
