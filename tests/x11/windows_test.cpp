/* Which windows are listed, by which numbers, and in what order. */
#include "window_test.h"

namespace {

class WindowsTest : public WindowTest {
  protected:
    /* Three windows beside each other, the first one lowest. */
    void openThree() {
        first_ = open({.area = {0, 0, 50, 50}});
        second_ = open({.area = {60, 0, 50, 50}});
        third_ = open({.area = {120, 0, 50, 50}});
    }

    /* A window that is mapped in a frame, or in the last of several in each other. */
    xcb_window_t openFramed(int frames) {
        frame_ = client().create({.area = {0, 0, 90, 90}, .isOverrideRedirect = true});
        xcb_window_t parent = frame_;
        for (int i = 1; i < frames; ++i)
            parent = client().open({.area = {2, 2, 80, 80}, .parent = parent});
        const xcb_window_t window = client().open({.area = {2, 2, 70, 70}, .parent = parent});
        client().map(frame_);
        client().setManaged(window);
        client().sync();
        return window;
    }

    xcb_window_t frame_ = 0;
    xcb_window_t first_ = 0;
    xcb_window_t second_ = 0;
    xcb_window_t third_ = 0;
};

TEST_F(WindowsTest, NoneAreListedOnAnEmptyScreen) {
    EXPECT_EQ(windowsOnScreen(), Windows{});
}

TEST_F(WindowsTest, AreListedFrontToBack) {
    openThree();
    EXPECT_EQ(windowsOnScreen(), (Windows{third_, second_, first_}));
}

TEST_F(WindowsTest, RaisedWindowIsListedFirst) {
    openThree();
    client().raise(first_);
    client().sync();
    EXPECT_EQ(windowsOnScreen(), (Windows{first_, third_, second_}));
}

TEST_F(WindowsTest, UnmappedWindowIsNotListed) {
    openThree();
    client().unmap(second_);
    client().sync();
    EXPECT_EQ(windowsOnScreen(), (Windows{third_, first_}));
}

TEST_F(WindowsTest, DestroyedWindowIsNotListed) {
    openThree();
    client().destroy(third_);
    client().sync();
    EXPECT_EQ(windowsOnScreen(), (Windows{second_, first_}));
}

TEST_F(WindowsTest, WindowOutsideWindowManagementIsListed) {
    const xcb_window_t menu = open({.area = {0, 0, 50, 50}, .isOverrideRedirect = true});
    EXPECT_EQ(windowsOnScreen(), Windows{menu});
}

TEST_F(WindowsTest, WindowForInputOnlyIsNotListed) {
    open({.area = {0, 0, 50, 50}, .isInputOnly = true});
    EXPECT_EQ(windowsOnScreen(), Windows{});
}

TEST_F(WindowsTest, FramedWindowIsListedByItsOwnNumber) {
    const xcb_window_t window = openFramed(1);
    EXPECT_EQ(windowsOnScreen(), Windows{window});
}

TEST_F(WindowsTest, WindowInSeveralFramesIsFound) {
    const xcb_window_t window = openFramed(4);
    EXPECT_EQ(windowsOnScreen(), Windows{window});
}

TEST_F(WindowsTest, WindowInAnUnmappedFrameIsNotListed) {
    openFramed(1);
    client().unmap(frame_);
    client().sync();
    EXPECT_EQ(windowsOnScreen(), Windows{});
}

TEST_F(WindowsTest, WindowWithoutFrameIsListedOnceItIsManaged) {
    const xcb_window_t window = open({.area = {0, 0, 50, 50}});
    client().open({.area = {5, 5, 10, 10}, .parent = window});
    client().setManaged(window);
    client().sync();
    EXPECT_EQ(windowsOnScreen(), Windows{window});
}

/* A window manager is a client of its own, known by a window of its own. */
class ManagedWindowsTest : public WindowsTest {
  protected:
    void SetUp() override {
        WindowsTest::SetUp();
        manager_ = std::make_unique<WindowClient>(server().display());
        const xcb_window_t check = manager_->create({.area = {-9, -9, 1, 1}});
        manager_->setRootProperty("_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, check);
        manager_->sync();
    }
    void TearDown() override { manager_.reset(); }

    std::unique_ptr<WindowClient> manager_;
};

TEST_F(ManagedWindowsTest, FrameIsNotTakenForTheWindowThatItIsAboutToHold) {
    const xcb_window_t frame = manager_->open({.area = {0, 0, 90, 90}});
    const xcb_window_t bar = manager_->open({.area = {0, 0, 90, 9}, .parent = frame});
    manager_->open({.area = {0, 0, 9, 9}, .parent = bar});
    manager_->sync();
    const xcb_window_t window = client().open({.area = {0, 9, 90, 80}, .parent = frame});
    client().sync();
    EXPECT_EQ(windowsOnScreen(), Windows{});
    EXPECT_EQ(imageOfWindow(kScreen, frame), nullptr);
    manager_->setManaged(window);
    manager_->sync();
    EXPECT_EQ(windowsOnScreen(), Windows{window});
}

TEST_F(ManagedWindowsTest, ManagersOwnMenuIsListed) {
    const xcb_window_t menu = manager_->open({.area = {0, 0, 90, 90}, .isOverrideRedirect = true});
    manager_->open({.area = {0, 0, 90, 9}, .parent = menu});
    manager_->sync();
    EXPECT_EQ(windowsOnScreen(), Windows{menu});
}

TEST_F(ManagedWindowsTest, ManagersBarWithAnApplicationsIconIsListed) {
    const xcb_window_t bar = manager_->open({.area = {0, 0, 90, 9}});
    manager_->sync();
    const xcb_window_t icon = client().open({.area = {0, 0, 9, 9}, .parent = bar});
    client().setEmbedded(icon);
    client().sync();
    EXPECT_EQ(windowsOnScreen(), Windows{bar});
}

TEST_F(ManagedWindowsTest, ApplicationsMenuWithAnotherClientsPartIsListed) {
    const xcb_window_t menu = open({.area = {0, 0, 90, 90}, .isOverrideRedirect = true});
    const WindowClient renderer(server().display());
    renderer.open({.area = {0, 0, 90, 90}, .parent = menu});
    renderer.sync();
    EXPECT_EQ(windowsOnScreen(), Windows{menu});
}

TEST_F(WindowsTest, MenuOfManyPartsIsListedAsOne) {
    const xcb_window_t menu = client().open({.area = {0, 0, 50, 200}, .isOverrideRedirect = true});
    for (std::int16_t y = 0; y < 200; ++y)
        client().open({.area = {0, y, 50, 1}, .parent = menu});
    client().sync();
    EXPECT_EQ(windowsOnScreen(), Windows{menu});
}

struct Request {
    const char* name;
    CGWindowListOption option;
    CGWindowID relativeTo;
};

class OtherListTest : public WindowTest, public testing::WithParamInterface<Request> {};

TEST_P(OtherListTest, IsRefused) {
    EXPECT_EQ(CGWindowListCreate(GetParam().option, GetParam().relativeTo), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Requests, OtherListTest,
    testing::Values(Request{"All", kCGWindowListOptionAll, kCGNullWindowID},
                    Request{"Including", kCGWindowListOptionIncludingWindow, 1234},
                    Request{"Relative", kCGWindowListOptionOnScreenOnly, 1234}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(WindowsTest, AreListedWithoutAnyExtension) {
    start({"-extension", "Composite", "-extension", "RENDER", "-extension", "SHAPE"});
    openThree();
    EXPECT_EQ(windowsOnScreen(), (Windows{third_, second_, first_}));
}

TEST_F(WindowsTest, CannotBeListedWithoutAServer) {
    server_.reset();
    useDisplay("");  // another test's server may take the number over
    EXPECT_EQ(CGWindowListCreate(kCGWindowListOptionOnScreenOnly, kCGNullWindowID), nullptr);
}

}  // namespace
