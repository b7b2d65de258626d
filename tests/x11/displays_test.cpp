/* What the display list and the displays' descriptions say. */
#include "screen_test.h"
#include "shown_displays.h"

namespace {

class DisplaysTest : public testing::Test {
  protected:
    void start(const std::string& screen, std::vector<std::string> arguments = {}) {
        server_ = std::make_unique<XvfbServer>(screen, std::move(arguments));
        useDisplay(server_->display());
    }

  private:
    std::unique_ptr<XvfbServer> server_;
};

TEST_F(DisplaysTest, CountIsGivenWithoutRoomForIdentifiers) {
    start("800x600x24");
    std::uint32_t count = 99;
    EXPECT_EQ(CGGetActiveDisplayList(0, nullptr, &count), kCGErrorSuccess);
    EXPECT_EQ(count, 1U);
}

TEST_F(DisplaysTest, IdentifierIsTheSameEachTimeAndNeverZero) {
    start("800x600x24");
    const CGDirectDisplayID first = onlyDisplay();
    EXPECT_NE(first, 0U);
    EXPECT_EQ(onlyDisplay(), first);
}

TEST_F(DisplaysTest, NoMoreIdentifiersAreStoredThanThereIsRoomFor) {
    start("800x600x24");
    CGDirectDisplayID display = 77;
    std::uint32_t count = 99;
    EXPECT_EQ(CGGetActiveDisplayList(0, &display, &count), kCGErrorSuccess);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(display, 77U);
}

TEST_F(DisplaysTest, MissingCountIsAnIllegalArgument) {
    start("800x600x24");
    EXPECT_EQ(CGGetActiveDisplayList(0, nullptr, nullptr), kCGErrorIllegalArgument);
}

TEST_F(DisplaysTest, OnlyDisplayIsTheMainOne) {
    start("800x600x24");
    EXPECT_EQ(CGMainDisplayID(), onlyDisplay());
    EXPECT_EQ(CGDisplayIsMain(onlyDisplay()), 1U);
}

TEST_F(DisplaysTest, BoundsAreTheScreens) {
    start("1234x567x24");
    const CGRect bounds = CGDisplayBounds(onlyDisplay());
    EXPECT_EQ(bounds.origin.x, 0);
    EXPECT_EQ(bounds.origin.y, 0);
    EXPECT_EQ(bounds.size.width, 1234);
    EXPECT_EQ(bounds.size.height, 567);
}

TEST_F(DisplaysTest, ModeIsAsLargeInPointsAsInPixels) {
    start("1234x567x24");
    const Mode mode(CGDisplayCopyDisplayMode(onlyDisplay()));
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(CGDisplayModeGetWidth(mode.get()), 1234U);
    EXPECT_EQ(CGDisplayModeGetHeight(mode.get()), 567U);
    EXPECT_EQ(CGDisplayModeGetPixelWidth(mode.get()), 1234U);
    EXPECT_EQ(CGDisplayModeGetPixelHeight(mode.get()), 567U);
}

TEST_F(DisplaysTest, NameOfADisplayWithoutDescriptionDataIsItsOutputs) {
    start("800x600x24");
    EXPECT_EQ(productName(onlyDisplay()), "screen");
}

TEST_F(DisplaysTest, ScreenWithoutOutputsIsOneDisplayWithoutAName) {
    start("800x600x24", {"-extension", "RANDR"});
    const CGDirectDisplayID display = onlyDisplay();
    EXPECT_NE(display, 0U);
    EXPECT_EQ(CGDisplayBounds(display).size.width, 800);
    EXPECT_EQ(CGDisplayIsMain(display), 1U);
    EXPECT_EQ(productName(display), "no name");
}

TEST_F(DisplaysTest, RefreshRateIsZeroWhereThereAreNoOutputs) {
    start("800x600x24", {"-extension", "RANDR"});
    const Mode mode(CGDisplayCopyDisplayMode(onlyDisplay()));
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(CGDisplayModeGetRefreshRate(mode.get()), 0.0);
}

class UnknownDisplayTest : public DisplaysTest, public testing::WithParamInterface<unsigned> {};

TEST_P(UnknownDisplayTest, HasNoPropertyAtAll) {
    start("800x600x24");
    const CGDirectDisplayID display = GetParam();
    const CGRect bounds = CGDisplayBounds(display);
    EXPECT_EQ(bounds.origin.x, 0);
    EXPECT_EQ(bounds.size.width, 0);
    EXPECT_EQ(bounds.size.height, 0);
    EXPECT_EQ(CGDisplayIsMain(display), 0U);
    EXPECT_EQ(CGDisplayIOServicePort(display), 0U);
    EXPECT_EQ(CGDisplayCopyDisplayMode(display), nullptr);
    EXPECT_EQ(CGDisplayCreateImage(display), nullptr);
    EXPECT_EQ(productName(display), "no description");
}

INSTANTIATE_TEST_SUITE_P(Identifiers, UnknownDisplayTest, testing::Values(0U, 1U, 0xfffffffeU));

struct Depth {
    const char* screen;
    const char* encoding;
};

class PixelEncodingTest : public DisplaysTest, public testing::WithParamInterface<Depth> {};

TEST_P(PixelEncodingTest, TellsTheDepth) {
    start(GetParam().screen);
    const Mode mode(CGDisplayCopyDisplayMode(onlyDisplay()));
    const Owned<const __CFString> encoding(CGDisplayModeCopyPixelEncoding(mode.get()));
    EXPECT_EQ(text(encoding.get()), GetParam().encoding);
}

INSTANTIATE_TEST_SUITE_P(Depths, PixelEncodingTest,
                         testing::Values(Depth{"320x200x8", "PPPPPPPP"},
                                         Depth{"320x200x15", "-RRRRRGGGGGBBBBB"},
                                         Depth{"320x200x16", "-RRRRRGGGGGBBBBB"},
                                         Depth{"320x200x24", "--------RRRRRRRRGGGGGGGGBBBBBBBB"},
                                         Depth{"320x200x30", "--RRRRRRRRRRGGGGGGGGGGBBBBBBBBBB"}));

}  // namespace
