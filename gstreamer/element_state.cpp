#include "element_state.h"

#include <string>

namespace {

void refuseContradiction(const Wishes& wishes) {
    if (wishes.window != 0 && !wishes.excluded.empty()) {
        throw Fault(GST_RESOURCE_ERROR_SETTINGS,
                    "Set either window or excluded-windows: a window that is shared alone shows no "
                    "others.");
    }
}

void refuseLargerThan(CAP_SIZE monitor, CAP_SIZE wanted) {
    if (wanted.dwWidth > monitor.dwWidth || wanted.dwHeight > monitor.dwHeight) {
        throw Fault(GST_RESOURCE_ERROR_SETTINGS,
                    "Pictures are at most as large as the monitor, " +
                        std::to_string(monitor.dwWidth) + "x" + std::to_string(monitor.dwHeight) +
                        ": set width and height to no more than that.");
    }
}

}  // namespace

ElementState& stateOf(gpointer object) {
    return *static_cast<QorCaptureSrc*>(object)->state;
}

Wishes wishesOf(gpointer object) {
    const ObjectLock lock(object);
    return stateOf(object).wishes;
}

CAP_SIZE monitorOf(gpointer object) {
    const ObjectLock lock(object);
    return stateOf(object).monitor;
}

void refuseImpossible(const Wishes& wishes, CAP_SIZE monitor) {
    refuseContradiction(wishes);
    refuseLargerThan(monitor, wishes.format.size);
}

void post(gpointer object, const Fault& fault) {
    gst_element_message_full(GST_ELEMENT(object), GST_MESSAGE_ERROR, GST_RESOURCE_ERROR,
                             fault.code(), g_strdup(fault.what()), nullptr, __FILE__, __func__,
                             __LINE__);
}
