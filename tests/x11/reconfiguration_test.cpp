/* Displays that change while they are asked about. */
#include "randr_client.h"
#include "screen_test.h"
#include "shown_displays.h"

namespace {

constexpr ModeTiming kSmallMode{400, 300, 30'000'000, 500, 600, 0};
// A virtual screen cannot grow beyond the size it started with.
constexpr ModeTiming kLargeMode{640, 480, 60'000'000, 1000, 600, 0};

class ReconfigurationTest : public testing::Test {
  protected:
    void SetUp() override { useDisplay(server_.display()); }

    void paintWhole(Color color) const {
        Painter painter(server_.display());
        painter.fill({0, 0, 640, 480}, color);
        painter.sync();
    }

    XvfbServer server_{"640x480x24"};
    RandrClient randr_{server_.display()};
};

TEST_F(ReconfigurationTest, IdentifierOutlivesAChangeOfMode) {
    const CGDirectDisplayID before = onlyDisplay();
    randr_.setMode(kSmallMode);
    EXPECT_EQ(onlyDisplay(), before);
}

TEST_F(ReconfigurationTest, BoundsFollowTheMode) {
    ASSERT_EQ(CGDisplayBounds(randr_.output()).size.width, 640);
    randr_.setMode(kSmallMode);
    EXPECT_EQ(CGDisplayBounds(randr_.output()).size.width, 400);
    EXPECT_EQ(CGDisplayBounds(randr_.output()).size.height, 300);
}

TEST_F(ReconfigurationTest, CopiedModeStaysAsItWas) {
    const Mode mode(CGDisplayCopyDisplayMode(randr_.output()));
    randr_.setMode(kSmallMode);
    EXPECT_EQ(CGDisplayModeGetWidth(mode.get()), 640U);
}

TEST_F(ReconfigurationTest, DisplayThatShowsNothingIsNotActive) {
    randr_.turnOff();
    std::uint32_t count = 99;
    EXPECT_EQ(CGGetActiveDisplayList(0, nullptr, &count), kCGErrorSuccess);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(CGMainDisplayID(), 0U);
    EXPECT_EQ(CGDisplayCopyDisplayMode(randr_.output()), nullptr);
}

TEST_F(ReconfigurationTest, ImageFollowsADisplayThatShrinksAndGrows) {
    ASSERT_EQ(CGImageGetWidth(Image(CGDisplayCreateImage(randr_.output())).get()), 640U);
    randr_.setMode(kSmallMode);
    EXPECT_EQ(CGImageGetWidth(Image(CGDisplayCreateImage(randr_.output())).get()), 400U);
    randr_.setMode(kLargeMode);
    EXPECT_EQ(CGImageGetWidth(Image(CGDisplayCreateImage(randr_.output())).get()), 640U);
}

TEST_F(ReconfigurationTest, AreaOfAScreenThatShrankIsZeroWhereItEnds) {
    paintWhole({255, 255, 255});
    ASSERT_EQ(pixelAt(imageOf(0, 0, 640, 480).get(), 639, 479).red, 255);
    randr_.setMode(kSmallMode);
    paintWhole({9, 8, 7});
    const Image image = imageOf(0, 0, 640, 480);
    EXPECT_EQ(pixelAt(image.get(), 399, 299).color(), (Color{9, 8, 7}));
    EXPECT_EQ(pixelAt(image.get(), 400, 299), Pixel{});
    EXPECT_EQ(pixelAt(image.get(), 399, 300), Pixel{});
}

TEST_F(ReconfigurationTest, AreaShowsWhatAGrownScreenGained) {
    randr_.setMode(kSmallMode);
    ASSERT_EQ(pixelAt(imageOf(0, 0, 640, 480).get(), 600, 400), Pixel{});
    randr_.setMode(kLargeMode);
    paintWhole({9, 8, 7});
    EXPECT_EQ(pixelAt(imageOf(0, 0, 640, 480).get(), 600, 400).color(), (Color{9, 8, 7}));
}

struct Timing {
    const char* name;
    ModeTiming mode;
    double refreshRate;
};

class RefreshRateTest : public ReconfigurationTest, public testing::WithParamInterface<Timing> {};

TEST_P(RefreshRateTest, IsTheRateOfWholeRedraws) {
    randr_.setMode(GetParam().mode);
    EXPECT_DOUBLE_EQ(refreshRate(randr_.output()), GetParam().refreshRate);
}

INSTANTIATE_TEST_SUITE_P(
    Timings, RefreshRateTest,
    testing::Values(Timing{"Progressive", {400, 300, 30'000'000, 500, 600, 0}, 100.0},
                    Timing{"Fractional", {400, 300, 17'982'018, 500, 600, 0}, 59.94006},
                    Timing{"Interlaced",
                           {400, 300, 30'000'000, 500, 600, XCB_RANDR_MODE_FLAG_INTERLACE},
                           200.0},
                    Timing{"DoubleScanned",
                           {400, 300, 30'000'000, 500, 600, XCB_RANDR_MODE_FLAG_DOUBLE_SCAN},
                           50.0},
                    Timing{"WithoutTotals", {400, 300, 30'000'000, 0, 0, 0}, 0.0}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(ReconfigurationTest, NameComesFromTheDescriptionData) {
    randr_.setEdid(edidNamed("Desk 27"));
    EXPECT_EQ(productName(onlyDisplay()), "Desk 27");
}

TEST_F(ReconfigurationTest, DamagedDescriptionDataLeavesTheOutputsName) {
    auto edid = edidNamed("Desk 27");
    edid[127] ^= 1;
    randr_.setEdid(edid);
    EXPECT_EQ(productName(onlyDisplay()), "screen");
}

}  // namespace
