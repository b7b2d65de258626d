/*
 * While the screen changes at random, a thread that takes images all the time, and keeps what has
 * not changed from one to the next, gets what one gets that takes its first.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <ostream>

#include "desktop_session.h"
#include "screen_changes.h"
#include "steady_images.h"
#include "window_test.h"
#include "xorg_server.h"

namespace {

constexpr const char* kScreen = "480x320x24";

enum class Picture { screen, screenPastTheEdges, withoutTwoWindows, oneWindow };

struct Setting {
    const char* name;
    unsigned seed;
    int changes;
    Picture picture = Picture::screen;
    const char* screen = kScreen;
    std::vector<std::string> arguments = {};
    bool hasCompositor = false;
};

void PrintTo(const Setting& setting, std::ostream* out) {
    *out << setting.name << ", seed " << setting.seed;
}

Image imageWithout(const Area& area, const Windows& leftOut) {
    Windows windows = windowsOnScreen();
    std::erase_if(windows, [&](CGWindowID window) { return std::ranges::count(leftOut, window); });
    return imageOfWindows(area, windows);
}

bool isOfWindows(Picture picture) {
    return picture == Picture::withoutTwoWindows || picture == Picture::oneWindow;
}

TakeImage imageTaker(Picture picture, const ScreenChanges& changes) {
    const Windows windows{changes.lasting(0), changes.lasting(1)};
    const Area all = changes.screen();
    switch (picture) {
        case Picture::withoutTwoWindows:
            return [=] { return imageWithout(all, windows); };
        case Picture::oneWindow:
            return [=] { return imageOfWindow(all, windows.front()); };
        case Picture::screenPastTheEdges:
            return [=] { return imageOf(100, -30, all.width, all.height - 10); };
        case Picture::screen:
            break;
    }
    return [=] { return imageOf(0, 0, all.width, all.height); };
}

/* A screen that changes, and images of it. */
class ChangingScreen {
  public:
    ChangingScreen(const std::string& display, unsigned seed, Picture picture)
        // What is drawn on the root window is not promised to be in pictures of windows.
        : isOfWindows_(isOfWindows(picture)),
          changes_(display, seed,
                   {.drawsOnRoot = !isOfWindows_, .favoursFirst = picture == Picture::oneWindow}),
          take_(imageTaker(picture, changes_)),
          images_(take_) {}

    /* Until each next image after a change is as it should be, up to a bound for each. */
    void expectNextImagesToBeRight(int changes, std::chrono::milliseconds bound) {
        int visible = 0;
        for (int i = 0; i < changes; ++i) {
            changes_.change();
            const Image before(CGImageRetain(expected_.get()));
            std::string difference;
            eventually([&] { return (difference = differenceOfNext()).empty(); }, bound);
            ASSERT_EQ(difference, "") << "after change " << i << ": " << changes_.lastChange()
                                      << "; in the next image: " << differenceOfNext();
            visible += differenceOf(before, expected_).empty() ? 0 : 1;
        }
        EXPECT_GT(visible, changes / 8);
    }

  private:
    /* How the running thread's next image differs from what is to be seen. */
    std::string differenceOfNext() {
        // A picture of windows may make the server clear parts of them, for good; all such parts
        // are clear once a thread that knows nothing of them has taken one.
        if (isOfWindows_)
            freshImage(take_);
        const Image image = images_.next();
        Image fresh = freshImage(take_);
        // A window that has gone from the screen keeps its last picture, from whichever moment.
        if (fresh == nullptr && expectedIsFresh_)
            expected_.reset(CGImageRetain(image.get()));
        expectedIsFresh_ = fresh != nullptr;
        if (fresh != nullptr)
            expected_ = std::move(fresh);
        return differenceOf(image, expected_);
    }

    const bool isOfWindows_;
    ScreenChanges changes_;
    const TakeImage take_;
    Image expected_;
    bool expectedIsFresh_ = true;
    SteadyImages images_;
};

