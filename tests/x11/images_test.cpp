/* What images of the screen show. */
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <thread>

#include "screen_test.h"
#include "window_client.h"

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

TEST_F(ImagesTest, EveryPixelOfTheScreenIsOpaque) {
    const Image image = imageOf(0, 0, 320, 200);
    const auto bytes = bytesOf(image.get());
    for (std::size_t i = 3; i < bytes.size(); i += 4)
        ASSERT_EQ(bytes[i], 255) << i / 4;
}

// A window's pixels may have alpha where the screen's have none.
TEST(ScreenAlphaTest, TransparentWindowIsOpaqueInTheImageOfTheScreen) {
    const XvfbServer server("320x200x24");
    useDisplay(server.display());
    const WindowClient client(server.display());
    client.map(client.createTranslucent({10, 20, 30, 40}, 0x40102030));
    client.sync();
    const Image image = imageOf(0, 0, 320, 200);
    EXPECT_EQ(pixelAt(image.get(), 25, 30), (Pixel{0x30, 0x20, 0x10, 255}));
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
        EXPECT_EQ(pixel.fourth, 255) << i;
    }
}

TEST_P(DepthTest, PartOffScreenIsZero) {
    const XvfbServer server(GetParam().screen, GetParam().arguments);
    useDisplay(server.display());
    Painter painter(server.display());
    painter.fill({0, 0, 99, 60}, {255, 255, 255});
    painter.sync();
    const Image image = imageOf(90, 50, 20, 20);
    EXPECT_EQ(pixelAt(image.get(), 8, 9), (Pixel{255, 255, 255, 255}));
    EXPECT_EQ(pixelAt(image.get(), 9, 9), Pixel{});
    EXPECT_EQ(pixelAt(image.get(), 8, 10), Pixel{});
}

// An odd width, so that rows of less than 32 bits a pixel have padding.
const DepthCase kDepths[]{
    {"PseudoColor8", "99x60x8", {"-cc", "3"}, 1},
    {"StaticColor8", "99x60x8", {"-cc", "2"}, 43},
    {"TrueColor8", "99x60x8", {"-cc", "4"}, 43},
    {"DirectColor16", "99x60x16", {"-cc", "5"}, 5},
    {"DirectColor24", "99x60x24", {"-cc", "5"}, 0},
    {"DirectColor30", "99x60x30", {"-cc", "5"}, 1},
    {"TrueColor15", "99x60x15", {}, 5},
    {"TrueColor16", "99x60x16", {}, 5},
    {"TrueColor24", "99x60x24", {}, 0},
    {"Packed24", "99x60x24", {"-pixdepths", "24"}, 0},
    {"TrueColor30", "99x60x30", {}, 1},
    {"PseudoColor8InReplies", "99x60x8", {"-cc", "3", "-extension", "MIT-SHM"}, 1},
    {"TrueColor16InReplies", "99x60x16", {"-extension", "MIT-SHM"}, 5},
    {"TrueColor24InReplies", "99x60x24", {"-extension", "MIT-SHM"}, 0},
    {"TrueColor30InReplies", "99x60x30", {"-extension", "MIT-SHM"}, 1},
};

INSTANTIATE_TEST_SUITE_P(Depths, DepthTest, testing::ValuesIn(kDepths),
                         [](const auto& instance) { return instance.param.name; });

struct GreyCase {
    const char* name;
    const char* visualClass;  // its number in the protocol
};

class GreyScreenTest : public testing::TestWithParam<GreyCase> {};

TEST_P(GreyScreenTest, ShowsGreyLevels) {
    const XvfbServer server("99x60x8", {"-cc", GetParam().visualClass});
    useDisplay(server.display());
    Painter painter(server.display());
    const std::uint8_t levels[]{0, 60, 128, 255};
    std::int16_t x = 0;
    for (const std::uint8_t level : levels)
        painter.fill({x++, 0, 1, 1}, {level, level, level});
    painter.sync();
    const Image image = imageOf(0, 0, 4, 1);
    for (std::size_t i = 0; i < std::size(levels); ++i) {
        const Pixel pixel = pixelAt(image.get(), i, 0);
        EXPECT_NEAR(pixel.red, levels[i], 1);
        EXPECT_EQ(pixel, (Pixel{pixel.red, pixel.red, pixel.red, 255}));
    }
}

