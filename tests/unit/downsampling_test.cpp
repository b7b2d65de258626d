#include <gtest/gtest.h>

#include <vector>

#include "kxcommon64.h"

namespace {

using Bytes = std::vector<unsigned char>;

// One row of grey pixels, 4 bytes each, the channels offset by 0, 1, 2 and 3.
Bytes greyRow(const std::vector<int>& levels) {
    Bytes row;
    for (const int level : levels) {
        for (int channel = 0; channel < 4; ++channel) {
            row.push_back(static_cast<unsigned char>(level + channel));
        }
    }
    return row;
}

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST(RgbDownsampling, averagesBlocksOfTwoByTwo) {
    Bytes source = greyRow({0, 100, 8, 8}) + greyRow({100, 200, 8, 16});
    Bytes target(2 * 4);
    RgbDownsampling(4, 2, 16, source.data(), target.data());
    EXPECT_EQ(target, greyRow({100, 10}));
}

TEST(RgbDownsampling, roundsHalvesUp) {
    Bytes source = greyRow({1, 1}) + greyRow({2, 2});
    Bytes target(4);
    RgbDownsampling(2, 2, 8, source.data(), target.data());
    EXPECT_EQ(target, greyRow({2}));
}

TEST(RgbDownsampling, averagesWhatIsThereAtOddEdges) {
    Bytes source = greyRow({10, 20, 30}) + greyRow({30, 40, 50}) + greyRow({60, 80, 200});
    Bytes target(2 * 2 * 4);
    RgbDownsampling(3, 3, 12, source.data(), target.data());
    EXPECT_EQ(target, greyRow({25, 40}) + greyRow({70, 200}));
}

TEST(RgbDownsampling, skipsTheSourcesRowPadding) {
    const Bytes padding(8, 255);
    Bytes source = greyRow({10, 20}) + padding + greyRow({30, 40}) + padding;
    Bytes target(4);
    RgbDownsampling(2, 2, 16, source.data(), target.data());
    EXPECT_EQ(target, greyRow({25}));
}

TEST(RgbDownsampling, refusesWhatItCannotRead) {
    Bytes source(64, 200);
    Bytes target(64, 7);
    RgbDownsampling(0, 2, 8, source.data(), target.data());
    RgbDownsampling(2, 0, 8, source.data(), target.data());
    RgbDownsampling(2, 2, 7, source.data(), target.data());
    RgbDownsampling(2, 2, -8, source.data(), target.data());
    RgbDownsampling(0x40000000, 2, 0, source.data(), target.data());
    RgbDownsampling(2, 2, 8, nullptr, target.data());
    RgbDownsampling(2, 2, 8, source.data(), nullptr);
    EXPECT_EQ(target, Bytes(64, 7));
}

}  // namespace
