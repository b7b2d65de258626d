/* Drawing images of the screen into the caller's memory. */
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <limits>

#include "screen_test.h"

namespace {

using Context = std::unique_ptr<CGContext, Release>;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kUntouched = 0xEE;
/* C++ frowns on or-ing two enumerations. */
constexpr std::uint32_t pixels(std::uint32_t alphaInfo, std::uint32_t byteOrder) {
    return alphaInfo | byteOrder;
}

constexpr std::uint32_t kScreenLayout =
    pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrder32Little);

constexpr Color kUpperLeft{200, 10, 20};
constexpr Color kUpperRight{30, 180, 40};
constexpr Color kLowerLeft{50, 60, 220};
constexpr Color kLowerRight{250, 250, 90};

/* A screen of four quarters. */
class ContextsTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        server_ = std::make_unique<XvfbServer>("80x40x24");
        painter_ = std::make_unique<Painter>(server_->display());
        painter_->fill({0, 0, 40, 20}, kUpperLeft);
        painter_->fill({40, 0, 40, 20}, kUpperRight);
        painter_->fill({0, 20, 40, 20}, kLowerLeft);
        painter_->fill({40, 20, 40, 20}, kLowerRight);
        painter_->sync();
        useDisplay(server_->display());
    }

    static void TearDownTestSuite() {
        painter_.reset();
        server_.reset();
    }

    static Context contextOver(Bytes& bytes, std::size_t width, std::size_t height,
                               std::size_t bytesPerRow, std::uint32_t bitmapInfo = kScreenLayout) {
        const Image image = imageOf(0, 0, 1, 1);
        return Context(CGBitmapContextCreate(bytes.data(), width, height, 8, bytesPerRow,
                                             CGImageGetColorSpace(image.get()), bitmapInfo));
    }

    static Color colorAt(const Bytes& bytes, std::size_t bytesPerRow, std::size_t x,
                         std::size_t y) {
        const std::uint8_t* pixel = bytes.data() + y * bytesPerRow + x * 4;
        return {pixel[2], pixel[1], pixel[0]};
    }

  private:
    static inline std::unique_ptr<XvfbServer> server_;
    static inline std::unique_ptr<Painter> painter_;
};

TEST_F(ContextsTest, DrawsAnImageUpright) {
    Bytes bytes(8 * 4 * 4);
    const Context context = contextOver(bytes, 8, 4, 32);
    CGContextDrawImage(context.get(), CGRectMake(0, 0, 8, 4), imageOf(0, 0, 80, 40).get());
    EXPECT_EQ(colorAt(bytes, 32, 0, 0), kUpperLeft);
    EXPECT_EQ(colorAt(bytes, 32, 7, 0), kUpperRight);
    EXPECT_EQ(colorAt(bytes, 32, 0, 3), kLowerLeft);
    EXPECT_EQ(colorAt(bytes, 32, 7, 3), kLowerRight);
}

TEST_F(ContextsTest, DrawsAPixelOfItsOwnSizeAsItIs) {
    Bytes bytes(80 * 40 * 4);
    const Context context = contextOver(bytes, 80, 40, 320);
    const Image image = imageOf(0, 0, 80, 40);
    CGContextDrawImage(context.get(), CGRectMake(0, 0, 80, 40), image.get());
    for (std::size_t y = 0; y < 40; ++y) {
        for (std::size_t x = 0; x < 80; ++x)
            ASSERT_EQ(colorAt(bytes, 320, x, y), pixelAt(image.get(), x, y).color());
    }
}

// 80 columns onto 5: the third covers both halves alike.
TEST_F(ContextsTest, APixelIsTheMeanOfWhatItCovers) {
    Bytes bytes(5 * 2 * 4);
    const Context context = contextOver(bytes, 5, 2, 20);
    CGContextDrawImage(context.get(), CGRectMake(0, 0, 5, 2), imageOf(0, 0, 80, 40).get());
    EXPECT_EQ(colorAt(bytes, 20, 1, 0), kUpperLeft);
    EXPECT_EQ(colorAt(bytes, 20, 2, 0), (Color{115, 95, 30}));
    EXPECT_EQ(colorAt(bytes, 20, 3, 0), kUpperRight);
}

// The origin is at the lower left.
TEST_F(ContextsTest, DrawsIntoARectangleAndNothingOutsideIt) {
    Bytes bytes(10 * 10 * 4, kUntouched);
    const Context context = contextOver(bytes, 10, 10, 40);
    CGContextDrawImage(context.get(), CGRectMake(1, 2, 4, 3), imageOf(0, 0, 40, 20).get());
    for (std::size_t y = 0; y < 10; ++y) {
        for (std::size_t x = 0; x < 10; ++x) {
            const bool inside = x >= 1 && x < 5 && y >= 5 && y < 8;
            ASSERT_EQ(colorAt(bytes, 40, x, y),
                      inside ? kUpperLeft : (Color{kUntouched, kUntouched, kUntouched}))
                << x << ", " << y;
        }
    }
}

