/* From servers' pixel formats to blue, green, red, alpha. */
#include "x11/pixel_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
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

PixelFormat native() {
    return {};
}

PixelFormat withPalette(PixelFormat format, std::vector<std::uint32_t> palette) {
    format.palette = std::move(palette);
    return format;
}

PixelFormat indexed(std::vector<std::uint32_t> palette) {
    return withPalette(masked(8, 0, 0, 0), std::move(palette));
}

PixelFormat withAlpha(PixelFormat format, std::uint32_t mask) {
    format.alphaMask = mask;
    return format;
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
    {"NativeButForAlpha", native(), {1, 2, 3, 9, 4, 5, 6, 0}, {1, 2, 3, 255, 4, 5, 6, 255}},
    {"Depth32",
     withAlpha(native(), 0xff000000),
     {1, 2, 3, 9, 4, 5, 6, 0},
     {1, 2, 3, 9, 4, 5, 6, 0}},
    {"Depth32BigEndian",
     withAlpha(masked(32, 0xff0000, 0x00ff00, 0x0000ff, true), 0xff000000),
     {9, 3, 2, 1},
     {1, 2, 3, 9}},
    {"AlphaLast",
     withAlpha(masked(32, 0xff000000, 0x00ff0000, 0x0000ff00), 0x000000ff),
     {9, 1, 2, 3},
     {1, 2, 3, 9}},
    {"TwoBitsOfAlpha",
     withAlpha(masked(32, 0x3ff00000, 0x000ffc00, 0x000003ff), 0xc0000000),
     {0xff, 0x03, 0x00, 0x40, 0x00, 0x00, 0xf0, 0xbf, 0x00, 0x00, 0x00, 0xc0, 0x00, 0x00, 0x00,
      0x00},
     {255, 0, 0, 85, 0, 0, 255, 170, 0, 0, 0, 255, 0, 0, 0, 0}},
    {"OneBitOfAlpha",
     withAlpha(masked(16, 0x7c00, 0x03e0, 0x001f), 0x8000),
     {0x00, 0xfc, 0x1f, 0x00},
     {0, 0, 255, 255, 255, 0, 0, 0}},
    {"Palette",
     indexed({0xff000000, 0xff112233, 0xffffffff}),
     {1, 0, 2, 200},
     {0x33, 0x22, 0x11, 255, 0, 0, 0, 255, 255, 255, 255, 255, 0, 0, 0, 255}},
    {"PaletteUnderMasks",
     withPalette(masked(16, 0x00c0, 0x0030, 0x000f), {0xff010203, 0xff112233, 0xff445566}),
     {0x52, 0x00, 0x2f, 0x01},
     {0x66, 0x22, 0x11, 255, 0, 0x55, 0x01, 255}},
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

/* A component of 1 to 16 bits at either end of a pixel. */
class SpreadTest : public testing::TestWithParam<unsigned> {};

TEST_P(SpreadTest, EveryValueOfAComponentBecomesTheNearestOf256) {
    const std::uint32_t largest = (1U << GetParam()) - 1;
    const unsigned upper = 32 - GetParam();
    const PixelFormat format = masked(32, largest << upper, 0, largest);
    std::vector<std::uint32_t> pixels;
    for (std::uint32_t value = 0; value <= largest; ++value)
        pixels.push_back(value << upper | (largest - value));
    std::vector<std::byte> result(pixels.size() * 4);
    convertPixels(format, std::as_bytes(std::span(pixels)).data(), pixels.size(), 1, result.data(),
                  result.size());
    for (std::uint32_t value = 0; value <= largest; ++value) {
        const auto nearest = [largest](std::uint32_t part) {
            return static_cast<std::byte>((part * 255 + largest / 2) / largest);
        };
        ASSERT_EQ(result[value * 4], nearest(largest - value)) << value;
        ASSERT_EQ(result[value * 4 + 1], std::byte{0}) << value;
        ASSERT_EQ(result[value * 4 + 2], nearest(value)) << value;
    }
}

INSTANTIATE_TEST_SUITE_P(Bits, SpreadTest, testing::Range(1U, 17U));

const PixelFormat kOtherFormats[]{
    masked(32, 0xff0000, 0x00ff00, 0x0000ff, true),
    masked(32, 0x0000ff, 0x00ff00, 0xff0000),
    masked(32, 0x3ff00000, 0x000ffc00, 0x000003ff),
    masked(24, 0xff0000, 0x00ff00, 0x0000ff),
    indexed({0xff000000, 0xffffffff}),
};

TEST(PixelFormatTest, OnlyTheResultsOwnFormatIsNative) {
    EXPECT_TRUE(isNative(withAlpha(native(), 0xff000000)));
    EXPECT_FALSE(isNative({}));
    EXPECT_FALSE(isNative(withAlpha({}, 0x0f000000)));
    for (const PixelFormat& format : kOtherFormats)
        EXPECT_FALSE(isNative(withAlpha(format, 0xff000000)));
}

TEST(PixelFormatTest, FormatsWithoutAlphaOnlyNeedIt) {
    EXPECT_TRUE(lacksOnlyAlpha({}));
    EXPECT_FALSE(lacksOnlyAlpha(withAlpha(native(), 0xff000000)));
    EXPECT_FALSE(lacksOnlyAlpha(withAlpha({}, 0x0f000000)));
    for (const PixelFormat& format : kOtherFormats)
        EXPECT_FALSE(lacksOnlyAlpha(format));
}

TEST(PixelFormatTest, UnknownLayoutsAreNotConvertible) {
    EXPECT_FALSE(isConvertible(masked(4, 0x8, 0x4, 0x2)));
    EXPECT_FALSE(isConvertible(masked(1, 0, 0, 0)));
    EXPECT_FALSE(isConvertible(masked(32, 0x00ff00ff, 0x0000ff00, 0)));
    EXPECT_FALSE(isConvertible(withAlpha({}, 0xf0f00000)));
    EXPECT_FALSE(isConvertible({32, 0}));
}

/* Rows of which every byte is 7. */
std::shared_ptr<std::byte> rowsOfSevens(std::size_t size) {
    std::shared_ptr<std::byte> rows(new std::byte[size], std::default_delete<std::byte[]>());
    std::fill_n(rows.get(), size, std::byte{7});
    return rows;
}

Bytes bytesOf(const qor::coregraphics::PixelBuffer& image) {
    Bytes bytes;
    for (std::size_t i = 0; i < image.bytesPerRow * image.height; ++i)
        bytes.push_back(std::to_integer<std::uint8_t>(image.bytes.get()[i]));
    return bytes;
}

TEST(DesktopImageTest, NativeRowsBecomeTheImageAsTheyAre) {
    const auto rows = rowsOfSevens(32);
    const auto image =
        desktopImage({5, 6, 4, 2}, {5, 6, 4, 2}, withAlpha(native(), 0xff000000), rows);
    EXPECT_EQ(image.bytes.get(), rows.get());
    EXPECT_EQ(image.bytesPerRow, 16U);
    EXPECT_EQ(bytesOf(image), Bytes(32, 7));
}

// 7 pixels: not a whole number of any vector.
TEST(DesktopImageTest, RowsWithoutAlphaBecomeTheImageMadeOpaqueInPlace) {
    const auto rows = rowsOfSevens(32);  // one pixel more than the image's
    const auto image = desktopImage({5, 6, 7, 1}, {5, 6, 7, 1}, {}, rows);
    EXPECT_EQ(image.bytes.get(), rows.get());
    Bytes expected;
    for (int i = 0; i < 7; ++i)
        expected.insert(expected.end(), {7, 7, 7, 255});
    EXPECT_EQ(bytesOf(image), expected);
    EXPECT_EQ(rows.get()[31], std::byte{7});
}

// Wider than what is converted at a time.
TEST(DesktopImageTest, OtherRowsOfFourBytesAPixelBecomeTheImageConvertedInPlace) {
    const auto rows = rowsOfSevens(std::size_t{700} * 2 * 4);
    for (std::size_t i = 0; i < 700 * 2; ++i)
        rows.get()[i * 4] = static_cast<std::byte>(i);
    const auto image = desktopImage({0, 0, 700, 2}, {0, 0, 700, 2},
                                    masked(32, 0x0000ff, 0x00ff00, 0xff0000), rows);
    EXPECT_EQ(image.bytes.get(), rows.get());
    Bytes expected;
    for (std::size_t i = 0; i < 700 * 2; ++i)
        expected.insert(expected.end(), {7, 7, static_cast<std::uint8_t>(i), 255});
    EXPECT_EQ(bytesOf(image), expected);
}

TEST(DesktopImageTest, OutsideTheVisiblePartAllFourBytesAreZero) {
    const auto image = desktopImage({0, 0, 3, 2}, {1, 1, 1, 1}, {}, rowsOfSevens(4));
    Bytes expected(24, 0);
    std::ranges::copy(Bytes{7, 7, 7, 255}, expected.begin() + 16);
    EXPECT_EQ(bytesOf(image), expected);
}

TEST(DesktopImageTest, NothingVisibleIsAllZero) {
    EXPECT_EQ(bytesOf(desktopImage({0, 0, 2, 2}, {}, {}, nullptr)), Bytes(16, 0));
}

TEST(DesktopImageTest, PutReplacesAPartAndNothingElse) {
    const auto image = desktopImage({10, 20, 3, 3}, {}, {}, nullptr);
    put(desktopImage({11, 21, 2, 1}, {11, 21, 2, 1}, {}, rowsOfSevens(8)), {11, 21, 2, 1},
        {10, 20, 3, 3}, image);
    Bytes expected(36, 0);
    std::ranges::copy(Bytes{7, 7, 7, 255, 7, 7, 7, 255}, expected.begin() + 16);
    EXPECT_EQ(bytesOf(image), expected);
}

TEST(DesktopImageTest, AroundIsTheSmallestThatHoldsBoth) {
    using qor::coregraphics::PixelRect;
    EXPECT_EQ(around({-5, 3, 4, 4}, {10, -6, 1, 2}), (PixelRect{-5, -6, 16, 13}));
    EXPECT_EQ(around({0, 0, 9, 9}, {2, 2, 3, 3}), (PixelRect{0, 0, 9, 9}));
}

TEST(DesktopImageTest, IntersectionIsWhatBothHave) {
    using qor::coregraphics::PixelRect;
    EXPECT_EQ(intersection({-5, -6, 20, 20}, {0, 0, 8, 9}), (PixelRect{0, 0, 8, 9}));
    EXPECT_EQ(intersection({3, 4, 20, 20}, {0, 0, 8, 9}), (PixelRect{3, 4, 5, 5}));
    EXPECT_TRUE(intersection({8, 0, 1, 1}, {0, 0, 8, 9}).empty());
    EXPECT_TRUE(intersection({1 << 30, 0, 32767, 1}, {0, 0, 8, 9}).empty());
}

}  // namespace
