/* What the element offers, and what is agreed on. */
#include "element_test.h"

namespace {

class ElementCapsTest : public ElementTest {
  protected:
    /* Size and rate that a pipeline agrees on, "640x480 30/1". */
    static std::string agreedOn(const std::string& description) {
        const PicturePipeline pipeline(description);
        pipeline.enter(GST_STATE_PLAYING);
        const Shot shot = pipeline.shot();
        const Element source = pipeline.element("source");
        GstPad* const pad = gst_element_get_static_pad(source.get(), "src");
        const Caps caps(gst_pad_get_current_caps(pad));
        gst_object_unref(pad);
        int numerator = 0;
        int denominator = 0;
        gst_structure_get_fraction(gst_caps_get_structure(caps.get(), 0), "framerate", &numerator,
                                   &denominator);
        return std::to_string(shot.width) + "x" + std::to_string(shot.height) + " " +
               std::to_string(numerator) + "/" + std::to_string(denominator);
    }
};

TEST_F(ElementCapsTest, OffersSizesUpToTheMonitorsOnceItIsKnown) {
    const PicturePipeline pipeline("qorcapturesrc name=source");
    pipeline.enter(GST_STATE_PAUSED);
    const Element source = pipeline.element("source");
    GstPad* const pad = gst_element_get_static_pad(source.get(), "src");
    const Caps offered(gst_pad_query_caps(pad, nullptr));
    gst_object_unref(pad);
    const Caps expected(gst_caps_from_string(
        "video/x-raw,format=BGRx,width=[1,640],height=[1,480],framerate=[1/1,30/1],"
        "pixel-aspect-ratio=1/1,interlace-mode=progressive,colorimetry=sRGB"));
    EXPECT_TRUE(gst_caps_is_equal(offered.get(), expected.get()));
}

TEST_F(ElementCapsTest, AgreesOnTheMonitorsSizeAndThirtyFramesByItself) {
    EXPECT_EQ(agreedOn("qorcapturesrc name=source"), "640x480 30/1");
}

TEST_F(ElementCapsTest, FollowsTheSizeAndRateThatAreAskedFor) {
    EXPECT_EQ(
        agreedOn("qorcapturesrc name=source ! video/x-raw,width=321,height=99,framerate=15/2"),
        "321x99 15/2");
}

TEST_F(ElementCapsTest, PrefersTheSizeAndRateOfItsProperties) {
    EXPECT_EQ(agreedOn("qorcapturesrc name=source width=200 height=100 framerate=10"),
              "200x100 10/1");
}

TEST_F(ElementCapsTest, FollowsCapsRatherThanProperties) {
    EXPECT_EQ(agreedOn("qorcapturesrc name=source width=200 height=100 framerate=10 ! "
                       "video/x-raw,width=320,height=240,framerate=20/1"),
              "320x240 20/1");
}

TEST_F(ElementCapsTest, KeepsTheMonitorsProportionsWhereOneSideIsOpen) {
    EXPECT_EQ(agreedOn("qorcapturesrc name=source width=320"), "320x240 30/1");
    EXPECT_EQ(agreedOn("qorcapturesrc name=source ! video/x-raw,height=120"), "160x120 30/1");
    EXPECT_EQ(agreedOn("qorcapturesrc name=source ! video/x-raw,width=[1,64]"), "64x48 30/1");
}

TEST_F(ElementCapsTest, FailsWhereNoCapsAreInCommon) {
    const PicturePipeline pipeline("qorcapturesrc ! video/x-raw,width=641");
    gst_element_set_state(pipeline.pipeline(), GST_STATE_PLAYING);
    const PipelineError error = pipeline.error();
    EXPECT_EQ(error.domain, GST_STREAM_ERROR);
    EXPECT_FALSE(pipeline.next());
}

TEST_F(ElementCapsTest, ChangesTheSizeWhilePicturesFlow) {
    const PicturePipeline pipeline("qorcapturesrc name=source");
    pipeline.enter(GST_STATE_PLAYING);
    Shot last = pipeline.shot();
    EXPECT_EQ(last.width, kWidth);
    g_object_set(pipeline.element("source").get(), "width", 320, nullptr);
    for (int more = 0; last.width == kWidth && more < 100; ++more) {
        const Shot next = pipeline.shot();
        EXPECT_GT(next.time, last.time);
        last = next;
    }
    EXPECT_EQ(last.width, 320);
    EXPECT_EQ(last.height, 240);
}

}  // namespace
