/* What pictures of chosen windows show. */
#include <algorithm>
#include <optional>

#include "window_test.h"

namespace {

class WindowImagesTest : public WindowTest {
  protected:
    /* Begins pictures, so that the server keeps the content of what is opened afterwards. */
    void begin() const { ASSERT_NE(imageOfWindows(kScreen, {}), nullptr); }

    /* A window that has painted more than its background. */
    xcb_window_t openPainted(const Area& area) const {
        const xcb_window_t window = client().open({.area = area, .color = kGreen});
        paint(window);
        return window;
    }

    void paint(xcb_window_t window) const {
        client().fill(window, {3, 5, 7, 11}, kBlue);
        client().fill(window, {20, 10, 1, 1}, kWhite);
        client().sync();
    }

    static constexpr Color kWhite{255, 255, 255};
    static constexpr Area kPlace{10, 20, 60, 50};
};

TEST_F(WindowImagesTest, DesktopWithAllItsWindowsIsTheScreen) {
    begin();
    openPainted({0, 0, 320, 200});
    openPainted(kPlace);
    openPainted({40, 40, 70, 80});
    const Windows all = windowsOnScreen();
    ASSERT_EQ(all.size(), 3U);
    EXPECT_TRUE(bytesOf(imageOfWindows(kScreen, all).get()) ==
                bytesOf(imageOf(0, 0, 320, 200).get()));
}

TEST_F(WindowImagesTest, WindowBeneathALeftOutOneIsShownToThePixel) {
    begin();
    const xcb_window_t window = openPainted(kPlace);
    const auto uncovered = bytesOf(imageOf(0, 0, 320, 200).get());
    open({.area = kScreen, .color = kRed});
    const Image image = imageOfWindows(kScreen, {window});
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(bytesOf(image.get()) == uncovered);
}

TEST_F(WindowImagesTest, WindowThatWasCoveredAllAlongIsAskedToPaintItself) {
    const xcb_window_t window = openPainted(kPlace);
    const auto uncovered = bytesOf(imageOf(0, 0, 320, 200).get());
    open({.area = kScreen, .color = kRed});
    client().takeExposure(window);
    EXPECT_EQ(colorAt(imageOfWindows(kScreen, {window}), 10, 20), kGreen);  // its background
    ASSERT_TRUE(client().takeExposure(window));
    paint(window);
    EXPECT_TRUE(bytesOf(imageOfWindows(kScreen, {window}).get()) == uncovered);
}

TEST_F(WindowImagesTest, FirstOfTheListIsOnTop) {
    const xcb_window_t green = open({.area = kPlace, .color = kGreen});
    const xcb_window_t blue = open({.area = kPlace, .color = kBlue});
    EXPECT_EQ(colorAt(imageOfWindows(kPlace, {blue, green}), 5, 5), kBlue);
    EXPECT_EQ(colorAt(imageOfWindows(kPlace, {green, blue}), 5, 5), kGreen);
    EXPECT_EQ(colorAt(imageOfWindows(kPlace, {green, blue, green}), 5, 5), kGreen);
}

TEST_F(WindowImagesTest, WithoutWindowsThereIsTheBackdropRepeated) {
    client().setBackdrop(kGreen, kBlue, 16);
    client().sync();
    const Image image = imageOfWindows({16, 0, 200, 150}, {});
    EXPECT_EQ(colorAt(image, 0, 0), kBlue);
    EXPECT_EQ(colorAt(image, 16, 0), kGreen);
    EXPECT_EQ(colorAt(image, 160, 128), kBlue);
}

TEST_F(WindowImagesTest, WithoutABackdropThereIsBlack) {
    EXPECT_EQ(colorAt(imageOfWindows(kScreen, {}), 100, 100), kBlack);
}

TEST_F(WindowImagesTest, BackdropThatIsAWindowIsNotShown) {
    const xcb_window_t window = open({.area = kScreen, .color = kRed});
    client().setRootProperty("_XROOTPMAP_ID", XCB_ATOM_PIXMAP, window);
    client().sync();
    EXPECT_EQ(colorAt(imageOfWindows(kScreen, {}), 100, 100), kBlack);
}

TEST_F(WindowImagesTest, BackdropThatHasGoneIsBlack) {
    client().setRootProperty("_XROOTPMAP_ID", XCB_ATOM_PIXMAP, 0x00deadbe);
    client().setRootProperty("ESETROOT_PMAP_ID", XCB_ATOM_PIXMAP, client().root());
    client().sync();
    EXPECT_EQ(colorAt(imageOfWindows(kScreen, {}), 100, 100), kBlack);
}

TEST_F(WindowImagesTest, FrameComesWithItsWindow) {
    const xcb_window_t frame = client().create(
        {.area = {50, 60, 80, 70}, .color = kRed, .border = 3, .borderColor = kBlue});
    const xcb_window_t window =
        client().open({.area = {5, 15, 70, 50}, .color = kGreen, .parent = frame});
    client().setManaged(window);
    client().map(frame);
    client().sync();
    const Image image = imageOfWindows(kScreen, {window});
    EXPECT_EQ(colorAt(image, 49, 60), kBlack);
    EXPECT_EQ(colorAt(image, 50, 60), kBlue);
    EXPECT_EQ(colorAt(image, 53, 63), kRed);
    EXPECT_EQ(colorAt(image, 58, 78), kGreen);
    EXPECT_EQ(colorAt(image, 135, 135), kBlue);
    EXPECT_EQ(colorAt(imageOfWindows(kScreen, {frame}), 58, 78), kBlack);  // not by that number
}

TEST_F(WindowImagesTest, NumbersOfNoWindowOnScreenAreLeftOut) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    const xcb_window_t dead = open({.area = kScreen, .color = kRed});
    client().destroy(dead);
    const xcb_window_t unmapped = client().create({.area = kScreen, .color = kRed});
    const xcb_window_t child = client().open({.area = kPlace, .color = kRed, .parent = window});
    const xcb_window_t input = open({.area = kScreen, .isInputOnly = true});
    client().destroy(child);
    client().sync();
    const Image image = imageOfWindows(
        kScreen, {dead, unmapped, child, input, client().root(), 0, 0xffffffff, window});
    EXPECT_EQ(colorAt(image, 15, 25), kGreen);
    EXPECT_FALSE(shows(image, kRed));
}

