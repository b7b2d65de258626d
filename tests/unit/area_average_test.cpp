/* Scaling by area averaging, against the sum over every source pixel computed in double. */
#include "coregraphics/area_average.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace {

using qor::coregraphics::averageArea;
using qor::coregraphics::Picture;
using qor::coregraphics::Size;

constexpr std::size_t kBytesPerPixel = 4;
constexpr std::size_t kChannels = 3;
constexpr std::size_t kPadding = 5;

/* Every byte is another, padding and the fourth of a pixel included. */
std::vector<std::uint8_t> noise(std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    std::uint32_t state = 12345;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

/* How much of [j * from / to, (j + 1) * from / to) pixel i covers. */
double overlap(std::size_t i, std::size_t j, std::size_t from, std::size_t to) {
    const double scale = static_cast<double>(from) / static_cast<double>(to);
    const double begin = std::max(static_cast<double>(i), static_cast<double>(j) * scale);
    const double end = std::min(static_cast<double>(i + 1), static_cast<double>(j + 1) * scale);
    return std::max(0.0, end - begin);
}

double mean(const Picture& picture, Size target, std::size_t x, std::size_t y,
            std::size_t channel) {
    double sum = 0;
    double area = 0;
    for (std::size_t row = 0; row < picture.size.height; ++row) {
        const double rowShare = overlap(row, y, picture.size.height, target.height);
        for (std::size_t column = 0; rowShare > 0 && column < picture.size.width; ++column) {
            const double share = rowShare * overlap(column, x, picture.size.width, target.width);
            sum += share *
                   picture.pixels[row * picture.bytesPerRow + column * kBytesPerPixel + channel];
            area += share;
        }
    }
    return sum / area;
}

struct Sizes {
    Size source;
    Size target;
};

class AreaAverageTest : public testing::TestWithParam<Sizes> {};

TEST_P(AreaAverageTest, IsTheMeanOfTheAreaCovered) {
    const Size source = GetParam().source;
    const Size target = GetParam().target;
    const std::size_t bytesPerRow = source.width * kBytesPerPixel + kPadding;
    const auto bytes = noise(bytesPerRow * source.height);
    const Picture picture{bytes.data(), source, bytesPerRow};
    std::size_t rows = 0;
    averageArea(picture, target, 0, target.height,
                [&](std::size_t y, std::span<const std::uint8_t> row) {
                    ASSERT_EQ(y, rows++);
                    ASSERT_EQ(row.size(), target.width * kChannels);
                    for (std::size_t i = 0; i < row.size(); ++i)
                        ASSERT_NEAR(row[i], mean(picture, target, i / kChannels, y, i % kChannels),
                                    0.5 + 1e-9)
                            << i << ", " << y;
                });
    EXPECT_EQ(rows, target.height);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, AreaAverageTest,
    testing::Values(Sizes{{1, 1}, {1, 1}}, Sizes{{8, 6}, {8, 6}}, Sizes{{8, 6}, {4, 3}},
                    Sizes{{99, 61}, {10, 7}}, Sizes{{97, 3}, {1, 1}}, Sizes{{5, 4}, {13, 9}},
                    Sizes{{40, 2}, {7, 11}}, Sizes{{2, 40}, {11, 7}}, Sizes{{1, 1}, {9, 8}}),
    [](const auto& instance) {
        const auto text = [](Size size) {
            return std::to_string(size.width) + "x" + std::to_string(size.height);
        };
        return text(instance.param.source) + "to" + text(instance.param.target);
    });

TEST(AreaAverageRows, HandsOverTheRowsAskedForOnly) {
    const auto bytes = noise(std::size_t{30} * 30 * kBytesPerPixel);
    const Picture picture{bytes.data(), {30, 30}, 30 * kBytesPerPixel};
    std::vector<std::vector<std::uint8_t>> all;
    averageArea(picture, {7, 9}, 0, 9,
                [&](std::size_t, auto row) { all.emplace_back(row.begin(), row.end()); });
    std::vector<std::size_t> taken;
    averageArea(picture, {7, 9}, 3, 6, [&](std::size_t y, auto row) {
        taken.push_back(y);
        EXPECT_TRUE(std::ranges::equal(row, all[y]));
    });
    EXPECT_EQ(taken, (std::vector<std::size_t>{3, 4, 5}));
}

TEST(AreaAverageRows, WhiteStaysWhiteAtTheLargestSizes) {
    constexpr std::size_t kLargest = 32767;
    const std::vector<std::uint8_t> row(kLargest * kBytesPerPixel, 255);
    // The same row over and over: a pitch of 0.
    const Picture picture{row.data(), {kLargest, kLargest}, 0};
    averageArea(picture, {3, 16000}, 0, 1, [](std::size_t, auto means) {
        EXPECT_TRUE(std::ranges::all_of(means, [](std::uint8_t mean) { return mean == 255; }));
    });
}

}  // namespace
