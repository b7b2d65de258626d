/* Pictures with real clients, on a bare server, under a window manager, and composited. */
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <optional>

#include "desktop_session.h"
#include "window_test.h"

namespace {

enum class Desktop { bare, managed, composited };

class RealClientsTest : public WindowTest, public testing::WithParamInterface<Desktop> {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        desktop_.emplace(server().display());
        if (GetParam() != Desktop::bare)
            desktop_->startWindowManager();
        if (GetParam() == Desktop::composited)
            desktop_->startCompositor(DesktopSession::Effects::none);
        client().setBackdrop(kGreen, kBlue, 16);
        client().sync();
    }
    void TearDown() override { desktop_.reset(); }

    bool hasManager() const { return GetParam() != Desktop::bare; }

    xcb_window_t startTerminal() {
        return desktop_->startClient({"xterm", "-fn", "fixed", "-geometry", "18x6+40+50", "-bg",
                                      "#204060", "-fg", "#e0e0a0", "+sb", "-ut", "-e", "sleep",
                                      "600"});
    }
    xcb_window_t startEyes() {
        return desktop_->startClient({"xeyes", "-geometry", "90x60+190+90", "-outline", "#c06000"});
    }

    /* Opens a window, and waits for it and its frame. */
    xcb_window_t openSettled(const Look& look) const {
        const xcb_window_t window = open(look);
        desktop_->settle();
        return window;
    }

