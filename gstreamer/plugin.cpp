#include <gst/gst.h>

#include "qor_capture_src.h"

namespace {

gboolean registerElements(GstPlugin* plugin) {
    return GST_ELEMENT_REGISTER(qorcapturesrc, plugin);
}

}  // namespace

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, qorcapture, "Captures monitors and windows",
                  registerElements, QOR_VERSION, "Apache 2.0", "qor_conf_capturemanager",
                  "https://capture-manager.example/")
