/* What images of the screen show. */
#include <cmath>
#include <limits>

#include "screen_test.h"

namespace {

class ImagesTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        server_ = std::make_unique<XvfbServer>("320x200x24");
        painter_ = std::make_unique<Painter>(server_->display());
        painter_->fill({0, 0, 320, 200}, kBackground);
        painter_->fill({10, 20, 30, 40}, kPatch);
        painter_->openWindow({100, 50, 60, 50}, kWindow);
        painter_->sync();
        useDisplay(server_->display());
    }

    static void TearDownTestSuite() {
        painter_.reset();
        server_.reset();
    }

    static constexpr Color kBackground{1, 2, 3};
    static constexpr Color kPatch{250, 128, 7};
    static constexpr Color kWindow{0, 255, 64};

  private:
    static inline std::unique_ptr<XvfbServer> server_;
    static inline std::unique_ptr<Painter> painter_;
};

TEST_F(ImagesTest, DisplaysImageIsAsLargeAsItsMode) {
    const Image image(CGDisplayCreateImage(onlyDisplay()));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(CGImageGetWidth(image.get()), 320U);
    EXPECT_EQ(CGImageGetHeight(image.get()), 200U);
    EXPECT_EQ(CGImageGetBitsPerPixel(image.get()), 32U);
    EXPECT_EQ(CGImageGetBitsPerComponent(image.get()), 8U);
    EXPECT_EQ(CGImageGetBytesPerRow(image.get()), 1280U);
    EXPECT_EQ(CGImageGetAlphaInfo(image.get()), kCGImageAlphaNoneSkipFirst);
    EXPECT_EQ(CFDataGetLength(dataOf(image.get()).get()), 320 * 200 * 4);
}

struct Spot {
    std::size_t x;
    std::size_t y;
    Color color;
};

TEST_F(ImagesTest, DisplaysImageShowsTheScreenToThePixel) {
    const Image image(CGDisplayCreateImage(onlyDisplay()));
    for (const Spot& spot : {Spot{0, 0, kBackground},
                             {319, 199, kBackground},
                             {9, 20, kBackground},
                             {10, 20, kPatch},
                             {10, 19, kBackground},
                             {39, 59, kPatch},
                             {40, 59, kBackground},
                             {39, 60, kBackground}})
        EXPECT_EQ(pixelAt(image.get(), spot.x, spot.y).color(), spot.color)
            << spot.x << "," << spot.y;
}

TEST_F(ImagesTest, WindowsAreInTheImage) {
    const Image image(CGDisplayCreateImage(onlyDisplay()));
    EXPECT_EQ(pixelAt(image.get(), 100, 50).color(), kWindow);
    EXPECT_EQ(pixelAt(image.get(), 159, 99).color(), kWindow);
    EXPECT_EQ(pixelAt(image.get(), 160, 99).color(), kBackground);
}

TEST_F(ImagesTest, AreaShowsItsPartOfTheScreen) {
    const Image image = imageOf(10, 20, 33, 41);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(CGImageGetWidth(image.get()), 33U);
    EXPECT_EQ(CGImageGetHeight(image.get()), 41U);
    EXPECT_EQ(pixelAt(image.get(), 0, 0).color(), kPatch);
    EXPECT_EQ(pixelAt(image.get(), 29, 39).color(), kPatch);
    EXPECT_EQ(pixelAt(image.get(), 30, 39).color(), kBackground);
    EXPECT_EQ(pixelAt(image.get(), 29, 40).color(), kBackground);
}

struct Rounding {
    CGRect asked;
    std::size_t width;
    std::size_t height;
    Color corner;
};

TEST_F(ImagesTest, AreaIsRoundedOutwardsToWholePixels) {
    for (const Rounding& rounding : {Rounding{{{9.5, 20}, {1, 1}}, 2, 1, kBackground},
                                     {{{10.9, 20.9}, {0.05, 0.05}}, 1, 1, kPatch},
                                     {{{10, 20}, {1.01, 2.5}}, 2, 3, kPatch}}) {
        const Image image = imageOf(rounding.asked.origin.x, rounding.asked.origin.y,
                                    rounding.asked.size.width, rounding.asked.size.height);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(CGImageGetWidth(image.get()), rounding.width);
        EXPECT_EQ(CGImageGetHeight(image.get()), rounding.height);
        EXPECT_EQ(pixelAt(image.get(), 0, 0).color(), rounding.corner);
    }
}