TEST_F(WindowImagesTest, AreaPastTheScreenIsZero) {
    const xcb_window_t window = open({.area = {300, 180, 50, 50}, .color = kGreen});
    const Image image = imageOfWindows({310, 190, 20, 20}, {window});
    EXPECT_EQ(colorAt(image, 9, 9), kGreen);
    EXPECT_EQ(pixelAt(image.get(), 10, 9), Pixel{});
    EXPECT_EQ(pixelAt(image.get(), 9, 10), Pixel{});
    EXPECT_EQ(pixelAt(imageOfWindows({5000, 5000, 4, 4}, {window}).get(), 0, 0), Pixel{});
}

TEST_F(WindowImagesTest, ShapedWindowShowsWhatIsBehindItsHoles) {
    const xcb_window_t green = open({.area = kPlace, .color = kGreen});
    const xcb_window_t blue = open({.area = kPlace, .color = kBlue});
    client().setShape(blue, {{0, 0, 20, 20}, {30, 30, 10, 10}});
    client().sync();
    const Image image = imageOfWindows(kPlace, {blue, green});
    for (const auto& [x, y, color] :
         {std::tuple{19, 19, kBlue}, {20, 19, kGreen}, {29, 30, kGreen}, {39, 39, kBlue}})
        EXPECT_EQ(colorAt(image, static_cast<std::size_t>(x), static_cast<std::size_t>(y)), color)
            << x << "," << y;
}

/* A component of a color that is laid over another one. */
double blended(std::uint8_t over, std::uint8_t under, double opacity) {
    return over * opacity + under * (1 - opacity);
}

void expectNear(Color actual, double red, double green, double blue) {
    EXPECT_NEAR(actual.red, red, 1);
    EXPECT_NEAR(actual.green, green, 1);
    EXPECT_NEAR(actual.blue, blue, 1);
}

/* Opacity is the compositing manager's to apply: without one, windows are shown opaque. */
class BlendedImagesTest : public WindowImagesTest {
  protected:
    void SetUp() override {
        WindowImagesTest::SetUp();
        manager_.emplace(server().display());
        manager_->compositeOn(kBlack);
        manager_->sync();
    }
    void TearDown() override { manager_.reset(); }

    std::optional<WindowClient> manager_;
};

TEST_F(BlendedImagesTest, HalfOpaqueWindowIsBlendedWithWhatIsBehind) {
    const xcb_window_t green = open({.area = kPlace, .color = kGreen});
    const xcb_window_t blue = open({.area = kPlace, .color = kBlue});
    client().setOpacity(blue, 0.5);
    client().sync();
    expectNear(colorAt(imageOfWindows(kPlace, {blue, green}), 5, 5),
               blended(kBlue.red, kGreen.red, 0.5), blended(kBlue.green, kGreen.green, 0.5),
               blended(kBlue.blue, kGreen.blue, 0.5));
}

