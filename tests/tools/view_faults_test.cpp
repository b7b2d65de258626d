/* How 'capmgr view' ends, and what it makes of what goes wrong. */
#include <csignal>

#include "desktop_session.h"
#include "randr_client.h"
#include "view_fixture.h"

namespace {

using testing::HasSubstr;

using ViewEndTest = ViewTest;

TEST_F(ViewEndTest, InterruptionEndsItProperly) {
    ASSERT_NO_FATAL_FAILURE(start());
    viewer->process().send(SIGINT);
    const ChildResult result = viewer->process().finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
}

TEST_F(ViewEndTest, ClosingTheWindowEndsItProperly) {
    DesktopSession session(server->display());
    session.startWindowManager();
    ASSERT_NO_FATAL_FAILURE(start());
    session.close(ownWindow());
    const ChildResult result = viewer->process().finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
}

TEST_F(ViewEndTest, LostServerIsToldInOneLine) {
    ASSERT_NO_FATAL_FAILURE(start());
    client.reset();
    server.reset();
    expectRefusal(viewer->process().finish(), 1, "the connection to the display server is lost");
}

TEST_F(ViewEndTest, SharedWindowThatIsClosedIsToldInTheWindowAndThenEndsIt) {
    ASSERT_NO_FATAL_FAILURE(start({"--window", std::to_string(window)}));
    client->destroy(window);
    client->sync();
    EXPECT_TRUE(viewer->awaitState("notice",
                                   "no picture: the window is not on screen any more, or its "
                                   "picture cannot be had by itself"));
    expectRefusal(viewer->process().finish(), 1, "the window is not on screen any more");
}

TEST_F(ViewEndTest, MonitorThatChangesItsSizeIsFollowed) {
    RandrClient randr(server->display());
    ASSERT_NO_FATAL_FAILURE(start());
    randr.setMode(modeOfSize(500, 400));
    EXPECT_TRUE(viewer->awaitState("shown", {{"width", 500}, {"height", 400}}));
}

TEST_F(ViewEndTest, MonitorThatIsGoneIsReplacedByTheFirst) {
    RandrClient randr(server->display());
    randr.setMonitor({"left", {0, 0, 340, 480}, {0}, true});
    randr.setMonitor({"right", {340, 0, 300, 480}, {}});
    ASSERT_NO_FATAL_FAILURE(start({"--monitor", "1"}));
    randr.deleteMonitor("right");
    EXPECT_TRUE(viewer->awaitState("shown", {{"width", 340}, {"height", 480}}));
    EXPECT_EQ(viewer->state().at("monitor_name"), "left");
}

TEST_F(ViewEndTest, WindowSystemThatIsNotThereIsTold) {
    environment = {"SDL_VIDEODRIVER=none-such"};
    expectRefusal(runToEnd(view()), 1, "cannot open a window: none-such not available");
}

TEST_F(ViewEndTest, WithoutAFontThePictureIsShownAndANoteTellsWhatIsMissing) {
    makeFile("fonts.conf", "<fontconfig></fontconfig>");
    environment.push_back("FONTCONFIG_FILE=" + file("fonts.conf").string());
    const ChildResult result = runToEnd(view({"--seconds", "0.2"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.errors,
                HasSubstr("note: there are no texts over the picture: no font is installed\n"));
}

}  // namespace