/* An area that reaches past the screen on one or more sides, by pixel. */
struct Overlap {
    const char* name;
    int x;
    int y;
    int width;
    int height;
};

class OffScreenTest : public ImagesTest, public testing::WithParamInterface<Overlap> {};

TEST_P(OffScreenTest, AreaIsZeroOutsideAndTheScreenInside) {
    const Overlap& area = GetParam();
    const Image screen = imageOf(0, 0, 320, 200);
    const Image image = imageOf(area.x, area.y, area.width, area.height);
    ASSERT_NE(image, nullptr);
    ASSERT_EQ(CGImageGetWidth(image.get()), static_cast<std::size_t>(area.width));
    ASSERT_EQ(CGImageGetHeight(image.get()), static_cast<std::size_t>(area.height));
    const auto screenBytes = bytesOf(screen.get());
    const auto bytes = bytesOf(image.get());
    std::vector<std::uint8_t> expected(bytes.size(), 0);
    for (int y = std::max(area.y, 0); y < std::min(area.y + area.height, 200); ++y) {
        for (int x = std::max(area.x, 0); x < std::min(area.x + area.width, 320); ++x) {
            const auto target = ((y - area.y) * area.width + x - area.x) * 4;
            std::copy_n(screenBytes.begin() + (y * 320 + x) * 4, 4, expected.begin() + target);
        }
    }
    EXPECT_TRUE(bytes == expected);
}

INSTANTIATE_TEST_SUITE_P(
    Areas, OffScreenTest,
    testing::Values(Overlap{"Left", -7, 10, 60, 50}, Overlap{"Top", 5, -9, 60, 50},
                    Overlap{"Right", 300, 20, 60, 30}, Overlap{"Bottom", 20, 180, 30, 60},
                    Overlap{"AllSides", -3, -4, 330, 210}, Overlap{"Corner", 319, 199, 5, 5},
                    Overlap{"Beside", 320, 0, 10, 10}, Overlap{"FarAway", -9000, 12000, 8, 8}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(ImagesTest, WidestAreaIsGiven) {
    const Image image = imageOf(0, 0, 32767, 2);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(CGImageGetWidth(image.get()), 32767U);
    EXPECT_EQ(pixelAt(image.get(), 319, 1).color(), kBackground);
    EXPECT_EQ(pixelAt(image.get(), 320, 1), Pixel{});
}

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

class AbsurdAreaTest : public ImagesTest, public testing::WithParamInterface<CGRect> {};

TEST_P(AbsurdAreaTest, HasNoImage) {
    const CGRect& area = GetParam();
    EXPECT_EQ(imageOf(area.origin.x, area.origin.y, area.size.width, area.size.height), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Areas, AbsurdAreaTest,
                         testing::Values(CGRectMake(0, 0, 0, 10), CGRectMake(0, 0, 10, 0),
                                         CGRectMake(0, 0, -5, 10), CGRectMake(0, 0, 10, -5),
                                         CGRectMake(0, 0, 32768, 1), CGRectMake(0, 0, 1, 32768),
                                         CGRectMake(0.5, 0, 32767, 1), CGRectMake(kNan, 0, 10, 10),
                                         CGRectMake(0, kNan, 10, 10), CGRectMake(0, 0, kNan, 10),
                                         CGRectMake(0, 0, 10, kInfinity),
                                         CGRectMake(-kInfinity, 0, kInfinity, 10),
                                         CGRectMake(1e300, 0, 10, 10)));

CGImageRef pictureOf(CGWindowListOption option, CGWindowID window) {
    return CGWindowListCreateImage(CGRectMake(0, 0, 10, 10), option, window, kCGWindowImageDefault);
}

TEST_F(ImagesTest, OtherOptionsAreRefused) {
    EXPECT_EQ(pictureOf(kCGWindowListOptionIncludingWindow, kCGNullWindowID), nullptr);
    EXPECT_EQ(pictureOf(kCGWindowListOptionOnScreenOnly, 1234), nullptr);
    EXPECT_EQ(pictureOf(kCGWindowListOptionAll, kCGNullWindowID), nullptr);
}

TEST_F(ImagesTest, MissingImageHasNoProperty) {
    EXPECT_EQ(CGImageGetWidth(nullptr), 0U);
    EXPECT_EQ(CGImageGetBytesPerRow(nullptr), 0U);
    EXPECT_EQ(CGImageGetDataProvider(nullptr), nullptr);
    EXPECT_EQ(CGDataProviderCopyData(nullptr), nullptr);
    EXPECT_EQ(CGImageRetain(nullptr), nullptr);
    CGImageRelease(nullptr);
}

TEST_F(ImagesTest, DataOutlivesTheImage) {
    Image image = imageOf(10, 20, 30, 40);
    const Data data = dataOf(image.get());
    const auto before = bytesOf(image.get());
    image.reset();
    const Image next = imageOf(0, 0, 320, 200);
    const std::uint8_t* bytes = CFDataGetBytePtr(data.get());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), bytes));
}