TEST_F(BlendedImagesTest, OpacityOfAFramedWindowCountsUnlessItsFrameHasOne) {
    const xcb_window_t frame = client().create({.area = kPlace, .color = kBlue});
    const xcb_window_t window = client().open({.area = {0, 0, 9, 9}, .parent = frame});
    client().setManaged(window);
    client().map(frame);
    client().setOpacity(window, 0.25);
    client().sync();
    expectNear(colorAt(imageOfWindows(kPlace, {window}), 20, 20), kBlue.red * 0.25,
               kBlue.green * 0.25, kBlue.blue * 0.25);
    client().setOpacity(frame, 0.75);
    client().sync();
    expectNear(colorAt(imageOfWindows(kPlace, {window}), 20, 20), kBlue.red * 0.75,
               kBlue.green * 0.75, kBlue.blue * 0.75);
}

TEST_F(BlendedImagesTest, TranslucentPixelsAreLaidOverWhatIsBehind) {
    const xcb_window_t green = open({.area = kPlace, .color = kGreen});
    const xcb_window_t translucent = client().createTranslucent(kPlace, 0x40'10'20'30);
    client().map(translucent);
    client().sync();
    const double rest = 1 - 0x40 / 255.0;
    expectNear(colorAt(imageOfWindows(kPlace, {translucent, green}), 5, 5),
               0x10 + kGreen.red * rest, 0x20 + kGreen.green * rest, 0x30 + kGreen.blue * rest);
}

TEST_F(WindowImagesTest, WindowAloneIsShownWithoutWhatCoversIt) {
    begin();
    const xcb_window_t window = openPainted(kPlace);
    open({.area = kScreen, .color = kRed});
    const Image image = imageOfWindow({0, 10, 100, 100}, window);
    EXPECT_EQ(colorAt(image, 10, 10), kGreen);
    EXPECT_EQ(colorAt(image, 13, 15), kBlue);
    EXPECT_EQ(colorAt(image, 69, 59), kGreen);
    EXPECT_EQ(pixelAt(image.get(), 9, 10), Pixel{});
    EXPECT_EQ(pixelAt(image.get(), 70, 59), Pixel{});
    EXPECT_EQ(pixelAt(image.get(), 69, 60), Pixel{});
}

TEST_F(WindowImagesTest, WindowAloneIsShownWhereItReachesPastTheScreen) {
    const xcb_window_t window = open({.area = {-20, 180, 60, 50}, .color = kGreen});
    const Image image = imageOfWindow({-30, 170, 100, 100}, window);
    EXPECT_EQ(pixelAt(image.get(), 9, 10), Pixel{});
    EXPECT_EQ(colorAt(image, 10, 10), kGreen);
    EXPECT_EQ(colorAt(image, 69, 59), kGreen);
    EXPECT_EQ(pixelAt(image.get(), 69, 60), Pixel{});
}

TEST_F(WindowImagesTest, WindowAloneIsCutToTheArea) {
    begin();
    const xcb_window_t window = openPainted(kPlace);
    const Image image = imageOfWindow({13, 25, 5, 4}, window);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(CGImageGetWidth(image.get()), 5U);
    EXPECT_EQ(colorAt(image, 0, 0), kBlue);
    EXPECT_EQ(pixelAt(imageOfWindow({200, 100, 5, 4}, window).get(), 4, 3), Pixel{});
}

TEST_F(WindowImagesTest, ShapedWindowAloneIsZeroInItsHoles) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    client().setShape(window, {{0, 0, 20, 20}, {30, 30, 10, 10}});
    client().sync();
    const Image image = imageOfWindow(kPlace, window);
    EXPECT_EQ(colorAt(image, 19, 19), kGreen);
    EXPECT_EQ(pixelAt(image.get(), 20, 20), Pixel{});
    EXPECT_EQ(colorAt(image, 39, 39), kGreen);
}

TEST_F(WindowImagesTest, WindowAloneIsAsOpaqueAsItsOwnPixels) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    client().setOpacity(window, 0.5);
    client().sync();
    EXPECT_EQ(colorAt(imageOfWindow(kPlace, window), 5, 5), kGreen);
}

TEST_F(WindowImagesTest, WhatIsNoWindowOnScreenHasNoPictureAlone) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    const xcb_window_t child = client().open({.area = {0, 0, 9, 9}, .parent = window});
    const xcb_window_t unmapped = client().create({.area = kPlace});
    const xcb_window_t input = open({.area = kPlace, .isInputOnly = true});
    for (const CGWindowID number : {child, unmapped, input, client().root(), CGWindowID{0},
                                    CGWindowID{0x00deadbe}, CGWindowID{0xffffffff}})
        EXPECT_EQ(imageOfWindow(kPlace, number), nullptr) << number;
    client().unmap(window);
    client().sync();
    EXPECT_EQ(imageOfWindow(kPlace, window), nullptr);
}