INSTANTIATE_TEST_SUITE_P(Classes, GreyScreenTest,
                         testing::Values(GreyCase{"StaticGray", "0"}, GreyCase{"GrayScale", "1"}),
                         [](const auto& instance) { return instance.param.name; });

/* A client with a place in the palette of a server's screen, with which it fills the screen. */
class PaletteCell {
  public:
    explicit PaletteCell(const std::string& display)
        : connection_(xcb_connect(display.c_str(), nullptr)),
          screen_(xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data) {
        const auto cookie =
            xcb_alloc_color_cells(connection_.get(), 0, screen_->default_colormap, 1, 0);
        const Reply<xcb_alloc_color_cells_reply_t> reply(
            xcb_alloc_color_cells_reply(connection_.get(), cookie, nullptr));
        if (reply == nullptr)
            throw std::runtime_error("the server's palette cannot be changed");
        pixel_ = *xcb_alloc_color_cells_pixels(reply.get());
        xcb_change_window_attributes(connection_.get(), screen_->root, XCB_CW_BACK_PIXEL, &pixel_);
        xcb_clear_area(connection_.get(), 0, screen_->root, 0, 0, 0, 0);
    }

    /* The server has done so on return. */
    void setColor(Color color) const {
        const auto wide = [](std::uint8_t part) { return static_cast<std::uint16_t>(part * 257); };
        const xcb_coloritem_t item{pixel_,
                                   wide(color.red),
                                   wide(color.green),
                                   wide(color.blue),
                                   XCB_COLOR_FLAG_RED | XCB_COLOR_FLAG_GREEN | XCB_COLOR_FLAG_BLUE,
                                   0};
        xcb_store_colors(connection_.get(), screen_->default_colormap, 1, &item);
        const Reply<xcb_get_input_focus_reply_t> done(xcb_get_input_focus_reply(
            connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    }

  private:
    struct Free {
        void operator()(void* reply) const { std::free(reply); }
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    template <typename T>
    using Reply = std::unique_ptr<T, Free>;

    const std::unique_ptr<xcb_connection_t, Free> connection_;
    const xcb_screen_t* const screen_;
    std::uint32_t pixel_ = 0;
};

struct PaletteCase {
    const char* name;
    const char* visualClass;  // its number in the protocol
    Pixel before;
    Pixel after;
};

class PaletteTest : public testing::TestWithParam<PaletteCase> {
  protected:
    PaletteTest() { useDisplay(server_.display()); }

    const XvfbServer server_{"99x60x8", {"-cc", GetParam().visualClass}};
    const PaletteCell cell_{server_.display()};
};

TEST_P(PaletteTest, ChangedColourIsInTheNextImageAndInNoneOfBefore) {
    cell_.setColor(GetParam().before.color());
    const Image first = imageOf(0, 0, 99, 60);
    cell_.setColor(GetParam().after.color());
    const Image next = imageOf(0, 0, 99, 60);
    EXPECT_EQ(pixelAt(first.get(), 50, 30), GetParam().before);
    EXPECT_EQ(pixelAt(next.get(), 50, 30), GetParam().after);
}

TEST_P(PaletteTest, NoImageMixesColoursOfBeforeAndAfterAChange) {
    cell_.setColor(GetParam().before.color());
    const std::jthread changes([this](const std::stop_token& stop) {
        for (bool isBefore = false; !stop.stop_requested(); isBefore = !isBefore)
            cell_.setColor((isBefore ? GetParam().before : GetParam().after).color());
    });
    int befores = 0;
    int afters = 0;
    const bool seenBoth = eventually([&] {
        const Image image = imageOf(0, 0, 99, 60);
        const Pixel pixel = pixelAt(image.get(), 0, 0);
        for (std::size_t i = 0; i < std::size_t{99} * 60; i += 7)
            EXPECT_EQ(pixelAt(image.get(), i % 99, i / 99), pixel);
        befores += pixel == GetParam().before ? 1 : 0;
        afters += pixel == GetParam().after ? 1 : 0;
        return befores >= 20 && afters >= 20;
    });
    EXPECT_TRUE(seenBoth) << befores << " and " << afters;
}

INSTANTIATE_TEST_SUITE_P(
    Classes, PaletteTest,
    testing::Values(PaletteCase{"PseudoColor", "3", {30, 200, 10, 255}, {90, 10, 200, 255}},
                    PaletteCase{"GrayScale", "1", {40, 40, 40, 255}, {200, 200, 200, 255}}),
    [](const auto& instance) { return instance.param.name; });

}  // namespace
