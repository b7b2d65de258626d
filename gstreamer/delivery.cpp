#include "delivery.h"

#include <gst/video/video.h>

#include "element_state.h"
#include "owned.h"

GST_DEBUG_CATEGORY_EXTERN(qorcapturesrc_debug);
#define GST_CAT_DEFAULT qorcapturesrc_debug

namespace {

/* A buffer's picture, while it is written. */
class PictureInBuffer {
  public:
    PictureInBuffer(const GstVideoInfo& format, GstBuffer* buffer) {
        if (gst_video_frame_map(&frame_, &format, buffer, GST_MAP_WRITE) == FALSE) {
            throw Fault(GST_RESOURCE_ERROR_FAILED, "A buffer for a picture cannot be written to.");
        }
    }
    ~PictureInBuffer() { gst_video_frame_unmap(&frame_); }
    PictureInBuffer(const PictureInBuffer&) = delete;
    PictureInBuffer& operator=(const PictureInBuffer&) = delete;

    GstVideoFrame& frame() { return frame_; }

  private:
    GstVideoFrame frame_ = {};
};

void stamp(GstBuffer* buffer, const FrameSlot& slot) {
    GST_BUFFER_PTS(buffer) = slot.time;
    GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
    GST_BUFFER_DURATION(buffer) = slot.duration;
    GST_BUFFER_OFFSET(buffer) = slot.number;
    GST_BUFFER_OFFSET_END(buffer) = slot.number + 1;
}

void tellOfGap(gpointer object, const FrameSlot& slot) {
    const ElementState& state = stateOf(object);
    GST_INFO_OBJECT(object, "no picture for %" G_GUINT64_FORMAT " frame durations so far",
                    state.missed);
    GstMessage* const message = gst_message_new_qos(GST_OBJECT(object), TRUE, slot.time, slot.time,
                                                    slot.time, slot.duration);
    gst_message_set_qos_stats(message, GST_FORMAT_BUFFERS, state.delivered, state.missed);
    gst_element_post_message(GST_ELEMENT(object), message);
}

enum class Reading { done, noPicture, paused };

Reading readInto(gpointer object, GstBuffer* buffer) {
    ElementState& state = stateOf(object);
    const std::lock_guard lock(state.reading);
    if (!state.pacer.isPlaying()) {
        return Reading::paused;
    }
    const Wishes wishes = wishesOf(object);
    refuseImpossible(wishes, monitorOf(object));
    PictureInBuffer picture(state.format, buffer);
    return state.screen.read(wishes.excluded, picture.frame()) ? Reading::done : Reading::noPicture;
}

void noteMissed(ElementState& state, guint64 count) {
    if (state.delivered > 0 && count > 0) {
        state.missed += count;
        state.hasGap = true;
    }
}

void deliver(gpointer object, GstBuffer* buffer, const FrameSlot& slot) {
    ElementState& state = stateOf(object);
    stamp(buffer, slot);
    if (state.hasGap) {
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
        tellOfGap(object, slot);
    }
    state.hasGap = false;
    ++state.delivered;
}

GstFlowReturn fillInTime(GstPushSrc* source, GstBuffer* buffer) {
    ElementState& state = stateOf(source);
    while (const std::optional<FrameSlot> slot = state.pacer.await(GST_ELEMENT(source))) {
        noteMissed(state, slot->missed);
        const Reading reading = readInto(source, buffer);
        if (reading == Reading::done) {
            deliver(source, buffer, *slot);
            return GST_FLOW_OK;
        }
        if (reading == Reading::noPicture) {
            noteMissed(state, 1);
        }
    }
    return GST_FLOW_FLUSHING;
}

}  // namespace

GstFlowReturn fill(GstPushSrc* source, GstBuffer* buffer) {
    const Owned<GstClock> clock(gst_element_get_clock(GST_ELEMENT(source)));
    if (clock == nullptr) {
        GST_ELEMENT_ERROR(source, CORE, CLOCK, ("Live pictures need a clock: use a pipeline."),
                          (nullptr));
        return GST_FLOW_ERROR;
    }
    try {
        return fillInTime(source, buffer);
    } catch (const Fault& fault) {
        post(source, fault);
        return GST_FLOW_ERROR;
    }
}