TEST_F(WindowImagesTest, AbsurdAreasAndListsHaveNoImage) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    EXPECT_EQ(imageOfWindows({0, 0, 0, 10}, {window}), nullptr);
    EXPECT_EQ(imageOfWindows({0, 0, 10, 32768}, {window}), nullptr);
    EXPECT_EQ(imageOfWindow({0, 0, 0, 10}, window), nullptr);
    EXPECT_EQ(
        CGWindowListCreateImageFromArray(CGRectMake(0, 0, 9, 9), nullptr, kCGWindowImageDefault),
        nullptr);
}

TEST_F(WindowImagesTest, CompositingManagersScreenIsNotAmongTheWindows) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    client().compositeOn(kRed);
    client().sync();
    ASSERT_TRUE(shows(imageOf(0, 0, 320, 200), kRed));
    EXPECT_EQ(windowsOnScreen(), Windows{window});
    const Image image = imageOfWindows(kScreen, windowsOnScreen());
    EXPECT_EQ(colorAt(image, 15, 25), kGreen);
    EXPECT_FALSE(shows(image, kRed));
    EXPECT_FALSE(shows(imageOfWindow(kScreen, window), kRed));
    EXPECT_TRUE(shows(imageOf(0, 0, 320, 200), kRed));  // and is left alone
}

TEST_F(WindowImagesTest, ImagesFollowTheWindows) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    ASSERT_EQ(colorAt(imageOfWindows(kScreen, {window}), 15, 25), kGreen);
    client().move(window, 200, 100);
    client().resize(window, 20, 20);
    client().sync();
    const Image image = imageOfWindows(kScreen, {window});
    EXPECT_EQ(colorAt(image, 15, 25), kBlack);
    EXPECT_EQ(colorAt(image, 219, 119), kGreen);
    EXPECT_EQ(colorAt(image, 220, 119), kBlack);
}

TEST_F(WindowImagesTest, HeldImageStaysAsItWas) {
    const xcb_window_t window = open({.area = kPlace, .color = kGreen});
    const Image held = imageOfWindows(kScreen, {window});
    const auto before = bytesOf(held.get());
    client().fill(window, {0, 0, 60, 50}, kRed);
    client().sync();
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(shows(imageOfWindows(kScreen, {window}), kRed));
    EXPECT_TRUE(bytesOf(held.get()) == before);
}

/* Which screens can give pictures of windows. */
struct DepthCase {
    const char* name;
    const char* screen;
    std::vector<std::string> arguments;
    bool isPossible;
    int tolerance;  // of a component of 8 bits
};

class WindowDepthTest : public testing::TestWithParam<DepthCase> {};

TEST_P(WindowDepthTest, PictureIsRightOrThereIsNone) {
    const XvfbServer server(GetParam().screen, GetParam().arguments);
    useDisplay(server.display());
    const Painter painter(server.display());
    const Color color{200, 100, 56};
    const xcb_window_t window = painter.openWindow({10, 10, 20, 20}, color);
    painter.openWindow({0, 0, 99, 60}, {255, 255, 255});
    painter.sync();
    const Image image = imageOfWindow({0, 0, 99, 60}, window);
    ASSERT_EQ(image != nullptr, GetParam().isPossible);
    if (!GetParam().isPossible)
        return;
    EXPECT_NEAR(colorAt(image, 10, 10).red, color.red, GetParam().tolerance);
    EXPECT_NEAR(colorAt(image, 29, 29).green, color.green, GetParam().tolerance);
    EXPECT_NEAR(colorAt(image, 29, 29).blue, color.blue, GetParam().tolerance);
    EXPECT_EQ(pixelAt(image.get(), 9, 10), Pixel{});
    EXPECT_EQ(pixelAt(image.get(), 30, 29), Pixel{});
}

INSTANTIATE_TEST_SUITE_P(
    Depths, WindowDepthTest,
    testing::Values(DepthCase{"PseudoColor8", "99x60x8", {"-cc", "3"}, false, 0},
                    DepthCase{"TrueColor8", "99x60x8", {"-cc", "4"}, true, 43},
                    DepthCase{"TrueColor15", "99x60x15", {}, true, 5},
                    DepthCase{"TrueColor16", "99x60x16", {}, true, 5},
                    DepthCase{"TrueColor24", "99x60x24", {}, true, 0},
                    DepthCase{"Packed24", "99x60x24", {"-pixdepths", "24"}, true, 0},
                    DepthCase{"TrueColor30", "99x60x30", {}, true, 1}),
    [](const auto& instance) { return instance.param.name; });

}  // namespace
