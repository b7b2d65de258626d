// ScreenInfo where there is no AppKit: frame and scale of the screen that shows a display.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Monitor.h"
#include "ScreenInfo.h"
#include "contract_test.h"

namespace {

using testing::IsEmpty;

constexpr uint32_t kUnknown = 4711;

MATCHER_P4(IsFrame, x, y, width, height, "") {
    return arg.origin.x == x && arg.origin.y == y && arg.size.width == width &&
           arg.size.height == height;
}

// The main display is 161 x 91 points at (-161, -45), the second 80 x 60 at (7, 3).
class ScreenInfoOfDisplays : public ContractTest {
  protected:
    void SetUp() override {
        ContractTest::SetUp();
        plugInSecond();
        scripted::setScale(kSecond, 2);
    }

    // Calls with both outputs.
    void ask(uint32_t displayID) {
        scale_ = -1;
        frame_ = CGRectMake(-1, -1, -1, -1);
        ScreenInfo(displayID, &scale_, &frame_);
    }

    static void setMode(const std::function<void(scripted::Display&)>& edit) {
        scripted::change(kSecond, edit);
    }

    double scale_ = -1;
    CGRect frame_ = CGRectMake(-1, -1, -1, -1);
};

TEST_F(ScreenInfoOfDisplays, putsTheMainScreenAtTheOrigin) {
    ask(kMain);
    EXPECT_THAT(frame_, IsFrame(0, 0, 161, 91));
    EXPECT_EQ(scale_, 1);
}

TEST_F(ScreenInfoOfDisplays, measuresUpwardsFromTheMainScreensLowerLeft) {
    struct Place {
        double left, top;  // of the second display, from the main one's upper left, y down
        double x, y;       // of its screen's lower left, y up
    };
    for (const auto& [left, top, x, y] :
         {Place{161, 0, 161, 31}, Place{161, 31, 161, 0}, Place{-80, 50, -80, -19},
          Place{40.5, -60, 40.5, 91}, Place{0, 91, 0, -60}, Place{3.25, -60.75, 3.25, 91.75}}) {
        scripted::moveTo(kSecond, kMainLeft + left, kMainTop + top);
        ask(kSecond);
        EXPECT_THAT(frame_, IsFrame(x, y, 80, 60)) << left << ", " << top;
    }
}

TEST_F(ScreenInfoOfDisplays, reportsPointsWhereAMonitorsRectangleIsInPixels) {
    ask(kSecond);
    EXPECT_THAT(frame_, IsFrame(7 - kMainLeft, kMainTop + 91 - (3 + 60), 80, 60));
    tagCaptureRect pixels{};
    CMonitor(kSecond, 1).GetMonitorRect(pixels);
    EXPECT_EQ(pixels.right - pixels.left, 160);
    EXPECT_EQ(pixels.bottom - pixels.top, 120);
}

TEST_F(ScreenInfoOfDisplays, reportsThePixelsPerPoint) {
    for (const auto& [pixelWidth, scale] : {std::pair(80U, 1.0), {160U, 2.0}, {120U, 1.5}}) {
        setMode(
            [width = pixelWidth](scripted::Display& display) { display.mode->pixelWidth = width; });
        ask(kSecond);
        EXPECT_EQ(scale_, scale);
    }
}

TEST_F(ScreenInfoOfDisplays, withoutAModeHasOnePixelPerPoint) {
    setMode([](scripted::Display& display) { display.mode.reset(); });
    ask(kSecond);
    EXPECT_EQ(scale_, 1);
}

TEST_F(ScreenInfoOfDisplays, withAModeOfNoWidthHasOnePixelPerPoint) {
    setMode([](scripted::Display& display) { display.mode->pointWidth = 0; });
    ask(kSecond);
    EXPECT_EQ(scale_, 1);
}

TEST_F(ScreenInfoOfDisplays, ofDisplayZeroOrAnUnknownOneReportsTheMainScreen) {
    scripted::setScale(kMain, 3);
    for (const uint32_t displayID : {0U, kUnknown}) {
        ask(displayID);
        EXPECT_THAT(frame_, IsFrame(0, 0, 161, 91));
        EXPECT_EQ(scale_, 3);
    }
}

TEST_F(ScreenInfoOfDisplays, ofDisplayZeroPassesOverADisplayOfThatNumber) {
    scripted::plugIn(scripted::makeDisplay(0, 300, 0, 40, 30, 5));
    ask(0);
    EXPECT_THAT(frame_, IsFrame(0, 0, 161, 91));
    EXPECT_EQ(scale_, 1);
}

TEST_F(ScreenInfoOfDisplays, findsTheMainScreenWhereverItIsListed) {
    scripted::change(kMain, [](scripted::Display& display) { display.main = false; });
    scripted::change(kSecond, [](scripted::Display& display) { display.main = true; });
    ask(0);
    EXPECT_THAT(frame_, IsFrame(0, 0, 80, 60));
    EXPECT_EQ(scale_, 2);
    ask(kMain);
    EXPECT_THAT(frame_, IsFrame(kMainLeft - 7, 3 + 60 - (kMainTop + 91), 161, 91));
}

TEST_F(ScreenInfoOfDisplays, withoutAFrameFillsTheScale) {
    ScreenInfo(kSecond, &scale_, nullptr);
    EXPECT_EQ(scale_, 2);
}

TEST_F(ScreenInfoOfDisplays, withoutAScaleFillsTheFrame) {
    ScreenInfo(kSecond, nullptr, &frame_);
    EXPECT_THAT(frame_, IsFrame(168, -17, 80, 60));
}

TEST_F(ScreenInfoOfDisplays, withoutOutputsAsksThePlatformNothing) {
    for (const uint32_t displayID : {0U, kSecond, kUnknown}) {
        ScreenInfo(displayID, nullptr, nullptr);
    }
    EXPECT_THAT(scripted::calls(), IsEmpty());
}

TEST_F(ScreenInfoOfDisplays, withoutAnyDisplayReportsZero) {
    scripted::unplug(kSecond);
    scripted::unplug(kMain);
    for (const uint32_t displayID : {0U, kMain}) {
        ask(displayID);
        EXPECT_THAT(frame_, IsFrame(0, 0, 0, 0));
        EXPECT_EQ(scale_, 0);
    }
    EXPECT_EQ(scripted::countCalls("CGDisplayBounds"), 0U);
}

// The list is asked for twice: how many there are, and which. What a failed call left is not used.
TEST_F(ScreenInfoOfDisplays, withoutAListOfDisplaysReportsZero) {
    for (const size_t callsThatGoWell : {0U, 1U}) {
        scripted::fail("CGGetActiveDisplayList", callsThatGoWell);
        scripted::forgetCalls();
        ask(kSecond);
        EXPECT_THAT(frame_, IsFrame(0, 0, 0, 0));
        EXPECT_EQ(scale_, 0);
        EXPECT_EQ(scripted::calls().size(), callsThatGoWell + 1);
    }
}

TEST_F(ScreenInfoOfDisplays, asksNothingOfADisplayThatWentWhileTheyWereListed) {
    scripted::whenCalled(
        "CGGetActiveDisplayList", [] { scripted::unplug(kMain); }, 1);
    ask(kSecond);
    EXPECT_THAT(scripted::callsOf({"CGDisplayIsMain"}),
                testing::ElementsAre("CGDisplayIsMain(69)"));
}

TEST_F(ScreenInfoOfDisplays, whileNoDisplayIsMainReportsADisplayAsIfItWere) {
    scripted::fail("CGDisplayIsMain");
    ask(kSecond);
    EXPECT_THAT(frame_, IsFrame(0, 0, 80, 60));
    EXPECT_EQ(scale_, 2);
}

TEST_F(ScreenInfoOfDisplays, whileNoDisplayIsMainReportsZeroForAnUnknownOne) {
    scripted::fail("CGDisplayIsMain");
    for (const uint32_t displayID : {0U, kUnknown}) {
        ask(displayID);
        EXPECT_THAT(frame_, IsFrame(0, 0, 0, 0));
        EXPECT_EQ(scale_, 0);
    }
}

TEST_F(ScreenInfoOfDisplays, keepsNothingFromOneCallToTheNext) {
    ask(kSecond);
    scripted::resize(kSecond, 40, 30);
    scripted::setScale(kSecond, 3);
    scripted::moveTo(kSecond, kMainLeft, kMainTop);
    ask(kSecond);
    EXPECT_THAT(frame_, IsFrame(0, 61, 40, 30));
    EXPECT_EQ(scale_, 3);
}

}  // namespace
