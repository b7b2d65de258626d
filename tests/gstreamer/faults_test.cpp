/* What the element says when it cannot go on. */
#include <optional>

#include "element_test.h"
#include "randr_client.h"

namespace {

using testing::HasSubstr;

class ElementFaultsTest : public ElementTest {
  protected:
    /* The error of a pipeline that does not even start. */
    static PipelineError refusalOf(const std::string& description) {
        const PicturePipeline pipeline(description);
        EXPECT_EQ(pipeline.enter(GST_STATE_PAUSED), GST_STATE_CHANGE_FAILURE);
        return pipeline.error();
    }

    static void expect(const PipelineError& error, GstResourceError code, const char* part) {
        EXPECT_EQ(error.domain, GST_RESOURCE_ERROR);
        EXPECT_EQ(error.code, code);
        EXPECT_THAT(error.line, HasSubstr(part));
    }
};

TEST_F(ElementFaultsTest, NoDisplayServer) {
    useDisplay(":9876");
    expect(refusalOf("qorcapturesrc"), GST_RESOURCE_ERROR_OPEN_READ, "DISPLAY is ':9876'");
}

TEST_F(ElementFaultsTest, NoDisplayNamed) {
    useDisplay("");
    expect(refusalOf("qorcapturesrc"), GST_RESOURCE_ERROR_OPEN_READ, "DISPLAY is not set");
}

TEST_F(ElementFaultsTest, NoSuchMonitor) {
    expect(refusalOf("qorcapturesrc monitor=3"), GST_RESOURCE_ERROR_NOT_FOUND,
           "no monitor 3: there is only monitor 0");
}

TEST_F(ElementFaultsTest, SizeBeyondTheMonitor) {
    expect(refusalOf("qorcapturesrc height=481"), GST_RESOURCE_ERROR_SETTINGS, "640x480");
}

TEST_F(ElementFaultsTest, SizeBeyondTheMonitorWhilePicturesFlow) {
    const PicturePipeline pipeline("qorcapturesrc name=source");
    pipeline.enter(GST_STATE_PLAYING);
    pipeline.shot();
    g_object_set(pipeline.element("source").get(), "width", 641, nullptr);
    expect(pipeline.error(), GST_RESOURCE_ERROR_SETTINGS, "640x480");
}

TEST_F(ElementFaultsTest, WindowAloneWithWindowsToLeaveOut) {
    expect(refusalOf("qorcapturesrc window=5 excluded-windows=<6>"), GST_RESOURCE_ERROR_SETTINGS,
           "either window or excluded-windows");
}

TEST_F(ElementFaultsTest, WindowToLeaveOutWhileOneIsShownAlone) {
    const PicturePipeline pipeline("qorcapturesrc name=source window=" +
                                   std::to_string(openWindow(kGreen)));
    pipeline.enter(GST_STATE_PLAYING);
    pipeline.shot();
    gst_util_set_object_arg(G_OBJECT(pipeline.element("source").get()), "excluded-windows", "<5>");
    expect(pipeline.error(), GST_RESOURCE_ERROR_SETTINGS, "either window or excluded-windows");
}

TEST_F(ElementFaultsTest, NoSuchWindow) {
    const PicturePipeline pipeline("qorcapturesrc window=1");
    pipeline.enter(GST_STATE_PLAYING);
    expect(pipeline.error(), GST_RESOURCE_ERROR_READ, "Window 1 has shown nothing on monitor 0");
    EXPECT_FALSE(pipeline.next());
}

TEST_F(ElementFaultsTest, DisplayServerThatEnds) {
    std::optional<XvfbServer> server(std::in_place, "320x200x24");
    useDisplay(server->display());
    const PaintedScene scene(server->display());
    const PicturePipeline pipeline("qorcapturesrc");
    pipeline.enter(GST_STATE_PLAYING);
    pipeline.shot();
    server.reset();
    while (pipeline.next()) {
    }
    expect(pipeline.error(), GST_RESOURCE_ERROR_READ, "Monitor 0 is gone");
}

TEST_F(ElementFaultsTest, MonitorThatChangesItsSize) {
    RandrClient randr(display());
    const PicturePipeline pipeline("qorcapturesrc");
    pipeline.enter(GST_STATE_PLAYING);
    pipeline.shot();
    randr.setMode(modeOfSize(400, 300));
    while (pipeline.next()) {
    }
    expect(pipeline.error(), GST_RESOURCE_ERROR_READ, "was 640x480 at 0,0");
}

TEST_F(ElementFaultsTest, MonitorWhoseNumberIsAnotherOnesAfterAPause) {
    RandrClient randr(display());
    randr.setMonitor({"left", {0, 0, 300, 480}, {0}});
    randr.setMonitor({"right", {300, 0, 340, 480}, {}});
    const PicturePipeline pipeline("qorcapturesrc monitor=1");
    pipeline.enter(GST_STATE_PLAYING);
    pipeline.shot();
    pipeline.enter(GST_STATE_PAUSED);
    randr.deleteMonitor("right");
    randr.setMonitor({"right", {300, 0, 340, 480}, {}, true});
    pipeline.enter(GST_STATE_PLAYING);
    while (pipeline.next()) {
    }
    expect(pipeline.error(), GST_RESOURCE_ERROR_READ, "340x480 at 300,0 (right) and is");
}

}  // namespace
