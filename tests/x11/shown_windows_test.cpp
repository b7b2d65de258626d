/*
 * Pictures with windows left out where the server itself shows the windows: what is not left out
 * looks in them as it does on screen. And which windows are on screen at all where a compositing
 * manager shows them.
 */
#include <signal.h>

#include <future>
#include <thread>

#include "randr_client.h"
#include "window_test.h"

namespace {

class ShownWindowsTest : public WindowTest {
  protected:
    static constexpr Area kPlace{40, 30, 100, 80};

    /* What the screen shows, with all that is on it. */
    static std::vector<std::uint8_t> screen() { return bytesOf(imageOf(0, 0, 320, 200).get()); }

    /* All windows on screen but one. */
    static Windows windowsBut(xcb_window_t leftOut) {
        Windows windows = windowsOnScreen();
        std::erase(windows, leftOut);
        return windows;
    }

    /* Opens a window, and looks at the screen without it. The second picture counts: in the first
     * one windows may be painting themselves anew. */
    std::vector<std::uint8_t> screenWithout(const Look& look) const {
        const xcb_window_t leftOut = open(look);
        EXPECT_NE(imageOfWindows(kScreen, windowsBut(leftOut)), nullptr);
        const Image image = imageOfWindows(kScreen, windowsBut(leftOut));
        EXPECT_NE(image, nullptr);
        client().destroy(leftOut);
        client().sync();
        return image == nullptr ? std::vector<std::uint8_t>{} : bytesOf(image.get());
    }
};

TEST_F(ShownWindowsTest, RootWindowsPatternIsSeenWhereAWindowIsLeftOut) {
    client().setBackdrop(kGreen, kBlue, 16);
    client().sync();
    const auto before = screen();
    EXPECT_TRUE(screenWithout({.area = {37, 51, 120, 90}, .color = kRed}) == before);
    EXPECT_TRUE(screenWithout({.area = kScreen, .color = kRed}) == before);
}

TEST_F(ShownWindowsTest, RootWindowsPresentColourIsSeenWhereAWindowIsLeftOut) {
    const xcb_window_t leftOut = open({.area = kPlace, .color = kRed});
    for (const Color color : {kGreen, kBlue, kGreen}) {
        client().setRootColor(color);
        client().sync();
        const Image image = imageOfWindows(kScreen, windowsBut(leftOut));
        EXPECT_EQ(colorAt(image, 10, 10), color);
        EXPECT_EQ(colorAt(image, 80, 60), color);
    }
}

TEST_F(ShownWindowsTest, WindowsAroundAndBeneathAreAsOnScreen) {
    open({.area = {20, 20, 90, 60}, .color = kGreen, .border = 4, .borderColor = kBlue});
    const xcb_window_t shaped = open({.area = {60, 50, 120, 120}, .color = kBlue});
    client().setShape(shaped, {{0, 0, 50, 50}, {70, 70, 50, 50}});
    open({.area = {200, 100, 60, 60}, .color = {9, 8, 7}, .isOverrideRedirect = true});
    client().sync();
    const auto before = screen();
    EXPECT_TRUE(screenWithout({.area = {50, 40, 30, 30}, .color = kRed}) == before);
    EXPECT_TRUE(screenWithout({.area = {150, 10, 80, 150}, .color = kRed}) == before);
    EXPECT_TRUE(screenWithout({.area = kScreen, .color = kRed}) == before);
}

TEST_F(ShownWindowsTest, NothingIsTranslucentWhereTheServerShowsNothingTranslucent) {
    const xcb_window_t translucent = client().createTranslucent(kPlace, 0x40'10'20'30);
    client().map(translucent);
    const xcb_window_t faint = open({.area = {160, 30, 100, 80}, .color = kGreen});
    client().setOpacity(faint, 0.25);
    client().sync();
    const auto before = screen();
    EXPECT_TRUE(screenWithout({.area = kScreen, .color = kRed}) == before);
}

TEST_F(ShownWindowsTest, AreaPastTheScreenIsZero) {
    open({.area = kPlace, .color = kGreen});
    const xcb_window_t leftOut = open({.area = {280, 160, 100, 100}, .color = kRed});
    const Area area{270, 150, 80, 80};
    const Windows others = windowsBut(leftOut);
    ASSERT_NE(imageOfWindows(area, others), nullptr);
    const Image image = imageOfWindows(area, others);
    EXPECT_EQ(pixelAt(image.get(), 49, 49), (Pixel{0, 0, 0, 255}));
    EXPECT_EQ(pixelAt(image.get(), 50, 49), Pixel{});
    EXPECT_EQ(pixelAt(image.get(), 49, 50), Pixel{});
}

TEST_F(ShownWindowsTest, ScreenThatIsResizedIsShownWithItsBackground) {
    const xcb_window_t leftOut = open({.area = kPlace, .color = kRed});
    client().setBackdrop(kGreen, kBlue, 16);
    client().sync();
    ASSERT_NE(imageOfWindows(kScreen, windowsBut(leftOut)), nullptr);
    RandrClient randr(server().display());
    randr.setMode(modeOfSize(240, 160));
    ASSERT_NE(imageOfWindows({0, 0, 240, 160}, windowsBut(leftOut)), nullptr);
    const Image image = imageOfWindows({0, 0, 240, 160}, windowsBut(leftOut));
    for (const auto& [x, y] : {std::pair<std::size_t, std::size_t>{50, 40}, {70, 40}, {50, 70}})
        EXPECT_EQ(colorAt(image, x, y), (x / 16 + y / 16) % 2 == 0 ? kGreen : kBlue);
}

TEST_F(ShownWindowsTest, WhatOneThreadDoesToSeeTheBackgroundIsNoWindowToAnother) {
    const xcb_window_t leftOut = open({.area = kPlace, .color = kRed});
    std::promise<void> isLooking;
    std::promise<void> mayEnd;
    std::thread other([&] {
        EXPECT_NE(imageOfWindows(kScreen, {}), nullptr);
        isLooking.set_value();
        mayEnd.get_future().wait();
    });
    isLooking.get_future().wait();
    EXPECT_EQ(windowsOnScreen(), Windows{leftOut});
    mayEnd.set_value();
    other.join();
}

TEST_F(ShownWindowsTest, CompositingManagerMayStartWhilePicturesAreTaken) {
    const xcb_window_t leftOut = open({.area = kPlace, .color = kRed});
    ASSERT_NE(imageOfWindows(kScreen, windowsBut(leftOut)), nullptr);
    client().compositeOn(kRed);
    client().sync();  // throws if the server refused
    for (int i = 0; i < 3; ++i) {
        const Image image = imageOfWindows(kScreen, windowsBut(leftOut));
        ASSERT_NE(image, nullptr);
        EXPECT_FALSE(shows(image, kRed));
    }
}

class LastPictureTest : public ShownWindowsTest {
  protected:
    void SetUp() override {
        ShownWindowsTest::SetUp();
        window_ = open({.area = kPlace, .color = kGreen});
        ASSERT_EQ(colorAt(imageOfWindow(kScreen, window_), 50, 50), kGreen);
    }

    xcb_window_t window_ = 0;
};

TEST_F(LastPictureTest, StaysWhileTheWindowIsNotMapped) {
    const auto before = bytesOf(imageOfWindow(kScreen, window_).get());
    client().unmap(window_);
    client().sync();
    const Image image = imageOfWindow(kScreen, window_);
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(bytesOf(image.get()) == before);
}

TEST_F(LastPictureTest, StaysWhenTheServerWasLateOnce) {
    client().unmap(window_);
    client().sync();
    ASSERT_NE(imageOfWindow(kScreen, window_), nullptr);
    kill(server().pid(), SIGSTOP);
    EXPECT_EQ(imageOfWindow(kScreen, window_), nullptr);
    kill(server().pid(), SIGCONT);
    EXPECT_EQ(colorAt(imageOfWindow(kScreen, window_), 50, 50), kGreen);
}

TEST_F(LastPictureTest, IsReplacedOnceTheWindowIsBack) {
    client().unmap(window_);
    client().move(window_, 200, 100);
    client().sync();
    EXPECT_EQ(colorAt(imageOfWindow(kScreen, window_), 50, 50), kGreen);
    client().map(window_);
    client().sync();
    const Image image = imageOfWindow(kScreen, window_);
    EXPECT_EQ(pixelAt(image.get(), 50, 50), Pixel{});
    EXPECT_EQ(colorAt(image, 210, 110), kGreen);
}

TEST_F(LastPictureTest, IsOfThatWindowAndAreaOnly) {
    const xcb_window_t other = client().create({.area = kPlace, .color = kBlue});
    client().unmap(window_);
    client().sync();
    EXPECT_EQ(imageOfWindow(kScreen, other), nullptr);
    EXPECT_EQ(imageOfWindow({0, 0, 100, 100}, window_), nullptr);
    EXPECT_NE(imageOfWindow(kScreen, window_), nullptr);
}

TEST_F(LastPictureTest, EndsWithTheWindow) {
    client().unmap(window_);
    client().sync();
    EXPECT_NE(imageOfWindow(kScreen, window_), nullptr);
    client().destroy(window_);
    client().sync();
    EXPECT_EQ(imageOfWindow(kScreen, window_), nullptr);
}

/* A compositing manager may keep windows mapped that it does not show. */
class CompositedTest : public ShownWindowsTest {
  protected:
    void SetUp() override {
        ShownWindowsTest::SetUp();
        manager_ = std::make_unique<WindowClient>(server().display());
        const xcb_window_t check = manager_->create({.area = {-9, -9, 1, 1}});
        manager_->setRootProperty("_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, check);
        manager_->compositeOn(kRed);
        manager_->sync();
        window_ = open({.area = kPlace, .color = kGreen});
        client().setManaged(window_);
        client().sync();
        ASSERT_EQ(windowsOnScreen(), Windows{window_});
    }
    void TearDown() override { manager_.reset(); }

    std::unique_ptr<WindowClient> manager_;
    xcb_window_t window_ = 0;
};

TEST_F(CompositedTest, MinimisedWindowIsNotOnScreenButItsLastPictureStays) {
    ASSERT_EQ(colorAt(imageOfWindow(kScreen, window_), 50, 50), kGreen);
    client().setStates(window_, {"_NET_WM_STATE_HIDDEN"});
    client().fill(window_, kScreen, kBlue);
    client().sync();
    EXPECT_EQ(windowsOnScreen(), Windows{});
    EXPECT_EQ(colorAt(imageOfWindows(kScreen, {window_}), 50, 50), kBlack);
    EXPECT_EQ(colorAt(imageOfWindow(kScreen, window_), 50, 50), kGreen);
}

TEST_F(CompositedTest, IconicWindowIsNotOnScreen) {
    client().setManaged(window_, WindowClient::Management::iconic);
    client().sync();
    EXPECT_EQ(windowsOnScreen(), Windows{});
}

TEST_F(CompositedTest, FrameOfARolledUpWindowIsOnScreen) {
    client().setStates(window_, {"_NET_WM_STATE_HIDDEN", "_NET_WM_STATE_SHADED"});
    client().sync();
    EXPECT_EQ(windowsOnScreen(), Windows{window_});
}

TEST_F(CompositedTest, WindowsBeneathTheManagersGuardAreNotOnScreen) {
    manager_->open({.area = kScreen, .isOverrideRedirect = true, .isInputOnly = true});
    manager_->sync();
    const xcb_window_t above = open({.area = {150, 90, 20, 20}, .color = kBlue});
    EXPECT_EQ(windowsOnScreen(), Windows{above});
}

TEST_F(CompositedTest, ApplicationsWindowForInputHidesNothing) {
    open({.area = kScreen, .isOverrideRedirect = true, .isInputOnly = true});
    EXPECT_EQ(windowsOnScreen(), Windows{window_});
}

TEST_F(CompositedTest, TranslucentPixelsLetWhatIsBehindShineThrough) {
    const xcb_window_t translucent = client().createTranslucent(kPlace, 0x80'10'10'10);
    client().map(translucent);
    client().sync();
    const Image image = imageOfWindows(kScreen, {translucent, window_});
    EXPECT_NEAR(colorAt(image, 50, 50).green, 0x10 + kGreen.green / 2.0, 1);
    EXPECT_EQ(pixelAt(image.get(), 50, 50).fourth, 255);
}

}  // namespace
