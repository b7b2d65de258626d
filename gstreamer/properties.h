/*
 * The element's properties, and what they are set to.
 */
#ifndef QOR_GSTREAMER_PROPERTIES_H
#define QOR_GSTREAMER_PROPERTIES_H

#include <gst/gst.h>

#include <optional>
#include <vector>

#include "capture_caps.h"

struct Wishes {
    std::optional<unsigned int> monitor;  // none: the primary one
    unsigned int window = 0;              // 0: none
    std::vector<unsigned int> excluded;
    PreferredFormat format;
};

void installProperties(GObjectClass* type);

/* False for a number that is no property's. */
bool setWish(Wishes& wishes, guint property, const GValue* value);
bool getWish(const Wishes& wishes, guint property, GValue* value);

/* Whether a change of the property asks for other caps. */
bool isOfFormat(guint property);

#endif
