/*
 * A pipeline whose pictures the test takes, BGRx, as they come.
 *
 * Each wait has a bound of 20 s. Errors of the test's own making throw std::runtime_error. Use from
 * one thread.
 */
#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "painter.h"

struct Unref {
    void operator()(gpointer object) const { gst_object_unref(object); }
};
using Element = std::unique_ptr<GstElement, Unref>;

struct UnrefCaps {
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};
using Caps = std::unique_ptr<GstCaps, UnrefCaps>;

struct Shot {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bgrx;  // rows without gaps
    GstClockTime time = GST_CLOCK_TIME_NONE;
    GstClockTime duration = GST_CLOCK_TIME_NONE;
    guint64 number = 0;
};

Color colorAt(const Shot& shot, int x, int y);

/* Whether any pixel is of the colour, or as near to it in each component. */
bool shows(const Shot& shot, Color color, int tolerance = 0);

/* What went wrong, as the message on the bus says it. */
struct PipelineError {
    GQuark domain = 0;
    int code = 0;
    std::string line;
};

class PicturePipeline {
  public:
    /* In the syntax of gst-launch-1.0, without a sink. The source may be named "source". */
    explicit PicturePipeline(const std::string& description);
    ~PicturePipeline();
    PicturePipeline(const PicturePipeline&) = delete;
    PicturePipeline& operator=(const PicturePipeline&) = delete;

    GstElement* pipeline() const { return pipeline_.get(); }
    Element element(const char* name) const;

    /* Goes to a state and waits until it is reached. */
    GstStateChangeReturn enter(GstState state) const;

    /* The next picture; none at the end of the stream, or after an error. */
    std::optional<Shot> next() const { return nextOf("pictures"); }

    /* The same, of an appsink in the description. */
    std::optional<Shot> nextOf(const char* sink) const;

    /* The next picture, of which there has to be one. */
    Shot shot() const;

    /* Whether a message of that type comes. */
    bool tells(GstMessageType type) const;

    /* The first error. */
    PipelineError error() const;

    GstClockTime runningTime() const;

  private:
    Element pipeline_;
};
