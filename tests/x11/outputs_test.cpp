/* Displays of servers with several outputs, and with one that rotates. */
#include <gmock/gmock.h>

#include <ostream>

#include "randr_client.h"
#include "screen_test.h"
#include "shown_displays.h"
#include "xorg_server.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr ModeTiming kSmall{400, 300, 30'000'000, 500, 600, 0};    // 100 a second
constexpr ModeTiming kMiddle{640, 480, 30'000'000, 1000, 500, 0};  // 60 a second
constexpr ModeTiming kUpright{300, 400, 30'000'000, 500, 600, 0};

class OutputsTest : public testing::Test {
  protected:
    OutputsTest() { useDisplay(server_.display()); }

    CGDirectDisplayID id(std::size_t position) const { return randr_.output(position); }

    // 400 x 300 in the corner and 640 x 480 beside it, which is lower.
    void arrangeTwo() { randr_.arrange({{0, kSmall}, {1, kMiddle, 400, 100}}); }

    XorgServer server_;
    RandrClient randr_{server_.display()};
};

TEST_F(OutputsTest, EachIsADisplayWithItsOwnModeAndPlace) {
    randr_.arrange({{0, kSmall, 0, 57}, {1, kMiddle, 413, 0}, {2, kUpright, 1053, 91}});
    EXPECT_THAT(shownDisplays(),
                ElementsAre(Shown{id(0), 0, 57, 400, 300}, Shown{id(1), 413, 0, 640, 480},
                            Shown{id(2), 1053, 91, 300, 400}));
}

TEST_F(OutputsTest, EachHasItsOwnRefreshRate) {
    arrangeTwo();
    EXPECT_DOUBLE_EQ(refreshRate(id(0)), 100);
    EXPECT_DOUBLE_EQ(refreshRate(id(1)), 60);
}

TEST_F(OutputsTest, MainOneComesFirst) {
    randr_.arrange({{0, kSmall}, {1, kMiddle, 400, 0}, {2, kSmall, 1040, 0}});
    randr_.setPrimary(2);
    EXPECT_THAT(activeDisplays(), ElementsAre(id(2), id(0), id(1)));
    EXPECT_EQ(CGMainDisplayID(), id(2));
}

TEST_F(OutputsTest, FirstIsMainUnlessOneWasChosen) {
    arrangeTwo();
    randr_.setPrimary(std::nullopt);
    EXPECT_EQ(CGDisplayIsMain(id(0)), 1U);
    EXPECT_EQ(CGDisplayIsMain(id(1)), 0U);
}

TEST_F(OutputsTest, MainOneThatIsSwitchedOffIsReplaced) {
    arrangeTwo();
    randr_.setPrimary(0);
    randr_.arrange({{1, kMiddle, 400, 100}});
    EXPECT_EQ(CGMainDisplayID(), id(1));
}

TEST_F(OutputsTest, SwitchedOffOneIsNoDisplay) {
    arrangeTwo();
    randr_.arrange({{0, kSmall}});
    EXPECT_THAT(activeDisplays(), ElementsAre(id(0)));
    EXPECT_EQ(CGDisplayBounds(id(1)).size.width, 0);
}

TEST_F(OutputsTest, NoneLeftIsNoDisplay) {
    randr_.arrange({});
    EXPECT_THAT(activeDisplays(), IsEmpty());
    EXPECT_EQ(CGMainDisplayID(), 0U);
}

TEST_F(OutputsTest, IdentityOutlivesUnpluggingAndPluggingInAgain) {
    arrangeTwo();
    const auto before = shownDisplays();
    for (const std::size_t unplugged : {0U, 1U}) {
        randr_.arrange({unplugged == 0 ? Placement{1, kMiddle, 400, 100} : Placement{0, kSmall}});
        ASSERT_THAT(activeDisplays(), ElementsAre(id(1 - unplugged)));
        arrangeTwo();
        EXPECT_EQ(shownDisplays(), before);
    }
}

TEST_F(OutputsTest, ImageOfEachShowsItsPartOfTheDesktop) {
    arrangeTwo();
    const Painter painter(server_.display());
    painter.fill({0, 0, 400, 300}, {200, 10, 20});
    painter.fill({400, 100, 640, 480}, {30, 180, 40});
    painter.sync();
    const Image first(CGDisplayCreateImage(id(0)));
    const Image second(CGDisplayCreateImage(id(1)));
    EXPECT_EQ(pixelAt(first.get(), 399, 299).color(), (Color{200, 10, 20}));
    EXPECT_EQ(CGImageGetWidth(second.get()), 640U);
    EXPECT_EQ(pixelAt(second.get(), 0, 0).color(), (Color{30, 180, 40}));
    EXPECT_EQ(pixelAt(second.get(), 639, 479).color(), (Color{30, 180, 40}));
}

TEST_F(OutputsTest, MirrorsAreOneDisplayTheFirstOfThem) {
    randr_.setPrimary(std::nullopt);
    randr_.arrange({{0, kMiddle, 400, 0}, {1, kSmall}, {2, kSmall}});
    EXPECT_THAT(activeDisplays(), ElementsAre(id(0), id(1)));
    EXPECT_EQ(CGDisplayBounds(id(2)).size.width, 0);
}

