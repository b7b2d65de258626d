// The shipped library's ScreenInfo over an AppKit of the scripted platform's displays.
#include <gtest/gtest.h>

#include "ScreenInfo.h"
#include "scripted_platform.h"

namespace {

constexpr uint32_t kMain = 722;
constexpr uint32_t kSecond = 69;
constexpr uint32_t kUnknown = 4711;

// The main display is 161 x 91 points, its lower left at (-161, 46) with y down.
class AppKitOfDisplays : public testing::Test {
  protected:
    void SetUp() override {
        scripted::reset();
        scripted::Display main = scripted::makeDisplay(kMain, -161, -45, 161, 91);
        main.main = true;
        scripted::plugIn(main);
        scripted::plugIn(scripted::makeDisplay(kSecond, 7.5, 3, 80, 60, 2));
    }

    void TearDown() override {
        EXPECT_TRUE(scripted::faults().empty());
        EXPECT_TRUE(scripted::leaks().empty());
    }

    static void expectScreen(uint32_t displayID, const CGRect& frame, double scale) {
        double seenScale = -1;
        CGRect seen = CGRectMake(-1, -1, -1, -1);
        ScreenInfo(displayID, &seenScale, &seen);
        EXPECT_EQ(seen.origin.x, frame.origin.x) << displayID;
        EXPECT_EQ(seen.origin.y, frame.origin.y) << displayID;
        EXPECT_EQ(seen.size.width, frame.size.width) << displayID;
        EXPECT_EQ(seen.size.height, frame.size.height) << displayID;
        EXPECT_EQ(seenScale, scale) << displayID;
    }
};

TEST_F(AppKitOfDisplays, hasAScreenForEachDisplay) {
    expectScreen(kMain, CGRectMake(0, 0, 161, 91), 1);
    expectScreen(kSecond, CGRectMake(168.5, -17, 80, 60), 2);
}

TEST_F(AppKitOfDisplays, hasTheMainDisplaysScreenAsTheMainOne) {
    scripted::setScale(kMain, 3);
    for (const uint32_t displayID : {0U, kUnknown}) {
        expectScreen(displayID, CGRectMake(0, 0, 161, 91), 3);
    }
}

TEST_F(AppKitOfDisplays, followsTheDisplays) {
    expectScreen(kSecond, CGRectMake(168.5, -17, 80, 60), 2);
    scripted::moveTo(kSecond, -161, -145);
    expectScreen(kSecond, CGRectMake(0, 131, 80, 60), 2);
    scripted::unplug(kSecond);
    expectScreen(kSecond, CGRectMake(0, 0, 161, 91), 1);
    scripted::plugIn(scripted::makeDisplay(kSecond, 0, 0, 40, 30));
    expectScreen(kSecond, CGRectMake(161, 16, 40, 30), 1);
}

TEST_F(AppKitOfDisplays, hasNoMainScreenWhileNoDisplayIsMain) {
    scripted::fail("CGDisplayIsMain");
    expectScreen(kSecond, CGRectMake(0, 0, 80, 60), 2);
    expectScreen(kUnknown, CGRect{}, 0);
}

TEST_F(AppKitOfDisplays, hasNoScreensWithoutDisplays) {
    scripted::unplug(kSecond);
    scripted::unplug(kMain);
    expectScreen(kMain, CGRect{}, 0);
}

TEST_F(AppKitOfDisplays, handsOutMoreScreensThanOneBatch) {
    for (uint32_t i = 0; i < 40; ++i) {
        scripted::plugIn(scripted::makeDisplay(1000 + i, 200.0 + i, -45, 20, 91));
    }
    for (uint32_t i = 0; i < 40; ++i) {
        expectScreen(1000 + i, CGRectMake(361.0 + i, 0, 20, 91), 1);
    }
}

}  // namespace
