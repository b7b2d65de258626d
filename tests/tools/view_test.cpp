/* What 'capmgr view' shows, and what its keys do. */
#include "randr_client.h"
#include "view_fixture.h"

namespace {

using nlohmann::json;

TEST_F(ViewTest, ShowsTheMonitorWithoutTheViewerItself) {
    ASSERT_NO_FATAL_FAILURE(start({"--no-overlay"}));
    EXPECT_TRUE(awaitWindow());
    // What the viewer's own window covers.
    EXPECT_TRUE(awaitColor(320, 240, kScreen));
    EXPECT_EQ(viewer->state().at("excluded"), json({ownWindow()}));
}

// As most people see it; the sanitizers leave this one out.
TEST_F(ViewTest, ShowsTheMonitorThroughTheGraphicsDriver) {
    environment = {"SDL_VIDEODRIVER=x11"};
    ASSERT_NO_FATAL_FAILURE(start({"--no-overlay"}));
    EXPECT_TRUE(awaitWindow());
    EXPECT_TRUE(awaitColor(320, 240, kScreen));
}

TEST_F(ViewTest, LeavesNothingOutWhenItIsToShowItself) {
    ASSERT_NO_FATAL_FAILURE(start({"--no-overlay", "--include-self"}));
    EXPECT_EQ(viewer->state().at("excluded"), json::array());
    type("q");
    EXPECT_EQ(viewer->process().finish().status, 0);
}

TEST_F(ViewTest, ExcludedWindowComesBackWhenNoneIsToBeLeftOut) {
    ASSERT_NO_FATAL_FAILURE(start({"--no-overlay", "--exclude", std::to_string(window)}));
    EXPECT_TRUE(awaitNoWindow());
    type("c");
    ASSERT_TRUE(viewer->awaitState("excluded", json({ownWindow()})));
    EXPECT_TRUE(awaitWindow());
}

TEST_F(ViewTest, CopyingKeysBringNoWindowIn) {
    ASSERT_NO_FATAL_FAILURE(start({"--exclude", std::to_string(window)}));
    type("ctrl+c");
    type("minus");
    ASSERT_TRUE(viewer->awaitState("frame", {{"width", 480}, {"height", 360}}));
    EXPECT_EQ(viewer->state().at("excluded"), json({window, ownWindow()}));
}

TEST_F(ViewTest, WindowTickedInTheListIsLeftOutUntilItIsTickedAgain) {
    ASSERT_NO_FATAL_FAILURE(start({"--no-overlay"}));
    ASSERT_TRUE(awaitWindow());
    type("x");
    ASSERT_TRUE(viewer->awaitState("choosing_windows", true));
    type("space");
    ASSERT_TRUE(viewer->awaitState("excluded", json({ownWindow(), window})));
    EXPECT_TRUE(awaitNoWindow());
    type("space");
    ASSERT_TRUE(viewer->awaitState("excluded", json({ownWindow()})));
    EXPECT_TRUE(awaitWindow());
    type("Escape");
    ASSERT_TRUE(viewer->awaitState("choosing_windows", false));
}

TEST_F(ViewTest, PausedPictureStaysUntilItGoesOn) {
    constexpr Color kLater{30, 60, 220};
    ASSERT_NO_FATAL_FAILURE(start({"--no-overlay"}));
    ASSERT_TRUE(awaitWindow());
    type("space");
    ASSERT_TRUE(viewer->awaitState("paused", true));
    client->fill(window, {0, 0, kArea.width, kArea.height}, kLater);
    client->sync();
    type("h");  // has all of the window drawn anew
    ASSERT_TRUE(viewer->awaitState("texts", true));
    EXPECT_TRUE(awaitWindow());
    type("space");
    ASSERT_TRUE(viewer->awaitState("paused", false));
    EXPECT_TRUE(awaitColor(kArea.x + 60, kArea.y + 50, kLater));
}

TEST_F(ViewTest, KeysChangeTheSizeOfTheFrames) {
    ASSERT_NO_FATAL_FAILURE(start());
    type("minus");
    EXPECT_TRUE(viewer->awaitState("shown", {{"width", 480}, {"height", 360}}));
    type("minus");
    EXPECT_TRUE(viewer->awaitState("shown", {{"width", 320}, {"height", 240}}));
    type("plus");
    EXPECT_TRUE(viewer->awaitState("shown", {{"width", 480}, {"height", 360}}));
}

TEST_F(ViewTest, KeysChangeTheRate) {
    ASSERT_NO_FATAL_FAILURE(start({"--fps", "10"}));
    type("comma");
    EXPECT_TRUE(viewer->awaitState("frames_per_second_wanted", 5));
    type("period");
    EXPECT_TRUE(viewer->awaitState("frames_per_second_wanted", 10));
}

TEST_F(ViewTest, TextsAreOverThePictureUntilTheyAreHidden) {
    ASSERT_NO_FATAL_FAILURE(start());
    // At the left edge of the panel, whose colour no picture has.
    constexpr Color kEdge{76, 141, 255};
    EXPECT_TRUE(awaitColor(9, 20, kEdge));
    type("h");
    ASSERT_TRUE(viewer->awaitState("texts", false));
    EXPECT_TRUE(awaitColor(9, 20, kScreen));
}

TEST_F(ViewTest, NextMonitorIsShownInPlaceOfTheFirst) {
    RandrClient randr(server->display());
    randr.setMonitor({"left", {0, 0, 340, 480}, {0}, true});
    randr.setMonitor({"right", {340, 0, 300, 480}, {}});
    ASSERT_NO_FATAL_FAILURE(start());
    EXPECT_EQ(viewer->state().at("monitor_name"), "left");
    type("m");
    EXPECT_TRUE(viewer->awaitState("shown", {{"width", 300}, {"height", 480}}));
    EXPECT_EQ(viewer->state().at("monitor_name"), "right");
    type("m");
    EXPECT_TRUE(viewer->awaitState("shown", {{"width", 340}, {"height", 480}}));
}

TEST_F(ViewTest, OnlyMonitorIsSaidToBeTheOnlyOne) {
    ASSERT_NO_FATAL_FAILURE(start());
    type("m");
    EXPECT_TRUE(viewer->awaitState("notice", "there is no other monitor"));
}

TEST_F(ViewTest, PictureOfOneWindowHasNoneToLeaveOut) {
    ASSERT_NO_FATAL_FAILURE(start({"--no-overlay", "--window", std::to_string(window)}));
    EXPECT_TRUE(awaitWindow());
    EXPECT_TRUE(awaitColor(320, 240, {}));
    type("x");
    EXPECT_TRUE(
        viewer->awaitState("notice", "one window is shown alone: there is none to leave out"));
}

TEST_F(ViewTest, EndsWhenTheTimeIsUp) {
    const ChildResult result = runToEnd(view({"--seconds", "0.2"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
}

}  // namespace