TEST_F(ImagesTest, DataIsTheImagesOwnMemory) {
    const Image image = imageOf(10, 20, 30, 40);
    EXPECT_EQ(CFDataGetBytePtr(dataOf(image.get()).get()),
              CFDataGetBytePtr(dataOf(image.get()).get()));
}

struct DepthCase {
    const char* name;
    const char* screen;
    std::vector<std::string> arguments;
    int tolerance;  // of a component of 8 bits, by the bits that the format has for it
};

class DepthTest : public testing::TestWithParam<DepthCase> {};

TEST_P(DepthTest, ColoursComeBackWithTheFormatsPrecision) {
    const XvfbServer server(GetParam().screen, GetParam().arguments);
    useDisplay(server.display());
    Painter painter(server.display());
    const Color colors[]{{255, 255, 255}, {0, 0, 0},      {255, 0, 0},  {0, 255, 0},
                         {0, 0, 255},     {200, 100, 50}, {17, 34, 51}, {128, 127, 126}};
    std::int16_t x = 0;
    for (const Color& color : colors)
        painter.fill({x++, 3, 1, 1}, color);
    painter.sync();
    const Image image = imageOf(0, 3, x, 1);
    ASSERT_NE(image, nullptr);
    for (std::size_t i = 0; i < std::size(colors); ++i) {
        const Pixel pixel = pixelAt(image.get(), i, 0);
        EXPECT_NEAR(pixel.red, colors[i].red, GetParam().tolerance) << i;
        EXPECT_NEAR(pixel.green, colors[i].green, GetParam().tolerance) << i;
        EXPECT_NEAR(pixel.blue, colors[i].blue, GetParam().tolerance) << i;
    }
}

TEST_P(DepthTest, PartOffScreenIsZero) {
    const XvfbServer server(GetParam().screen, GetParam().arguments);
    useDisplay(server.display());
    Painter painter(server.display());
    painter.fill({0, 0, 99, 60}, {255, 255, 255});
    painter.sync();
    const Image image = imageOf(90, 50, 20, 20);
    EXPECT_EQ(pixelAt(image.get(), 8, 9).color(), (Color{255, 255, 255}));
    EXPECT_EQ(pixelAt(image.get(), 9, 9), Pixel{});
    EXPECT_EQ(pixelAt(image.get(), 8, 10), Pixel{});
}

TEST(GreyScreenTest, ShowsGreyLevels) {
    const XvfbServer server("99x60x8", {"-cc", "0"});
    useDisplay(server.display());
    Painter painter(server.display());
    const std::uint8_t levels[]{0, 60, 128, 255};
    std::int16_t x = 0;
    for (const std::uint8_t level : levels)
        painter.fill({x++, 0, 1, 1}, {level, level, level});
    painter.sync();
    const Image image = imageOf(0, 0, 4, 1);
    for (std::size_t i = 0; i < std::size(levels); ++i) {
        EXPECT_NEAR(pixelAt(image.get(), i, 0).red, levels[i], 1);
        EXPECT_NEAR(pixelAt(image.get(), i, 0).blue, levels[i], 1);
    }
}

// An odd width, so that rows of less than 32 bits a pixel have padding.
INSTANTIATE_TEST_SUITE_P(Depths, DepthTest,
                         testing::Values(DepthCase{"PseudoColor8", "99x60x8", {"-cc", "3"}, 1},
                                         DepthCase{"TrueColor8", "99x60x8", {"-cc", "4"}, 43},
                                         DepthCase{"TrueColor15", "99x60x15", {}, 5},
                                         DepthCase{"TrueColor16", "99x60x16", {}, 5},
                                         DepthCase{"TrueColor24", "99x60x24", {}, 0},
                                         DepthCase{"Packed24", "99x60x24", {"-pixdepths", "24"}, 0},
                                         DepthCase{"TrueColor30", "99x60x30", {}, 1}),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
