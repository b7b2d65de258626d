#include "qor_capture_src.h"

#include "delivery.h"
#include "element_state.h"
#include "negotiation.h"

GST_DEBUG_CATEGORY(qorcapturesrc_debug);

struct QorCaptureSrcClass {
    GstPushSrcClass parent;
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"  // of our names, in the macro
G_DEFINE_TYPE(QorCaptureSrc, qor_capture_src, GST_TYPE_PUSH_SRC)
#pragma GCC diagnostic pop
GST_ELEMENT_REGISTER_DEFINE(qorcapturesrc, "qorcapturesrc", GST_RANK_NONE,
                            qor_capture_src_get_type())

namespace {

void setProperty(GObject* object, guint property, const GValue* value, GParamSpec* spec) {
    bool isKnown = false;
    {
        const ObjectLock lock(object);
        isKnown = setWish(stateOf(object).wishes, property, value);
    }
    if (!isKnown) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, property, spec);
    } else if (isOfFormat(property)) {
        gst_pad_mark_reconfigure(GST_BASE_SRC_PAD(object));
    }
}

void getProperty(GObject* object, guint property, GValue* value, GParamSpec* spec) {
    const ObjectLock lock(object);
    if (!getWish(stateOf(object).wishes, property, value)) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, property, spec);
    }
}

gboolean start(GstBaseSrc* source) {
    ElementState& state = stateOf(source);
    const Wishes wishes = wishesOf(source);
    try {
        const CAP_SIZE monitor = state.screen.open(wishes.monitor, wishes.window);
        refuseImpossible(wishes, monitor);
        const ObjectLock lock(source);
        state.monitor = monitor;
    } catch (const Fault& fault) {
        post(source, fault);
        return FALSE;
    }
    state.pacer.start();
    state.delivered = 0;
    state.missed = 0;
    state.hasGap = false;
    return TRUE;
}

gboolean stop(GstBaseSrc* source) {
    ElementState& state = stateOf(source);
    const ObjectLock lock(source);
    state.monitor = {};
    state.latency = 0;
    return TRUE;
}

// Nothing is read off the screen while nobody wants pictures. The base class lets the streaming
// thread prepare the next one during a pause, which would be an old one afterwards.
void endCapture(ElementState& state) {
    state.pacer.setPlaying(false);
    const std::lock_guard lock(state.reading);
    state.screen.pause();
}

GstStateChangeReturn changeState(GstElement* element, GstStateChange change) {
    ElementState& state = stateOf(element);
    if (change == GST_STATE_CHANGE_PLAYING_TO_PAUSED) {
        endCapture(state);
    }
    const GstStateChangeReturn result =
        GST_ELEMENT_CLASS(qor_capture_src_parent_class)->change_state(element, change);
    if (change == GST_STATE_CHANGE_PAUSED_TO_PLAYING && result != GST_STATE_CHANGE_FAILURE) {
        state.pacer.setPlaying(true);
    }
    return result;
}

gboolean unlock(GstBaseSrc* source) {
    stateOf(source).pacer.interrupt();
    return TRUE;
}

gboolean unlockStop(GstBaseSrc* source) {
    stateOf(source).pacer.resume();
    return TRUE;
}

gboolean decideAllocation(GstBaseSrc* source, GstQuery* query) {
    offerPool(source, query);
    return GST_BASE_SRC_CLASS(qor_capture_src_parent_class)->decide_allocation(source, query);
}

gboolean answer(GstBaseSrc* source, GstQuery* query) {
    if (GST_QUERY_TYPE(query) == GST_QUERY_LATENCY) {
        return answerLatency(source, query) ? TRUE : FALSE;
    }
    return GST_BASE_SRC_CLASS(qor_capture_src_parent_class)->query(source, query);
}

void finalize(GObject* object) {
    delete &stateOf(object);
    G_OBJECT_CLASS(qor_capture_src_parent_class)->finalize(object);
}

void describe(GstElementClass* element) {
    constexpr int kLargest = G_MAXINT;
    GstCaps* const caps = captureCapsUpTo({kLargest, kLargest});
    gst_element_class_add_pad_template(
        element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
    gst_element_class_set_static_metadata(
        element, "Monitor and window capture", "Source/Video",
        "Captures a monitor, with or without some of its windows, or one window alone",
        "The capture manager's developers");
}

}  // namespace

static void qor_capture_src_init(QorCaptureSrc* self) {
    self->state = new ElementState;
    gst_base_src_set_live(GST_BASE_SRC(self), TRUE);
    gst_base_src_set_format(GST_BASE_SRC(self), GST_FORMAT_TIME);
}

static void qor_capture_src_class_init(QorCaptureSrcClass* type) {
    GST_DEBUG_CATEGORY_INIT(qorcapturesrc_debug, "qorcapturesrc", 0, "monitor and window capture");
    auto* const object = G_OBJECT_CLASS(type);
    object->set_property = setProperty;
    object->get_property = getProperty;
    object->finalize = finalize;
    installProperties(object);
    auto* const element = GST_ELEMENT_CLASS(type);
    element->change_state = changeState;
    describe(element);
    auto* const source = GST_BASE_SRC_CLASS(type);
    source->start = start;
    source->stop = stop;
    source->unlock = unlock;
    source->unlock_stop = unlockStop;
    source->get_caps = getCaps;
    source->fixate = fixate;
    source->set_caps = setCaps;
    source->decide_allocation = decideAllocation;
    source->query = answer;
    GST_PUSH_SRC_CLASS(type)->fill = fill;
}
