#include "picture_pipeline.h"

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

constexpr GstClockTime kBound = 20 * GST_SECOND;

struct UnrefSample {
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};

std::string takeText(GError* error) {
    const std::string text = error->message;
    g_error_free(error);
    return text;
}

Shot shotOf(GstSample* sample) {
    GstVideoInfo format;
    GstVideoFrame frame;
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    if (gst_video_info_from_caps(&format, gst_sample_get_caps(sample)) == FALSE ||
        gst_video_frame_map(&frame, &format, buffer, GST_MAP_READ) == FALSE) {
        throw std::runtime_error("a buffer holds no picture");
    }
    Shot shot{GST_VIDEO_FRAME_WIDTH(&frame), GST_VIDEO_FRAME_HEIGHT(&frame), {},
              GST_BUFFER_PTS(buffer),        GST_BUFFER_DURATION(buffer),    buffer->offset};
    const auto* row = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    for (int y = 0; y < shot.height; ++y) {
        shot.bgrx.insert(shot.bgrx.end(), row, row + std::ptrdiff_t{4} * shot.width);
        row += GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
    }
    gst_video_frame_unmap(&frame);
    return shot;
}

bool isNear(int one, int other, int tolerance) {
    return std::abs(one - other) <= tolerance;
}

}  // namespace

Color colorAt(const Shot& shot, int x, int y) {
    const auto offset = (static_cast<std::size_t>(y) * static_cast<std::size_t>(shot.width) +
                         static_cast<std::size_t>(x)) *
                        4;
    return {shot.bgrx.at(offset + 2), shot.bgrx.at(offset + 1), shot.bgrx.at(offset)};
}

bool shows(const Shot& shot, Color color, int tolerance) {
    for (std::size_t at = 0; at < shot.bgrx.size(); at += 4) {
        if (isNear(shot.bgrx[at], color.blue, tolerance) &&
            isNear(shot.bgrx[at + 1], color.green, tolerance) &&
            isNear(shot.bgrx[at + 2], color.red, tolerance)) {
            return true;
        }
    }
    return false;
}

PicturePipeline::PicturePipeline(const std::string& description) {
    GError* error = nullptr;
    const std::string whole = description + " ! appsink name=pictures sync=false max-buffers=4";
    pipeline_.reset(
        gst_parse_launch_full(whole.c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error));
    if (pipeline_ == nullptr) {
        throw std::runtime_error(takeText(error));
    }
}

PicturePipeline::~PicturePipeline() {
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

Element PicturePipeline::element(const char* name) const {
    return Element(gst_bin_get_by_name(GST_BIN(pipeline_.get()), name));
}

GstStateChangeReturn PicturePipeline::enter(GstState state) const {
    gst_element_set_state(pipeline_.get(), state);
    return gst_element_get_state(pipeline_.get(), nullptr, nullptr, kBound);
}

std::optional<Shot> PicturePipeline::nextOf(const char* sink) const {
    const std::unique_ptr<GstSample, UnrefSample> sample(
        gst_app_sink_try_pull_sample(GST_APP_SINK(element(sink).get()), kBound));
    return sample == nullptr ? std::nullopt : std::optional(shotOf(sample.get()));
}

Shot PicturePipeline::shot() const {
    const std::optional<Shot> shot = next();
    if (!shot) {
        throw std::runtime_error("no picture came: " + error().line);
    }
    return *shot;
}

bool PicturePipeline::tells(GstMessageType type) const {
    const std::unique_ptr<GstBus, Unref> bus(gst_element_get_bus(pipeline_.get()));
    GstMessage* const message = gst_bus_timed_pop_filtered(bus.get(), kBound, type);
    if (message == nullptr) {
        return false;
    }
    gst_message_unref(message);
    return true;
}

PipelineError PicturePipeline::error() const {
    const std::unique_ptr<GstBus, Unref> bus(gst_element_get_bus(pipeline_.get()));
    GstMessage* const message = gst_bus_timed_pop_filtered(bus.get(), kBound, GST_MESSAGE_ERROR);
    if (message == nullptr) {
        return {0, 0, "(no error)"};
    }
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    gst_message_unref(message);
    const GQuark domain = error->domain;
    const int code = error->code;
    return {domain, code, takeText(error)};
}

GstClockTime PicturePipeline::runningTime() const {
    const std::unique_ptr<GstClock, Unref> clock(gst_element_get_clock(pipeline_.get()));
    return gst_clock_get_time(clock.get()) - gst_element_get_base_time(pipeline_.get());
}
