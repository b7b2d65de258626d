/* What the pictures show. */
#include <gst/video/video.h>

#include <algorithm>
#include <cstring>

#include "element_test.h"
#include "randr_client.h"

namespace {

/* All of the screen, as the server gives it: rows of BGRx. */
std::vector<std::uint8_t> screenOf(const std::string& display) {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
    const xcb_screen_t* const screen =
        xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    const auto cookie = xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0,
                                      0, screen->width_in_pixels, screen->height_in_pixels, ~0U);
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> image(
        xcb_get_image_reply(connection.get(), cookie, nullptr), &std::free);
    const std::uint8_t* const data = xcb_get_image_data(image.get());
    return {data, data + xcb_get_image_data_length(image.get())};
}

/* Without the fourth bytes, which are no part of the picture. */
std::vector<std::uint8_t> pictureIn(std::vector<std::uint8_t> bgrx) {
    for (std::size_t at = 3; at < bgrx.size(); at += 4) {
        bgrx[at] = 0;
    }
    return bgrx;
}

void exclude(const PicturePipeline& pipeline, const std::string& windows) {
    gst_util_set_object_arg(G_OBJECT(pipeline.element("source").get()), "excluded-windows",
                            windows.c_str());
}

/* Offers a pool whose rows are longer than pictures', to whom asks for memory. */
GstPadProbeReturn offerPaddedRows(GstPad*, GstPadProbeInfo* info, gpointer) {
    GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
    if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) {
        return GST_PAD_PROBE_OK;
    }
    GstCaps* caps = nullptr;
    gst_query_parse_allocation(query, &caps, nullptr);
    GstVideoAlignment padding;
    gst_video_alignment_reset(&padding);
    padding.padding_right = 24;
    GstBufferPool* const pool = gst_video_buffer_pool_new();
    GstStructure* const config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, caps, 1, 2, 0);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_ALIGNMENT);
    gst_buffer_pool_config_set_video_alignment(config, &padding);
    gst_buffer_pool_set_config(pool, config);
    gst_query_add_allocation_pool(query, pool, 1, 2, 0);
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    gst_object_unref(pool);
    return GST_PAD_PROBE_HANDLED;
}

/* The length of the rows of a buffer that passes. */
GstPadProbeReturn noteStride(GstPad*, GstPadProbeInfo* info, gpointer stride) {
    const GstVideoMeta* const meta = gst_buffer_get_video_meta(GST_PAD_PROBE_INFO_BUFFER(info));
    *static_cast<int*>(stride) = meta == nullptr ? 0 : meta->stride[0];
    return GST_PAD_PROBE_OK;
}

using ElementPicturesTest = ElementTest;

TEST_F(ElementPicturesTest, ShowTheScreenToTheByte) {
    openWindow(kRed);
    const PicturePipeline pipeline("qorcapturesrc");
    pipeline.enter(GST_STATE_PLAYING);
    EXPECT_EQ(pictureIn(pipeline.shot().bgrx), pictureIn(screenOf(display())));
}

TEST_F(ElementPicturesTest, FillBuffersWithLongerRows) {
    const PicturePipeline pipeline("qorcapturesrc ! identity name=padded");
    const Element padded = pipeline.element("padded");
    GstPad* const pad = gst_element_get_static_pad(padded.get(), "sink");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, offerPaddedRows, nullptr, nullptr);
    int stride = 0;
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, noteStride, &stride, nullptr);
    gst_object_unref(pad);
    pipeline.enter(GST_STATE_PLAYING);
    const Shot shot = pipeline.shot();
    EXPECT_GT(stride, 4 * kWidth);
    EXPECT_EQ(pictureIn(shot.bgrx), pictureIn(screenOf(display())));
}