    xcb_window_t openTranslucent() const {
        const xcb_window_t window = client().createTranslucent({150, 20, 80, 60}, 0x80'40'20'10);
        client().map(window);
        client().sync();
        desktop_->settle();
        return window;
    }

    /* Out of the window manager's hands, and so exactly where it is put, in front. */
    xcb_window_t openPopup(const Area& area) const {
        return open({.area = area, .color = kRed, .isOverrideRedirect = true});
    }

    static std::vector<std::uint8_t> screen() {
        return bytesOf(imageOf(0, 0, kScreen.width, kScreen.height).get());
    }

    /* The screen once it has not changed for a while: clients paint when they get to it. */
    static std::vector<std::uint8_t> screenAtRest() {
        constexpr auto kWhile = std::chrono::milliseconds(500);
        auto last = screen();
        auto since = std::chrono::steady_clock::now();
        EXPECT_TRUE(eventually([&] {
            auto now = screen();
            if (now != last)
                since = std::chrono::steady_clock::now();
            last = std::move(now);
            return std::chrono::steady_clock::now() - since > kWhile;
        }));
        return last;
    }

    /* Those that are an application's. */
    Windows listed() const {
        Windows windows = windowsOnScreen();
        std::erase(windows, desktop_->managersMark());
        return windows;
    }

    static Image pictureWithout(xcb_window_t leftOut) {
        Windows windows = windowsOnScreen();
        std::erase(windows, leftOut);
        return imageOfWindows(kScreen, windows);
    }

    /* Whether no component differs by more than compositing managers' arithmetic does. */
    bool isAlike(const std::vector<std::uint8_t>& one,
                 const std::vector<std::uint8_t>& other) const {
        const int tolerance = GetParam() == Desktop::composited ? 2 : 0;
        return std::ranges::equal(
            one, other, [tolerance](int a, int b) { return std::abs(a - b) <= tolerance; });
    }

    bool isAlike(const Image& image, const std::vector<std::uint8_t>& other) const {
        return image != nullptr && isAlike(bytesOf(image.get()), other);
    }

    /* Starts a client, and compares the picture without it with the screen before it. From the
     * start again if they differ: on a busy machine another client may paint itself, or the
     * compositing manager it, long after the screen seemed at rest. */
    template <typename Start>
    void expectScreenInPictureWithout(Start start) {
        const auto isScreenWithoutIt = [&] {
            const auto without = screenAtRest();
            const xcb_window_t window = start();
            EXPECT_TRUE(eventually([&] { return !isAlike(screen(), without); }));
            const bool isAlikeWithout = eventually(
                [&] { return isAlike(pictureWithout(window), without); }, std::chrono::seconds(2));
            desktop_->end(window);
            return isAlikeWithout;
        };
        EXPECT_TRUE(eventually(isScreenWithoutIt, std::chrono::seconds(20)));
    }

    /* Whether a window's picture shows what a screen does where that window is, of at least as many
     * pixels, and nothing elsewhere. */
    static bool isPartOf(const std::vector<std::uint8_t>& shown, const Image& alone,
                         const Area& where, int leastCount) {
        if (alone == nullptr)
            return false;
        const auto picture = bytesOf(alone.get());
        int count = 0;
        for (std::size_t i = 0; i < picture.size(); i += 4) {
            if (std::all_of(&picture[i], &picture[i] + 4, [](auto byte) { return byte == 0; }))
                continue;
            count += 1;
            if (!std::equal(&picture[i], &picture[i] + 4, &shown[i]) ||
                !isIn(where, static_cast<int>(i / 4)))
                return false;
        }
        return count >= leastCount;
    }

    static bool isIn(const Area& area, int pixel) {
        const int x = pixel % kScreen.width;
        const int y = pixel / kScreen.width;
        return x >= area.x && x < area.x + area.width && y >= area.y && y < area.y + area.height;
    }

    std::optional<DesktopSession> desktop_;
};

TEST_P(RealClientsTest, AreListedFrontToBackByTheirOwnNumbers) {
    const xcb_window_t terminal = startTerminal();
    const xcb_window_t eyes = startEyes();
    const xcb_window_t translucent = openTranslucent();
    const xcb_window_t popup = openPopup({0, 0, 30, 30});
    Windows expected{terminal, eyes, translucent};
    if (hasManager()) {
        const Windows stacked = desktop_->stackedWindows();
        ASSERT_TRUE(std::ranges::is_permutation(stacked, expected));
        ASSERT_TRUE(std::ranges::is_permutation(desktop_->managedWindows(), expected));
        expected = stacked;
    }
    expected.push_back(popup);
    std::ranges::reverse(expected);
    EXPECT_EQ(listed(), expected);
}

TEST_P(RealClientsTest, PictureWithoutOneIsTheScreenWithoutIt) {
    startEyes();
    openTranslucent();
    const xcb_window_t popup = openPopup({60, 60, 30, 30});
    expectScreenInPictureWithout([&] {
        const xcb_window_t terminal = startTerminal();
        client().raise(popup);
        client().sync();
        return terminal;
    });
}

TEST_P(RealClientsTest, PictureWithoutAShapedOneIsTheScreenWithoutIt) {
    startTerminal();
    openSettled({.area = {180, 80, 100, 90}, .color = kRed});
    expectScreenInPictureWithout([this] { return startEyes(); });
}

TEST_P(RealClientsTest, MenuOfALeftOutApplicationStays) {
    const xcb_window_t main = openSettled({.area = {40, 40, 200, 120}, .color = kBlack});
    const xcb_window_t menu = openPopup({60, 60, 50, 70});
    EXPECT_EQ(listed(), (Windows{menu, main}));
    const Image image = pictureWithout(main);
    EXPECT_EQ(colorAt(image, 60, 60), kRed);
    EXPECT_EQ(colorAt(image, 109, 129), kRed);
    EXPECT_FALSE(shows(image, kBlack));
}

TEST_P(RealClientsTest, FullscreenWindowIsLeftOutAndShownAlone) {
    const xcb_window_t behind = openSettled({.area = {60, 60, 80, 60}, .color = kRed});
    const auto without = screenAtRest();
    const xcb_window_t window = openSettled({.area = kScreen, .color = kBlack});
    if (hasManager())
        desktop_->setFullscreen(window, true);
    const Image all = imageOfWindow(kScreen, window);
    ASSERT_TRUE(eventually([&] { return screen() == bytesOf(all.get()); }));
    EXPECT_EQ(listed(), (Windows{window, behind}));
    EXPECT_TRUE(eventually([&] { return isAlike(pictureWithout(window), without); }));
    EXPECT_EQ(pixelAt(all.get(), 319, 199), (Pixel{0, 0, 0, 255}));
}

TEST_P(RealClientsTest, WindowManagersOwnMarkIsNotListed) {
    openSettled({.area = {60, 60, 80, 60}, .color = kRed});
    EXPECT_EQ(windowsOnScreen(), listed());
}

class SharedAloneTest : public RealClientsTest {
  protected:
    bool isShownWhileCovered(xcb_window_t window, int leastCount) {
        const auto uncovered = screenAtRest();
        const Area where = desktop_->outerArea(window);
        const xcb_window_t popup = openPopup(kScreen);
        const bool isShown = eventually(
            [&] { return isPartOf(uncovered, imageOfWindow(kScreen, window), where, leastCount); },
            std::chrono::seconds(2));
        client().destroy(popup);
        client().sync();
        return isShown;
    }

    /* Looks again from the start: on a busy machine a client that was resized, or a compositing
     * manager, may paint long after the screen seemed at rest. */
    void expectShownWhileCovered(xcb_window_t window, int leastCount) {
        EXPECT_TRUE(eventually([&] { return isShownWhileCovered(window, leastCount); },
                               std::chrono::seconds(20)));
    }

    /* The last picture of a window before it leaves the screen, when it has painted itself. */
    std::vector<std::uint8_t> pictureAtRest(xcb_window_t window) const {
        const auto shown = screenAtRest();
        const Area where = desktop_->outerArea(window);
        Image image;
        EXPECT_TRUE(eventually([&] {
            image = imageOfWindow(kScreen, window);
            return isPartOf(shown, image, where, 1);
        }));
        return bytesOf(image.get());
    }

