/*
 * What the element and those after it agree on: virtual functions of its class.
 */
#ifndef QOR_GSTREAMER_NEGOTIATION_H
#define QOR_GSTREAMER_NEGOTIATION_H

#include <gst/base/gstbasesrc.h>

GstCaps* getCaps(GstBaseSrc* source, GstCaps* filter);
GstCaps* fixate(GstBaseSrc* source, GstCaps* caps);
gboolean setCaps(GstBaseSrc* source, GstCaps* caps);

/* Adds a pool for the pictures to what the base class decides on. */
void offerPool(GstBaseSrc* source, GstQuery* query);

/* False while no rate is agreed on. */
bool answerLatency(GstBaseSrc* source, GstQuery* query);

#endif
