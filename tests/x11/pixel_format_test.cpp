/* From servers' pixel formats to blue, green, red, 255. */
#include "x11/pixel_format.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "x11/desktop_image.h"

namespace {

using namespace qor::x11;
using Bytes = std::vector<std::uint8_t>;

/* The rows of a server's image converted to rows without gaps. The source is exactly as long as the
 * format says, so that a checker of addresses notices a byte too many. */
Bytes converted(const PixelFormat& format, const Bytes& source, std::size_t width,
                std::size_t height) {
    std::vector<std::byte> rows;
    for (const std::uint8_t value : source)
        rows.push_back(std::byte{value});
    EXPECT_EQ(rows.size(), rowBytes(format, width) * height);
    std::vector<std::byte> target(width * height * 4);
    convertPixels(format, rows.data(), width, height, target.data(), width * 4);
    Bytes result;
    for (const std::byte value : target)
        result.push_back(std::to_integer<std::uint8_t>(value));
    return result;
}

PixelFormat masked(unsigned bits, std::uint32_t red, std::uint32_t green, std::uint32_t blue,
                   bool mostSignificantByteFirst = false) {
    return {bits, 32, mostSignificantByteFirst, red, green, blue};
}

PixelFormat indexed(std::vector<std::uint32_t> palette) {
    return {8, 32, false, 0, 0, 0, std::move(palette)};
}

struct Conversion {
    const char* name;
    PixelFormat format;
    Bytes source;  // one row
    Bytes result;
};

class ConversionTest : public testing::TestWithParam<Conversion> {};

TEST_P(ConversionTest, GivesTheNearestColours) {
    const Conversion& conversion = GetParam();
    ASSERT_TRUE(isConvertible(conversion.format));
    EXPECT_EQ(converted(conversion.format, conversion.source, conversion.result.size() / 4, 1),
              conversion.result);
}

const Conversion kConversions[]{
    {"Depth15",
     masked(16, 0x7c00, 0x03e0, 0x001f),
     {0x00, 0x7c, 0xe0, 0x83, 0x1f, 0x00, 0x10, 0x42},
     {0, 0, 255, 255, 0, 255, 0, 255, 255, 0, 0, 255, 132, 132, 132, 255}},
    {"Depth16",
     masked(16, 0xf800, 0x07e0, 0x001f),
     {0x00, 0xf8, 0xe0, 0x07, 0x1f, 0x00, 0xff, 0xff},
     {0, 0, 255, 255, 0, 255, 0, 255, 255, 0, 0, 255, 255, 255, 255, 255}},
    {"Depth16BigEndian",
     masked(16, 0xf800, 0x07e0, 0x001f, true),
     {0xf8, 0x00, 0x04, 0x00},
     {0, 0, 255, 255, 0, 130, 0, 255}},
    {"Packed24",
     masked(24, 0xff0000, 0x00ff00, 0x0000ff),
     {1, 2, 3, 4, 5, 6, 0, 0},
     {1, 2, 3, 255, 4, 5, 6, 255}},
    {"Packed24BigEndian",
     masked(24, 0xff0000, 0x00ff00, 0x0000ff, true),
     {3, 2, 1, 6, 5, 4, 0, 0},
     {1, 2, 3, 255, 4, 5, 6, 255}},
    {"Depth24BigEndian",
     masked(32, 0xff0000, 0x00ff00, 0x0000ff, true),
     {9, 3, 2, 1},
     {1, 2, 3, 255}},
    {"Depth24RedLast", masked(32, 0x0000ff, 0x00ff00, 0xff0000), {3, 2, 1, 9}, {1, 2, 3, 255}},
    {"Depth30",
     masked(32, 0x3ff00000, 0x000ffc00, 0x000003ff),
     {0xff, 0x03, 0x00, 0xc0, 0x00, 0x00, 0xf0, 0x3f, 0x02, 0x08, 0x20, 0x20},
     {255, 0, 0, 255, 0, 0, 255, 255, 0, 0, 128, 255}},
    {"TrueColour8",
     masked(8, 0x07, 0x38, 0xc0),
     {0x07, 0x38, 0xc0, 0x52},
     {0, 0, 255, 255, 0, 255, 0, 255, 255, 0, 0, 255, 85, 73, 73, 255}},
    {"Palette",
     indexed({0xff000000, 0xff112233, 0xffffffff}),
     {1, 0, 2, 200},
     {0x33, 0x22, 0x11, 255, 0, 0, 0, 255, 255, 255, 255, 255, 0, 0, 0, 255}},
};

INSTANTIATE_TEST_SUITE_P(Formats, ConversionTest, testing::ValuesIn(kConversions),
                         [](const auto& instance) { return instance.param.name; });

TEST(PixelFormatTest, RowsArePaddedAsTheFormatSays) {
    EXPECT_EQ(rowBytes({32, 32}, 5), 20U);
    EXPECT_EQ(rowBytes({24, 32}, 5), 16U);
    EXPECT_EQ(rowBytes({24, 8}, 5), 15U);
    EXPECT_EQ(rowBytes({16, 32}, 5), 12U);
    EXPECT_EQ(rowBytes({16, 16}, 5), 10U);
    EXPECT_EQ(rowBytes({8, 32}, 4), 4U);
}

TEST(PixelFormatTest, PaddingIsNotRead) {
    const PixelFormat format = indexed({0xff000000, 0xff111111});
    EXPECT_EQ(converted(format, {1, 99, 99, 99, 0, 99, 99, 99}, 1, 2),
              (Bytes{0x11, 0x11, 0x11, 255, 0, 0, 0, 255}));
}

TEST(PixelFormatTest, EveryValueOfAComponentIsSpreadEvenly) {
    const PixelFormat format = masked(16, 0xf800, 0x07e0, 0x001f);
    for (unsigned value = 0; value < 64; ++value) {
        const unsigned pixel = value << 5;
        const Bytes source{static_cast<std::uint8_t>(pixel), static_cast<std::uint8_t>(pixel >> 8),
                           0, 0};
        EXPECT_NEAR(converted(format, source, 1, 1)[1], value * 255.0 / 63, 0.5) << value;
    }
}

TEST(PixelFormatTest, OnlyTheResultsOwnFormatIsNative) {
    EXPECT_TRUE(isNative({}));
    EXPECT_FALSE(isNative(masked(32, 0xff0000, 0x00ff00, 0x0000ff, true)));
    EXPECT_FALSE(isNative(masked(32, 0x0000ff, 0x00ff00, 0xff0000)));
    EXPECT_FALSE(isNative(masked(32, 0x3ff00000, 0x000ffc00, 0x000003ff)));
    EXPECT_FALSE(isNative(masked(24, 0xff0000, 0x00ff00, 0x0000ff)));
}

TEST(PixelFormatTest, UnknownLayoutsAreNotConvertible) {
    EXPECT_FALSE(isConvertible(masked(4, 0x8, 0x4, 0x2)));
    EXPECT_FALSE(isConvertible(masked(1, 0, 0, 0)));
    EXPECT_FALSE(isConvertible(masked(32, 0x00ff00ff, 0x0000ff00, 0)));
    EXPECT_FALSE(isConvertible({32, 0}));
}

TEST(DesktopImageTest, NativeRowsBecomeTheImageWithoutACopy) {
    const auto rows = std::make_shared<std::array<std::byte, 32>>();
    const std::shared_ptr<const std::byte> start(rows, rows->data());
    const auto image = desktopImage({5, 6, 4, 2}, {5, 6, 4, 2}, {}, start);
    EXPECT_EQ(image.bytes.get(), rows->data());
    EXPECT_EQ(image.bytesPerRow, 16U);
}

TEST(DesktopImageTest, IntersectionIsWhatBothHave) {
    using qor::coregraphics::PixelRect;
    EXPECT_EQ(intersection({-5, -6, 20, 20}, {0, 0, 8, 9}), (PixelRect{0, 0, 8, 9}));
    EXPECT_EQ(intersection({3, 4, 20, 20}, {0, 0, 8, 9}), (PixelRect{3, 4, 5, 5}));
    EXPECT_TRUE(intersection({8, 0, 1, 1}, {0, 0, 8, 9}).empty());
    EXPECT_TRUE(intersection({1 << 30, 0, 32767, 1}, {0, 0, 8, 9}).empty());
}

}  // namespace