TEST_F(OutputsTest, MirrorThatIsMainStandsForTheOthers) {
    randr_.arrange({{0, kMiddle, 400, 0}, {1, kSmall}, {2, kSmall}});
    randr_.setPrimary(2);
    EXPECT_THAT(activeDisplays(), ElementsAre(id(2), id(0)));
}

TEST_F(OutputsTest, NextMirrorTakesOverWhenTheFirstIsUnplugged) {
    randr_.arrange({{0, kSmall}, {1, kSmall}});
    ASSERT_THAT(activeDisplays(), ElementsAre(id(0)));
    randr_.arrange({{1, kSmall}});
    EXPECT_THAT(shownDisplays(), ElementsAre(Shown{id(1), 0, 0, 400, 300}));
}

TEST_F(OutputsTest, OnesThatOverlapButDifferAreSeveralDisplays) {
    randr_.arrange({{0, kSmall}, {1, kMiddle}, {2, kSmall, 0, 1}});
    EXPECT_THAT(activeDisplays(), ElementsAre(id(0), id(1), id(2)));
}

TEST_F(OutputsTest, EachIsNamedAfterItsProductOrElseItself) {
    arrangeTwo();
    randr_.setEdid(edidNamed("Desk 27"), 1);
    EXPECT_EQ(productName(id(0)), "DUMMY0");
    EXPECT_EQ(productName(id(1)), "Desk 27");
    EXPECT_EQ(productName(id(2)), "no description");
}

struct RealMode {
    const char* name;
    ModeTiming timing;
    double refreshRate;
};

void PrintTo(const RealMode& mode, std::ostream* out) {
    *out << mode.name;
}

class RealModeTest : public OutputsTest, public testing::WithParamInterface<RealMode> {};

TEST_P(RealModeTest, HasTheRateThatItIsKnownBy) {
    randr_.arrange({{1, GetParam().timing}});
    EXPECT_NEAR(refreshRate(id(1)), GetParam().refreshRate, 0.005);
    EXPECT_EQ(CGDisplayBounds(id(1)).size.height, GetParam().timing.height);
}

constexpr std::uint32_t kInterlaced = XCB_RANDR_MODE_FLAG_INTERLACE;
constexpr std::uint32_t kDoubled = XCB_RANDR_MODE_FLAG_DOUBLE_SCAN;

INSTANTIATE_TEST_SUITE_P(
    Modes, RealModeTest,
    testing::Values(
        RealMode{"FullHd", {1920, 1080, 148'500'000, 2200, 1125, 0}, 60.0},
        RealMode{"FullHdNtsc", {1920, 1080, 148'351'648, 2200, 1125, 0}, 59.94},
        RealMode{"FullHdInterlaced", {1920, 1080, 74'250'000, 2200, 1125, kInterlaced}, 60.0},
        RealMode{"XgaInterlaced", {1024, 768, 44'900'000, 1264, 817, kInterlaced}, 86.96},
        RealMode{"DoubleScanned", {320, 240, 12'587'500, 400, 262, kDoubled}, 60.05},
        RealMode{"Cinema", {4096, 2160, 297'000'000, 5500, 2250, 0}, 24.0}),
    [](const auto& instance) { return instance.param.name; });

TEST(NestedServerTest, OutputThatNobodyHasLookedForIsFound) {
    const XephyrServer server("600x400");
    useDisplay(server.display());
    const CGDirectDisplayID before = onlyDisplay();
    const RandrClient randr(server.display());
    EXPECT_EQ(before, randr.output());
    EXPECT_EQ(onlyDisplay(), before);
}

struct Rotation {
    const char* name;
    std::uint16_t rotation;
    double width;
    double height;
};

void PrintTo(const Rotation& rotation, std::ostream* out) {
    *out << rotation.name;
}

class RotationTest : public testing::TestWithParam<Rotation> {};

TEST_P(RotationTest, AreaIsTheRotatedOne) {
    const XephyrServer server("600x400");
    useDisplay(server.display());
    RandrClient randr(server.display());
    randr.rotate(GetParam().rotation);
    EXPECT_THAT(shownDisplays(),
                ElementsAre(Shown{randr.output(), 0, 0, GetParam().width, GetParam().height}));
    const Painter painter(server.display());
    painter.fill({0, 0, 600, 600}, {10, 20, 30});
    painter.fill({0, 0, 20, 20}, {200, 10, 20});
    painter.sync();
    const Image image(CGDisplayCreateImage(randr.output()));
    EXPECT_EQ(CGImageGetHeight(image.get()), GetParam().height);
    EXPECT_EQ(pixelAt(image.get(), 19, 19).color(), (Color{200, 10, 20}));
    EXPECT_EQ(pixelAt(image.get(), 20, 20).color(), (Color{10, 20, 30}));
}

INSTANTIATE_TEST_SUITE_P(Angles, RotationTest,
                         testing::Values(Rotation{"None", XCB_RANDR_ROTATION_ROTATE_0, 600, 400},
                                         Rotation{"Left", XCB_RANDR_ROTATION_ROTATE_90, 400, 600},
                                         Rotation{"Half", XCB_RANDR_ROTATION_ROTATE_180, 600, 400},
                                         Rotation{"Right", XCB_RANDR_ROTATION_ROTATE_270, 400,
                                                  600}),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
