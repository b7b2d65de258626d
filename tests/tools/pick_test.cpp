/* Windows that are chosen by a click. */
#include <xcb/xcb.h>

#include <csignal>

#include "capmgr_fixture.h"
#include "desktop_session.h"
#include "window_client.h"
#include "xvfb_server.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr Color kRed{200, 0, 0};
constexpr Color kGreen{0, 200, 0};

/* Two windows that lie over each other, green in front, and a hand on the mouse. */
class PickTest : public CapmgrTest {
  protected:
    /* Runs with standard error in its standard output, and waits until it wants a click. */
    void start(const std::vector<std::string>& arguments) {
        ChildSetup setup = program("/bin/sh", server.display());
        setup.command.insert(setup.command.end(), {"-c", "exec \"$@\" 2>&1", "sh", CAPMGR_PROGRAM});
        setup.command.insert(setup.command.end(), arguments.begin(), arguments.end());
        child.emplace(setup);
        ASSERT_TRUE(child->awaitOutput("note: click the window to "));
    }

    void xdotool(const std::vector<std::string>& arguments) const {
        ChildSetup setup = program("/usr/bin/xdotool", server.display());
        setup.command.insert(setup.command.end(), arguments.begin(), arguments.end());
        const ChildResult result = runToEnd(setup);
        ASSERT_EQ(result.status, 0) << result.errors;
    }

    void click(int x, int y, int button = 1) const {
        xdotool(
            {"mousemove", std::to_string(x), std::to_string(y), "click", std::to_string(button)});
    }

    void expectCancelled(const char* line) {
        const ChildResult result = child->finish();
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.output, HasSubstr(std::string("capmgr: ") + line));
        EXPECT_THAT(names(), IsEmpty());
    }

    const XvfbServer server{"640x480x24"};
    const WindowClient client{server.display()};
    const xcb_window_t red = client.open({.area = {10, 10, 200, 200}, .color = kRed});
    const xcb_window_t green = client.open({.area = {110, 110, 200, 200}, .color = kGreen});
    std::optional<ChildProcess> child;
};

TEST_F(PickTest, ClickedWindowIsCapturedAlone) {
    client.setTitle(red, "notes");
    client.sync();
    start({"shot", "--pick", "a.png"});
    click(50, 50);
    const ChildResult result = child->finish();
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr("note: window " + std::to_string(red) +
                                         ", application -, title notes\n"));
    const Picture picture = readPicture(file("a.png"));
    EXPECT_EQ(colorAt(picture, 150, 150), kRed);
    EXPECT_FALSE(shows(picture, kGreen));
}

TEST_F(PickTest, FrontMostWindowIsTheOneThatIsLeftOut) {
    client.sync();
    start({"shot", "--pick-exclude", "a.png"});
    click(150, 150);
    EXPECT_EQ(child->finish().status, 0);
    const Picture picture = readPicture(file("a.png"));
    EXPECT_EQ(colorAt(picture, 150, 150), kRed);
    EXPECT_FALSE(shows(picture, kGreen));
}

TEST_F(PickTest, EachExclusionTakesAClick) {
    client.open({.area = {400, 10, 50, 50}, .color = {0, 0, 200}});
    client.sync();
    start({"shot", "--pick-exclude", "--pick-exclude", "a.png"});
    click(250, 250);
    ASSERT_TRUE(child->awaitOutput("title -\nnote: click the window to leave out"));
    click(50, 50);
    EXPECT_EQ(child->finish().status, 0);
    const Picture picture = readPicture(file("a.png"));
    EXPECT_FALSE(shows(picture, kRed));
    EXPECT_FALSE(shows(picture, kGreen));
    EXPECT_TRUE(shows(picture, {0, 0, 200}));
}

TEST_F(PickTest, FrameOfAManagedWindowCountsAsTheWindow) {
    DesktopSession desktop(server.display());
    desktop.startWindowManager();
    const xcb_window_t terminal =
        desktop.startClient({"xterm", "-title", "work", "-geometry", "20x5+350+300"});
    const Area outer = desktop.outerArea(terminal);
    start({"shot", "--pick", "a.png"});
    click(outer.x + outer.width / 2, outer.y + 5);
    const ChildResult result = child->finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output,
                HasSubstr("window " + std::to_string(terminal) + ", application XTerm"));
}

TEST_F(PickTest, BackgroundIsNoWindow) {
    client.sync();
    start({"shot", "--pick", "a.png"});
    click(600, 400);
    expectCancelled("there is no window at 600,400, only the desktop's background");
}

TEST_F(PickTest, EscapeCancels) {
    start({"shot", "--pick", "a.png"});
    xdotool({"key", "Escape"});
    expectCancelled("cancelled: no window was clicked");
}

TEST_F(PickTest, RightButtonCancels) {
    start({"shot", "--pick", "a.png"});
    click(50, 50, 3);
    expectCancelled("cancelled: no window was clicked");
}

TEST_F(PickTest, InterruptionCancels) {
    start({"shot", "--pick", "a.png"});
    child->send(SIGINT);
    expectCancelled("interrupted: no window was clicked");
}

TEST_F(PickTest, PointerOfAnotherProgramIsNotTakenAway) {
    xcb_connection_t* const menu = xcb_connect(server.display().c_str(), nullptr);
    const auto grab = xcb_grab_pointer(menu, 0, client.root(), 0, XCB_GRAB_MODE_ASYNC,
                                       XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
    free(xcb_grab_pointer_reply(menu, grab, nullptr));
    const ChildResult result = runCapmgr(server.display(), {"shot", "--pick", "a.png"});
    xcb_disconnect(menu);
    expectRefusal(result, 1, "another program holds the pointer");
    EXPECT_THAT(names(), IsEmpty());
}

}  // namespace