// A capture begins at three frames a second, where each tenth picture at most shows a change.
TEST_F(ElementPicturesTest, FollowTheScreenAtTheirOwnRate) {
    const PicturePipeline pipeline("qorcapturesrc");
    pipeline.enter(GST_STATE_PLAYING);
    int fewest = 100;
    for (std::uint8_t change = 1; change <= 8; ++change) {
        const Color color{change, 0, 0};
        painter().fill({600, 440, 40, 40}, color);
        painter().sync();
        int pictures = 1;
        while (!(colorAt(pipeline.shot(), 620, 460) == color)) {
            ++pictures;
        }
        fewest = change > 2 ? std::min(fewest, pictures) : fewest;  // the first ones come at once
    }
    EXPECT_LE(fewest, 5);
}

TEST_F(ElementPicturesTest, NeverShowAnExcludedWindow) {
    const xcb_window_t secret = openWindow(kRed);
    const PicturePipeline pipeline("qorcapturesrc name=source");
    exclude(pipeline, "<" + std::to_string(secret) + ">");
    pipeline.enter(GST_STATE_PLAYING);
    for (int picture = 0; picture < 5; ++picture) {
        painter().fill({0, 0, 40, 40}, picture % 2 == 0 ? kGreen : Color{});
        painter().sync();
        EXPECT_FALSE(shows(pipeline.shot(), kRed)) << picture;
    }
}

TEST_F(ElementPicturesTest, DoNotShowAWindowAnyMoreOnceItIsExcluded) {
    const xcb_window_t secret = openWindow(kRed);
    const PicturePipeline pipeline("qorcapturesrc name=source");
    pipeline.enter(GST_STATE_PLAYING);
    EXPECT_TRUE(shows(pipeline.shot(), kRed));
    exclude(pipeline, "<" + std::to_string(secret) + ">");
    const GstClockTime excludedAt = pipeline.runningTime();
    for (int checked = 0; checked < 5;) {
        const Shot shot = pipeline.shot();
        if (shot.time > excludedAt) {
            EXPECT_FALSE(shows(shot, kRed));
            ++checked;
        }
    }
    exclude(pipeline, "<>");
    int more = 0;
    while (!shows(pipeline.shot(), kRed) && more < 100) {
        ++more;
    }
    EXPECT_LT(more, 100);
}

TEST_F(ElementPicturesTest, ShowOneWindowAloneThoughItIsCovered) {
    const xcb_window_t shared = openWindow(kGreen);
    openWindow(kRed);
    const PicturePipeline pipeline("qorcapturesrc window=" + std::to_string(shared));
    pipeline.enter(GST_STATE_PLAYING);
    const Shot shot = pipeline.shot();
    EXPECT_EQ(colorAt(shot, kWindowArea.x, kWindowArea.y), kGreen);
    EXPECT_EQ(colorAt(shot, 0, 0), Color{});
    EXPECT_FALSE(shows(shot, kRed));
}

TEST_F(ElementPicturesTest, ShowTheMonitorThatIsNamed) {
    RandrClient randr(display());
    randr.setMonitor({"left", {0, 0, 300, 480}, {0}});
    randr.setMonitor({"right", {300, 0, 340, 480}, {}});
    painter().fill({300, 440, 40, 40}, kRed);
    painter().sync();
    const PicturePipeline pipeline("qorcapturesrc monitor=1");
    pipeline.enter(GST_STATE_PLAYING);
    const Shot shot = pipeline.shot();
    EXPECT_EQ(shot.width, 340);
    EXPECT_EQ(colorAt(shot, 0, 479), kRed);
}

TEST_F(ElementPicturesTest, OfTwoElementsAtOnceAreEachItsOwn) {
    const xcb_window_t secret = openWindow(kRed);
    const PicturePipeline pipeline(
        "qorcapturesrc ! video/x-raw,width=320 ! appsink name=whole sync=false max-buffers=4 "
        "qorcapturesrc name=source");
    exclude(pipeline, "<" + std::to_string(secret) + ">");
    pipeline.enter(GST_STATE_PLAYING);
    for (int picture = 0; picture < 5; ++picture) {
        EXPECT_FALSE(shows(pipeline.shot(), kRed));
        const std::optional<Shot> whole = pipeline.nextOf("whole");
        ASSERT_TRUE(whole);
        EXPECT_EQ(whole->width, 320);
        EXPECT_TRUE(shows(*whole, kRed));
    }
}

}  // namespace
