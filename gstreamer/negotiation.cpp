#include "negotiation.h"

#include <gst/video/video.h>

#include <algorithm>

#include "element_state.h"
#include "owned.h"

GstCaps* getCaps(GstBaseSrc* source, GstCaps* filter) {
    const CAP_SIZE monitor = monitorOf(source);
    GstCaps* const caps = monitor.dwWidth == 0
                              ? gst_pad_get_pad_template_caps(GST_BASE_SRC_PAD(source))
                              : captureCapsUpTo(monitor);
    if (filter == nullptr) {
        return caps;
    }
    GstCaps* const common = gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST);
    gst_caps_unref(caps);
    return common;
}

GstCaps* fixate(GstBaseSrc* source, GstCaps* caps) {
    return fixateCapture(caps, wishesOf(source).format, monitorOf(source));
}

gboolean setCaps(GstBaseSrc* source, GstCaps* caps) {
    ElementState& state = stateOf(source);
    if (gst_video_info_from_caps(&state.format, caps) == FALSE) {
        return FALSE;
    }
    state.pacer.setRate({GST_VIDEO_INFO_FPS_N(&state.format), GST_VIDEO_INFO_FPS_D(&state.format)});
    gst_base_src_set_blocksize(source, static_cast<guint>(GST_VIDEO_INFO_SIZE(&state.format)));
    {
        const ObjectLock lock(source);
        state.latency = state.pacer.frameDuration();
    }
    gst_element_post_message(GST_ELEMENT(source), gst_message_new_latency(GST_OBJECT(source)));
    return TRUE;
}

// Those who receive the pictures may bring buffers of their own; where they do not, pictures'
// memory is used again.
void offerPool(GstBaseSrc* source, GstQuery* query) {
    GstCaps* caps = nullptr;
    gst_query_parse_allocation(query, &caps, nullptr);
    GstBufferPool* offered = nullptr;
    guint size = 0;
    guint least = 0;
    guint most = 0;
    const bool hasOffer = gst_query_get_n_allocation_pools(query) > 0;
    if (hasOffer) {
        gst_query_parse_nth_allocation_pool(query, 0, &offered, &size, &least, &most);
    }
    const Owned<GstBufferPool> pool(offered != nullptr ? offered : gst_video_buffer_pool_new());
    size = std::max(size, static_cast<guint>(GST_VIDEO_INFO_SIZE(&stateOf(source).format)));
    GstStructure* const config = gst_buffer_pool_get_config(pool.get());
    gst_buffer_pool_config_set_params(config, caps, size, least, most);
    if (gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr) != FALSE) {
        gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    }
    gst_buffer_pool_set_config(pool.get(), config);
    if (hasOffer) {
        gst_query_set_nth_allocation_pool(query, 0, pool.get(), size, least, most);
    } else {
        gst_query_add_allocation_pool(query, pool.get(), size, least, most);
    }
}

// A picture is as old as its frame's duration at most when it is handed on.
bool answerLatency(GstBaseSrc* source, GstQuery* query) {
    GstClockTime latency = 0;
    {
        const ObjectLock lock(source);
        latency = stateOf(source).latency;
    }
    if (latency == 0) {
        return false;
    }
    gst_query_set_latency(query, TRUE, latency, latency);
    return true;
}