TEST_F(ContextsTest, LeavesOutWhatReachesPastTheContext) {
    Bytes bytes(4 * 4 * 4 + 64, kUntouched);
    const Context context = contextOver(bytes, 4, 4, 16);
    CGContextDrawImage(context.get(), CGRectMake(-6, -2, 16, 8), imageOf(0, 0, 80, 40).get());
    // The context's middle is two columns right of the picture's, and as high.
    EXPECT_EQ(colorAt(bytes, 16, 1, 1), kUpperLeft);
    EXPECT_EQ(colorAt(bytes, 16, 2, 1), kUpperRight);
    EXPECT_EQ(colorAt(bytes, 16, 1, 2), kLowerLeft);
    EXPECT_EQ(colorAt(bytes, 16, 2, 2), kLowerRight);
    EXPECT_EQ(Bytes(bytes.begin() + 64, bytes.end()), Bytes(64, kUntouched));
}

TEST_F(ContextsTest, DrawsNothingWhereTheRectangleIsElsewhere) {
    Bytes bytes(4 * 4 * 4, kUntouched);
    const Context context = contextOver(bytes, 4, 4, 16);
    const Image image = imageOf(0, 0, 80, 40);
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    for (const CGRect& rect :
         {CGRectMake(4, 0, 4, 4), CGRectMake(-4, 0, 4, 4), CGRectMake(0, 4, 4, 4),
          CGRectMake(0, -4, 4, 4), CGRectMake(0, 0, 0, 4), CGRectMake(0, 0, 4, 0),
          CGRectMake(0, 0, -4, 4), CGRectMake(0, 0, 40000, 4), CGRectMake(kNaN, 0, 4, 4),
          CGRectMake(0, 0, kNaN, 4), CGRectMake(1e300, 0, 4, 4)})
        CGContextDrawImage(context.get(), rect, image.get());
    EXPECT_EQ(bytes, Bytes(bytes.size(), kUntouched));
}

TEST_F(ContextsTest, KeepsThePaddingOfRows) {
    Bytes bytes(3 * 20, kUntouched);
    const Context context = contextOver(bytes, 3, 3, 20);
    CGContextDrawImage(context.get(), CGRectMake(0, 0, 3, 3), imageOf(0, 0, 40, 20).get());
    for (std::size_t y = 0; y < 3; ++y) {
        EXPECT_EQ(colorAt(bytes, 20, 2, y), kUpperLeft);
        EXPECT_EQ(Bytes(&bytes[y * 20 + 12], &bytes[y * 20 + 12] + 8), Bytes(8, kUntouched));
    }
}

struct Layout {
    std::uint32_t bitmapInfo;
    std::array<std::uint8_t, 4> bytes;  // of kUpperLeft
};

TEST_F(ContextsTest, StoresPixelsInTheOrderTheContextWasMadeFor) {
    const Layout layouts[]{
        {pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrder32Little), {20, 10, 200, 255}},
        {pixels(kCGImageAlphaPremultipliedFirst, kCGBitmapByteOrder32Little), {20, 10, 200, 255}},
        {pixels(kCGImageAlphaNoneSkipLast, kCGBitmapByteOrder32Little), {255, 20, 10, 200}},
        {pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrder32Big), {255, 200, 10, 20}},
        {pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrderDefault), {255, 200, 10, 20}},
        {pixels(kCGImageAlphaPremultipliedLast, kCGBitmapByteOrder32Big), {200, 10, 20, 255}},
    };
    for (const Layout& layout : layouts) {
        Bytes bytes(4);
        const Context context = contextOver(bytes, 1, 1, 4, layout.bitmapInfo);
        ASSERT_NE(context, nullptr) << layout.bitmapInfo;
        CGContextDrawImage(context.get(), CGRectMake(0, 0, 1, 1), imageOf(0, 0, 40, 20).get());
        EXPECT_THAT(bytes, testing::ElementsAreArray(layout.bytes)) << layout.bitmapInfo;
    }
}

struct FiveBitLayout {
    std::uint32_t bitmapInfo;
    std::vector<std::uint8_t> bytes;  // of kUpperLeft, padding of the row included
};

// 200, 10, 20 of 255 are 24, 1, 2 of 31.
TEST_F(ContextsTest, StoresPixelsOfFiveBitsAComponentInTwoBytes) {
    const FiveBitLayout layouts[]{
        {pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrder16Little),
         {0x22, 0xe0, 0x22, 0xe0, 7}},
        {pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrder16Big), {0xe0, 0x22, 0xe0, 0x22, 7}},
        {pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrderDefault),
         {0xe0, 0x22, 0xe0, 0x22, 7}},
    };
    const Image image = imageOf(0, 0, 40, 20);
    for (const FiveBitLayout& layout : layouts) {
        Bytes bytes(5, 7);
        const Context context(CGBitmapContextCreate(
            bytes.data(), 2, 1, 5, 5, CGImageGetColorSpace(image.get()), layout.bitmapInfo));
        ASSERT_NE(context, nullptr) << layout.bitmapInfo;
        CGContextDrawImage(context.get(), CGRectMake(0, 0, 2, 1), image.get());
        EXPECT_EQ(bytes, layout.bytes) << layout.bitmapInfo;
    }
}

