#ifndef QOR_GSTREAMER_OWNED_H
#define QOR_GSTREAMER_OWNED_H

#include <gst/gst.h>

#include <memory>

struct UnrefObject {
    void operator()(gpointer object) const { gst_object_unref(object); }
};

/* One reference to an object of GStreamer's, or none. */
template <typename T>
using Owned = std::unique_ptr<T, UnrefObject>;

#endif
