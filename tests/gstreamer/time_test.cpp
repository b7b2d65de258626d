/* Times, latency and the order of what the element sends, on a clock that the test drives. */
#include <gst/check/gstharness.h>

#include <chrono>

#include "element_test.h"

namespace {

struct UnrefBuffer {
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
};
using Buffer = std::unique_ptr<GstBuffer, UnrefBuffer>;

class ElementTimeTest : public ElementTest {
  protected:
    static constexpr GstClockTime kDuration = GST_SECOND / 10;

    ElementTimeTest() : harness_(gst_harness_new("qorcapturesrc")) {
        gst_harness_use_testclock(harness_);
        gst_harness_set(harness_, "qorcapturesrc", "framerate", 10, 1, nullptr);
    }
    ~ElementTimeTest() override { gst_harness_teardown(harness_); }

    GstHarness* harness() const { return harness_; }
    GstElement* element() const { return harness_->element; }

    /* The next picture; lets time pass as far as it takes. The element waits for the one after it
     * when this returns. */
    Buffer buffer() const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline &&
               gst_harness_wait_for_clock_id_waits(harness_, 1, 20) != FALSE) {
            if (gst_harness_buffers_in_queue(harness_) > 0) {
                return Buffer(gst_harness_pull(harness_));
            }
            gst_harness_crank_single_clock_wait(harness_);
        }
        throw std::runtime_error("no picture came");
    }

  private:
    GstHarness* harness_;
};

TEST_F(ElementTimeTest, PicturesAreStampedWithTheirPlaceInRunningTime) {
    gst_harness_play(harness());
    std::uint64_t number = buffer()->offset;
    for (int picture = 0; picture < 4; ++picture) {
        const Buffer next = buffer();
        EXPECT_EQ(next->offset, ++number);
        EXPECT_EQ(next->offset_end, number + 1);
        EXPECT_EQ(GST_BUFFER_PTS(next.get()), number * kDuration);
        EXPECT_EQ(GST_BUFFER_DURATION(next.get()), kDuration);
        EXPECT_FALSE(GST_BUFFER_FLAG_IS_SET(next.get(), GST_BUFFER_FLAG_DISCONT));
    }
}

TEST_F(ElementTimeTest, PicturesThatAreLateAreLeftOutAndTheGapIsTold) {
    GstBus* const bus = gst_bus_new();
    gst_element_set_bus(element(), bus);
    gst_harness_play(harness());
    const std::uint64_t first = buffer()->offset;
    gst_harness_set_time(harness(), (first + 10) * kDuration + kDuration / 2);
    EXPECT_EQ(buffer()->offset, first + 1);  // was under way
    const Buffer late = buffer();
    EXPECT_EQ(late->offset, first + 10);
    EXPECT_EQ(GST_BUFFER_PTS(late.get()), (first + 10) * kDuration);
    EXPECT_TRUE(GST_BUFFER_FLAG_IS_SET(late.get(), GST_BUFFER_FLAG_DISCONT));
    EXPECT_FALSE(GST_BUFFER_FLAG_IS_SET(buffer().get(), GST_BUFFER_FLAG_DISCONT));

    GstMessage* const message = gst_bus_pop_filtered(bus, GST_MESSAGE_QOS);
    ASSERT_NE(message, nullptr);
    guint64 delivered = 0;
    guint64 missed = 0;
    gst_message_parse_qos_stats(message, nullptr, &delivered, &missed);
    EXPECT_EQ(missed, 8U);
    gst_message_unref(message);
    gst_element_set_bus(element(), nullptr);
    gst_object_unref(bus);
}

TEST_F(ElementTimeTest, LatencyIsTheDurationOfAFrame) {
    gst_harness_play(harness());
    buffer();
    GstQuery* const query = gst_query_new_latency();
    ASSERT_TRUE(gst_element_query(element(), query));
    gboolean isLive = FALSE;
    GstClockTime least = 0;
    GstClockTime most = 0;
    gst_query_parse_latency(query, &isLive, &least, &most);
    gst_query_unref(query);
    EXPECT_TRUE(isLive);
    EXPECT_EQ(least, kDuration);
    EXPECT_EQ(most, kDuration);
}

TEST_F(ElementTimeTest, StreamBeginsWithItsStartItsCapsAndItsSegment) {
    gst_harness_play(harness());
    buffer();
    for (const GstEventType type : {GST_EVENT_STREAM_START, GST_EVENT_CAPS, GST_EVENT_SEGMENT}) {
        GstEvent* const event = gst_harness_pull_event(harness());
        EXPECT_STREQ(GST_EVENT_TYPE_NAME(event), gst_event_type_get_name(type));
        gst_event_unref(event);
    }
}

TEST_F(ElementTimeTest, SegmentIsTimeFromZero) {
    gst_harness_play(harness());
    buffer();
    GstEvent* const event = gst_pad_get_sticky_event(harness()->sinkpad, GST_EVENT_SEGMENT, 0);
    ASSERT_NE(event, nullptr);
    const GstSegment* segment = nullptr;
    gst_event_parse_segment(event, &segment);
    EXPECT_EQ(segment->format, GST_FORMAT_TIME);
    EXPECT_EQ(segment->start, 0U);
    gst_event_unref(event);
}

TEST_F(ElementTimeTest, SeeksAreRefused) {
    gst_harness_play(harness());
    buffer();
    EXPECT_FALSE(gst_harness_push_upstream_event(
        harness(), gst_event_new_seek(1, GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, GST_SEEK_TYPE_SET, 0,
                                      GST_SEEK_TYPE_NONE, 0)));
    GstQuery* const query = gst_query_new_seeking(GST_FORMAT_TIME);
    gboolean isSeekable = TRUE;
    EXPECT_TRUE(gst_element_query(element(), query));
    gst_query_parse_seeking(query, nullptr, &isSeekable, nullptr, nullptr);
    EXPECT_FALSE(isSeekable);
    gst_query_unref(query);
}

TEST_F(ElementTimeTest, PicturesGoOnAfterAFlush) {
    gst_harness_play(harness());
    const std::uint64_t before = buffer()->offset;
    EXPECT_TRUE(gst_element_send_event(element(), gst_event_new_flush_start()));
    EXPECT_TRUE(gst_element_send_event(element(), gst_event_new_flush_stop(TRUE)));
    EXPECT_GT(buffer()->offset, before);
}

TEST_F(ElementTimeTest, WithoutAClockThereIsAnErrorThatSaysSo) {
    GstBus* const bus = gst_bus_new();
    gst_element_set_bus(element(), bus);
    gst_element_set_clock(element(), nullptr);
    gst_element_set_state(element(), GST_STATE_PLAYING);
    GstMessage* const message = gst_bus_timed_pop_filtered(bus, 20 * GST_SECOND, GST_MESSAGE_ERROR);
    ASSERT_NE(message, nullptr);
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    EXPECT_TRUE(g_error_matches(error, GST_CORE_ERROR, GST_CORE_ERROR_CLOCK)) << error->message;
    g_error_free(error);
    gst_message_unref(message);
    gst_element_set_state(element(), GST_STATE_NULL);
    gst_element_set_bus(element(), nullptr);
    gst_object_unref(bus);
}

}  // namespace