class UnchangedFramesTest : public testing::TestWithParam<Setting> {
  protected:
    void SetUp() override {
        useDisplay(server_.display());
        desktop_.emplace(server_.display());
        if (GetParam().hasCompositor)
            desktop_->startCompositor(DesktopSession::Effects::none);
    }

    const XvfbServer server_{GetParam().screen, GetParam().arguments};
    std::optional<DesktopSession> desktop_;
};

TEST_P(UnchangedFramesTest, NextImageAfterAnyChangeIsAFreshOne) {
    ChangingScreen screen(server_.display(), GetParam().seed, GetParam().picture);
    // A compositing manager is a client too, and shows what it was told of in its own time; and
    // what it may still be fading is not taken for another window's.
    const auto bound = std::chrono::milliseconds(GetParam().hasCompositor ? 2000 : 0);
    screen.expectNextImagesToBeRight(GetParam().changes, bound);
}

using Arguments = std::vector<std::string>;
const Arguments kNoDamage{"-extension", "DAMAGE"};
const Arguments kNoRender{"-extension", "RENDER"};
const Arguments kNoSharedMemory{"-extension", "MIT-SHM"};

// Not with windows left out of 16 bits: what is read from the screen and what is drawn are a level
// of a colour apart there, and how much is drawn is for each thread to choose.
const Setting kSettings[]{
    {"Screen", 101, 400},
    {"ScreenPastTheEdges", 102, 200, Picture::screenPastTheEdges},
    {"ScreenInReplies", 103, 200, Picture::screen, kScreen, kNoSharedMemory},
    {"ScreenWithoutDamage", 104, 200, Picture::screen, kScreen, kNoDamage},
    {"ScreenWithoutRender", 105, 200, Picture::screen, kScreen, kNoRender},
    {"PastTheEdgesWithoutRender", 114, 100, Picture::screenPastTheEdges, kScreen, kNoRender},
    {"ScreenOf16Bits", 106, 200, Picture::screenPastTheEdges, "480x320x16"},
    {"ScreenOf16BitsInReplies", 107, 100, Picture::screen, "480x320x16", kNoSharedMemory},
    {"ScreenOf30Bits", 108, 100, Picture::screen, "480x320x30"},
    {"ScreenOfAPalette", 109, 200, Picture::screen, "480x320x8", {"-cc", "3"}},
    {"ScreenComposited", 110, 60, Picture::screen, kScreen, {}, true},
    {"WithoutTwoWindows", 111, 300, Picture::withoutTwoWindows},
    {"WithoutTwoWindowsInReplies", 112, 100, Picture::withoutTwoWindows, kScreen, kNoSharedMemory},
    {"WithoutTwoWindowsWithoutDamage", 113, 200, Picture::withoutTwoWindows, kScreen, kNoDamage},
    {"WithoutTwoWindowsComposited", 116, 20, Picture::withoutTwoWindows, kScreen, {}, true},
    {"OneWindow", 117, 300, Picture::oneWindow},
    {"OneWindowInReplies", 118, 100, Picture::oneWindow, kScreen, kNoSharedMemory},
    {"OneWindowWithoutDamage", 119, 200, Picture::oneWindow, kScreen, kNoDamage},
    {"OneWindowOf16Bits", 120, 100, Picture::oneWindow, "480x320x16"},
    {"OneWindowComposited", 121, 20, Picture::oneWindow, kScreen, {}, true},
};

INSTANTIATE_TEST_SUITE_P(Settings, UnchangedFramesTest, testing::ValuesIn(kSettings),
                         [](const auto& instance) { return instance.param.name; });

TEST(UnchangedFramesOfRealDisplaysTest, NextImageAfterAnyChangeIsAFreshOne) {
    const XorgServer server;
    useDisplay(server.display());
    ChangingScreen(server.display(), 130, Picture::screen)
        .expectNextImagesToBeRight(100, std::chrono::milliseconds(0));
}

}  // namespace