// White and black keep their range, as every grey between them its place in it.
TEST(FiveBitContextTest, ComponentBecomesTheNearestOf32) {
    const XvfbServer server("256x8x24");
    useDisplay(server.display());
    const Painter painter(server.display());
    for (int level = 0; level < 256; ++level) {
        const auto part = static_cast<std::uint8_t>(level);
        painter.fill({static_cast<std::int16_t>(level), 0, 1, 8}, {part, part, part});
    }
    painter.sync();
    const Image image = imageOf(0, 0, 256, 1);
    std::vector<std::uint16_t> row(256);
    const Context context(
        CGBitmapContextCreate(row.data(), 256, 1, 5, 512, CGImageGetColorSpace(image.get()),
                              pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrder16Little)));
    CGContextDrawImage(context.get(), CGRectMake(0, 0, 256, 1), image.get());
    for (std::size_t level = 0; level < 256; ++level) {
        const auto grey = static_cast<unsigned>(std::lround(static_cast<double>(level) * 31 / 255));
        EXPECT_EQ(row[level], 0x8000 | grey << 10 | grey << 5 | grey) << level;
    }
}

struct Request {
    const char* what;
    std::size_t width = 4;
    std::size_t height = 4;
    std::size_t bitsPerComponent = 8;
    std::size_t bytesPerRow = 16;
    std::uint32_t bitmapInfo = kScreenLayout;
    bool hasData = true;
    bool hasSpace = true;
};

TEST_F(ContextsTest, RefusesWhatItCannotDrawInto) {
    const Request requests[]{
        {.what = "no data", .hasData = false},
        {.what = "no colour space", .hasSpace = false},
        {.what = "no width", .width = 0},
        {.what = "no height", .height = 0},
        {.what = "a negative width", .width = static_cast<std::size_t>(-4)},
        {.what = "a negative height", .height = static_cast<std::size_t>(-4)},
        {.what = "rows too short", .bytesPerRow = 15},
        {.what = "16-bit rows", .bytesPerRow = 8},
        {.what = "five bits a component, 32-bit byte order", .bitsPerComponent = 5},
        {.what = "five bits a component, rows too short",
         .bitsPerComponent = 5,
         .bytesPerRow = 7,
         .bitmapInfo = pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrder16Little)},
        {.what = "five bits a component, alpha",
         .bitsPerComponent = 5,
         .bitmapInfo = pixels(kCGImageAlphaPremultipliedFirst, kCGBitmapByteOrder16Little)},
        {.what = "five bits a component, skipped last",
         .bitsPerComponent = 5,
         .bitmapInfo = pixels(kCGImageAlphaNoneSkipLast, kCGBitmapByteOrder16Little)},
        {.what = "sixteen bits a component", .bitsPerComponent = 16, .bytesPerRow = 64},
        {.what = "alpha only", .bitmapInfo = pixels(kCGImageAlphaOnly, kCGBitmapByteOrder32Little)},
        {.what = "no fourth byte",
         .bitmapInfo = pixels(kCGImageAlphaNone, kCGBitmapByteOrder32Little)},
        {.what = "16-bit byte order",
         .bitmapInfo = pixels(kCGImageAlphaNoneSkipFirst, kCGBitmapByteOrder16Little)},
        {.what = "floats", .bitmapInfo = kScreenLayout | 1 << 8},
    };
    Bytes bytes(64, kUntouched);
    const Image image = imageOf(0, 0, 1, 1);
    for (const Request& request : requests) {
        const Context context(CGBitmapContextCreate(
            request.hasData ? bytes.data() : nullptr, request.width, request.height,
            request.bitsPerComponent, request.bytesPerRow,
            request.hasSpace ? CGImageGetColorSpace(image.get()) : nullptr, request.bitmapInfo));
        EXPECT_EQ(context, nullptr) << request.what;
    }
}

TEST_F(ContextsTest, NothingIsDrawnWithoutAContextOrAnImage) {
    Bytes bytes(64, kUntouched);
    const Context context = contextOver(bytes, 4, 4, 16);
    CGContextDrawImage(context.get(), CGRectMake(0, 0, 4, 4), nullptr);
    CGContextDrawImage(nullptr, CGRectMake(0, 0, 4, 4), imageOf(0, 0, 1, 1).get());
    CGContextRelease(nullptr);
    EXPECT_EQ(CGImageGetColorSpace(nullptr), nullptr);
    EXPECT_EQ(bytes, Bytes(64, kUntouched));
}

}  // namespace
