/*
 * One element, as the parts of its class see it.
 */
#ifndef QOR_GSTREAMER_ELEMENT_STATE_H
#define QOR_GSTREAMER_ELEMENT_STATE_H

#include <gst/base/gstpushsrc.h>
#include <gst/video/video.h>

#include <mutex>

#include "fault.h"
#include "frame_pacer.h"
#include "properties.h"
#include "screen_source.h"

struct ElementState {
    FramePacer pacer;
    std::mutex reading;  // over the next
    ScreenSource screen;

    // Of the streaming thread, or of state changes while that does not run.
    GstVideoInfo format = {};
    guint64 delivered = 0;  // pictures since the start
    guint64 missed = 0;     // frame durations without one, from the first on
    bool hasGap = false;    // since the last picture

    // Under the object's lock.
    Wishes wishes;
    CAP_SIZE monitor = {};     // its size; zero while none is known
    GstClockTime latency = 0;  // 0 while no rate is agreed on
};

struct QorCaptureSrc {
    GstPushSrc parent;
    ElementState* state;  // created and deleted with the object
};

class ObjectLock {
  public:
    explicit ObjectLock(gpointer object) : object_(object) { GST_OBJECT_LOCK(object_); }
    ~ObjectLock() { GST_OBJECT_UNLOCK(object_); }
    ObjectLock(const ObjectLock&) = delete;
    ObjectLock& operator=(const ObjectLock&) = delete;

  private:
    gpointer object_;
};

/* The object is an element of ours. */
ElementState& stateOf(gpointer object);

Wishes wishesOf(gpointer object);

/* Its monitor's size; zero while none is known. */
CAP_SIZE monitorOf(gpointer object);

/* Throws Fault where the wishes cannot be met on such a monitor, or not together. */
void refuseImpossible(const Wishes& wishes, CAP_SIZE monitor);

/* Tells the pipeline that the element cannot go on. */
void post(gpointer object, const Fault& fault);

#endif