    void expectKept(xcb_window_t window, const std::vector<std::uint8_t>& picture) const {
        EXPECT_EQ(listed(), Windows{});
        for (int i = 0; i < 2; ++i) {
            const Image kept = imageOfWindow(kScreen, window);
            ASSERT_NE(kept, nullptr);
            EXPECT_TRUE(bytesOf(kept.get()) == picture);
        }
    }
};

TEST_P(SharedAloneTest, TerminalIsShownWhileCoveredAndWhereverItIsMoved) {
    const xcb_window_t terminal = startTerminal();
    expectShownWhileCovered(terminal, 18 * 6 * 13 * 6);
    desktop_->moveManaged(terminal, -30, 140);
    expectShownWhileCovered(terminal, 70 * 50);
    desktop_->moveManaged(terminal, 100, 10);
    desktop_->resizeManaged(terminal, 80, 60);
    expectShownWhileCovered(terminal, 60 * 50);
}

TEST_P(SharedAloneTest, ShapedClientIsShownInItsShapeOnly) {
    const xcb_window_t eyes = startEyes();
    expectShownWhileCovered(eyes, 1500);
}

TEST_P(SharedAloneTest, DialogOfItIsNotShown) {
    const xcb_window_t main = openSettled({.area = {40, 40, 200, 120}, .color = kBlack});
    const xcb_window_t dialog = client().create({.area = {70, 70, 80, 60}, .color = kRed});
    client().setDialogOf(dialog, main);
    client().map(dialog);
    client().sync();
    desktop_->settle();
    EXPECT_EQ(listed(), (Windows{dialog, main}));
    const Image alone = imageOfWindow(kScreen, main);
    EXPECT_FALSE(shows(alone, kRed));
    EXPECT_EQ(pixelAt(alone.get(), 110, 110), (Pixel{0, 0, 0, 255}));
}

TEST_P(SharedAloneTest, LastPictureStaysWhileItIsMinimised) {
    const xcb_window_t terminal = startTerminal();
    const auto picture = pictureAtRest(terminal);
    if (hasManager())
        desktop_->iconify(terminal);
    else
        client().unmap(terminal);
    client().sync();
    expectKept(terminal, picture);
}

TEST_P(SharedAloneTest, ThereIsNoPictureOnceItIsClosed) {
    const xcb_window_t terminal = startTerminal();
    ASSERT_NE(imageOfWindow(kScreen, terminal), nullptr);
    desktop_->end(terminal);
    EXPECT_EQ(imageOfWindow(kScreen, terminal), nullptr);
    EXPECT_EQ(imageOfWindow(kScreen, terminal), nullptr);
}

TEST_P(SharedAloneTest, ThereIsNoPictureOnceItIsClosedWhileMinimised) {
    const xcb_window_t terminal = startTerminal();
    ASSERT_NE(imageOfWindow(kScreen, terminal), nullptr);
    client().unmap(terminal);
    client().sync();
    desktop_->settle();
    desktop_->end(terminal);
    EXPECT_EQ(imageOfWindow(kScreen, terminal), nullptr);
}

/* Only a window manager has several desktops, and minimises. */
class ManagedAloneTest : public SharedAloneTest {};

TEST_P(ManagedAloneTest, LastPictureStaysWhileItIsOnAnotherDesktop) {
    const xcb_window_t terminal = startTerminal();
    const auto picture = pictureAtRest(terminal);
    desktop_->showDesktop(1);
    expectKept(terminal, picture);
    desktop_->showDesktop(0);
    EXPECT_EQ(listed(), Windows{terminal});
    EXPECT_NE(imageOfWindow(kScreen, terminal), nullptr);
}

TEST_P(ManagedAloneTest, MinimisedWindowIsFollowedAgainOnceItIsRestored) {
    const xcb_window_t window = openSettled({.area = {40, 40, 80, 60}, .color = kRed});
    const auto picture = pictureAtRest(window);
    desktop_->iconify(window);
    expectKept(window, picture);
    desktop_->restore(window);
    EXPECT_TRUE(eventually([&] {
        client().fill(window, {0, 0, 80, 60}, kBlack);  // is lost until it is on screen
        client().sync();
        return !shows(imageOfWindow(kScreen, window), kRed);
    }));
    EXPECT_EQ(listed(), Windows{window});
}

std::string nameOf(const testing::TestParamInfo<Desktop>& instance) {
    constexpr const char* kNames[]{"Bare", "Managed", "Composited"};
    return kNames[static_cast<int>(instance.param)];
}

const auto kAllDesktops = testing::Values(Desktop::bare, Desktop::managed, Desktop::composited);

INSTANTIATE_TEST_SUITE_P(Desktops, RealClientsTest, kAllDesktops, nameOf);
INSTANTIATE_TEST_SUITE_P(Desktops, SharedAloneTest, kAllDesktops, nameOf);
INSTANTIATE_TEST_SUITE_P(Desktops, ManagedAloneTest,
                         testing::Values(Desktop::managed, Desktop::composited), nameOf);

}  // namespace
