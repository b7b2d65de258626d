/* Pictures of chosen windows, and of a monitor without some. */
#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "capmgr_fixture.h"
#include "desktop_session.h"
#include "window_client.h"
#include "xvfb_server.h"

namespace {

using testing::IsEmpty;

constexpr Color kRed{200, 10, 20};
constexpr Color kGreen{30, 180, 40};
constexpr Color kBlue{50, 60, 220};
constexpr Color kBlack{0, 0, 0};

/* Three windows in a row, each in front of the one before and covering its right half. */
class WindowShotTest : public CapmgrTest {
  protected:
    explicit WindowShotTest(std::vector<std::string> serverArguments = {})
        : server("640x480x24", std::move(serverArguments)), client(server.display()) {
        client.sync();
    }

    /* The picture that a command with these arguments writes. */
    Picture shot(const std::vector<std::string>& options) const {
        std::vector<std::string> arguments{"shot"};
        std::ranges::copy(options, std::back_inserter(arguments));
        arguments.emplace_back("shot.png");
        const ChildResult result = runCapmgr(server.display(), arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
        return readPicture(file("shot.png"));
    }

    const XvfbServer server;
    const WindowClient client;
    const xcb_window_t red = client.open({.area = {100, 100, 200, 100}, .color = kRed});
    const xcb_window_t green = client.open({.area = {200, 100, 200, 100}, .color = kGreen});
    const xcb_window_t blue = client.open({.area = {300, 100, 200, 100}, .color = kBlue});
};

TEST_F(WindowShotTest, ExcludedWindowIsNotInThePicture) {
    const Picture picture = shot({"--exclude", std::to_string(green)});
    EXPECT_EQ(colorAt(picture, 150, 150), kRed);
    EXPECT_EQ(colorAt(picture, 250, 150), kRed);
    EXPECT_EQ(colorAt(picture, 350, 150), kBlue);
    EXPECT_FALSE(shows(picture, kGreen));
}

TEST_F(WindowShotTest, ExcludedWindowsMayBeGivenInAllTheseWays) {
    const std::string first = std::to_string(red);
    std::ostringstream hex;
    hex << "0x" << std::hex << blue;
    const std::string second = hex.str();
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--exclude", first, second},
                                               {"--exclude", first + "," + second},
                                               {"--exclude", first, "--exclude", second},
                                               {"--exclude=" + second, "--exclude=" + first},
                                               {"--exclude", first, second, "--size", "640x480"}}) {
        const Picture picture = shot(arguments);
        EXPECT_TRUE(shows(picture, kGreen)) << testing::PrintToString(arguments);
        EXPECT_FALSE(shows(picture, kRed)) << testing::PrintToString(arguments);
        EXPECT_FALSE(shows(picture, kBlue)) << testing::PrintToString(arguments);
    }
}

TEST_F(WindowShotTest, ExcludedWindowThatIsNotThereIsNoted) {
    const ChildResult result =
        runCapmgr(server.display(), {"shot", "shot.png", "--exclude", "12", std::to_string(red)});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "note: no window 12 on screen; nothing to leave out\n");
    const Picture picture = readPicture(file("shot.png"));
    EXPECT_TRUE(shows(picture, kGreen));
    EXPECT_FALSE(shows(picture, kRed));
}

TEST_F(WindowShotTest, SharedWindowIsWholeAtItsPlaceAndAlone) {
    const Picture picture = shot({"--window", std::to_string(red)});
    EXPECT_EQ(colorAt(picture, 100, 100), kRed);
    EXPECT_EQ(colorAt(picture, 299, 199), kRed);
    EXPECT_EQ(colorAt(picture, 99, 150), kBlack);
    EXPECT_EQ(colorAt(picture, 300, 150), kBlack);
    EXPECT_FALSE(shows(picture, kGreen));
    EXPECT_FALSE(shows(picture, kBlue));
}

TEST_F(WindowShotTest, RunLeavesExcludedWindowsOutOfEveryPicture) {
    const ChildResult result =
        runCapmgr(server.display(), {"run", "--seconds", "0.5", "--exclude", std::to_string(blue)});
    EXPECT_EQ(result.status, 0) << result.errors;
    for (const char* const name : {"first.png", "middle.png", "last.png"}) {
        const Picture picture = readPicture(file("captures") / name);
        EXPECT_EQ(colorAt(picture, 350, 150), kGreen) << name;
        EXPECT_FALSE(shows(picture, kBlue)) << name;
    }
}

TEST_F(WindowShotTest, RunOfAWindowShowsItInEveryPicture) {
    const ChildResult result =
        runCapmgr(server.display(), {"run", "--seconds", "0.5", "--window", std::to_string(green)});
    EXPECT_EQ(result.status, 0) << result.errors;
    for (const char* const name : {"first.png", "middle.png", "last.png"}) {
        const Picture picture = readPicture(file("captures") / name);
        EXPECT_EQ(colorAt(picture, 350, 150), kGreen) << name;
        EXPECT_FALSE(shows(picture, kBlue)) << name;
    }
}

TEST_F(WindowShotTest, RunOfAWindowThatClosesFailsAndKeepsItsLastPicture) {
    ChildProcess child(
        capmgr(server.display(), {"run", "--seconds", "60", "--window", std::to_string(green)}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    client.destroy(green);
    client.sync();
    expectRefusal(child.finish(), 1, "for 5 s: the window is not on screen any more");
    EXPECT_EQ(colorAt(readPicture(file("captures/last.png")), 350, 150), kGreen);
}

using PaintedWindowTest = CapmgrTest;

TEST_F(PaintedWindowTest, ApplicationHasPaintedWhatTheShotShows) {
    const XvfbServer server("640x480x24");
    DesktopSession desktop(server.display());
    desktop.startWindowManager();
    const xcb_window_t terminal = desktop.startClient(
        {"xterm", "-bg", "white", "-fg", "#c80a14", "-e", "sh", "-c", "echo text; exec sleep 60"});
    const auto wholeScreen = [&] {
        runCapmgr(server.display(), {"shot", "whole.png"});
        return readPicture(file("whole.png"));
    };
    constexpr int kMostAttempts = 100;
    int attempts = 0;
    while (!shows(wholeScreen(), kRed)) {
        ASSERT_LT(++attempts, kMostAttempts) << "the terminal shows no text";
    }
    runCapmgr(server.display(), {"shot", "--window", std::to_string(terminal), "alone.png"});
    EXPECT_EQ(greatestDifference(readPicture(file("alone.png")), wholeScreen()), 0);
}

class WithoutContentsTest : public WindowShotTest {
  protected:
    WithoutContentsTest() : WindowShotTest({"-extension", "Composite"}) {}
};

TEST_F(WithoutContentsTest, ShotOfAWindowFails) {
    expectRefusal(runCapmgr(server.display(), {"shot", "--window", std::to_string(red), "a.png"}),
                  1, "or its picture cannot be had by itself");
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(WithoutContentsTest, ShotWithoutAWindowFails) {
    expectRefusal(runCapmgr(server.display(), {"shot", "--exclude", std::to_string(red), "a.png"}),
                  1, "its images cannot be had without the windows left out");
    EXPECT_THAT(names(), IsEmpty());
}

}  // namespace
