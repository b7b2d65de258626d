// Every instruction set's halving gives the means of its rule, and touches nothing else.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "guarded_buffer.h"
#include "images.h"
#include "scaling.h"

namespace {

using qor::scaling::halve;
using qor::scaling::nameOf;
using qor::scaling::RowKernels;
using qor::scaling::usableRowKernels;

constexpr size_t kChannels = 4;

// Rows are pitch bytes apart; of the last one only the pixels are there.
struct PaddedImage {
    size_t width;
    size_t height;
    size_t pitch;

    size_t bytes() const { return (height - 1) * pitch + width * kChannels; }
    size_t halvedBytes() const { return (width + 1) / 2 * ((height + 1) / 2) * kChannels; }
};

std::ostream& operator<<(std::ostream& out, const PaddedImage& image) {
    return out << image.width << "x" << image.height << ", rows " << image.pitch << " bytes apart";
}

unsigned char blockMean(const Bytes& source, const PaddedImage& image, size_t left, size_t top,
                        size_t channel) {
    unsigned sum = 0;
    unsigned count = 0;
    for (size_t y = top; y < std::min(top + 2, image.height); ++y) {
        for (size_t x = left; x < std::min(left + 2, image.width); ++x) {
            sum += source[y * image.pitch + x * kChannels + channel];
            ++count;
        }
    }
    return static_cast<unsigned char>((2 * sum + count) / (2 * count));
}

Bytes halved(const Bytes& source, const PaddedImage& image) {
    Bytes target;
    for (size_t y = 0; y < image.height; y += 2) {
        for (size_t x = 0; x < image.width; x += 2) {
            for (size_t channel = 0; channel < kChannels; ++channel) {
                target.push_back(blockMean(source, image, x, y, channel));
            }
        }
    }
    return target;
}

class HalvingKernels : public testing::Test {
  protected:
    testing::AssertionResult allGiveTheMeans(const PaddedImage& image, Placement sourcePlacement,
                                             Placement targetPlacement) {
        const Bytes content =
            image.width % 4 == 0 ? extremes(image.bytes()) : noise(image.bytes(), image.pitch);
        const Bytes expected = halved(content, image);
        const auto source = source_.place(sourcePlacement, content.size());
        std::ranges::copy(content, source.begin());
        for (const RowKernels* kernels : usableRowKernels()) {
            const auto target = target_.place(targetPlacement, expected.size());
            std::ranges::fill(target, kUnwritten);
            halve(*kernels, static_cast<unsigned>(image.width), static_cast<unsigned>(image.height),
                  static_cast<int>(image.pitch), source.data(), target.data());
            const auto [wrong, right] = std::ranges::mismatch(target, expected);
            if (wrong != target.end()) {
                return testing::AssertionFailure()
                       << nameOf(*kernels) << " gives " << int{*wrong} << " instead of "
                       << int{*right} << " at byte " << wrong - target.begin() << "; " << image;
            }
            if (!target_.isSurroundingUntouched()) {
                return testing::AssertionFailure()
                       << nameOf(*kernels) << " writes outside the target; " << image;
            }
        }
        return testing::AssertionSuccess();
    }

  private:
    static constexpr unsigned char kUnwritten = 0x5A;
    static constexpr size_t kRoom = size_t{2048} * 1100 * kChannels;

    GuardedBuffer source_{kRoom};
    GuardedBuffer target_{kRoom / 4};
};

class HalvingKernelsOfPaddedRows : public HalvingKernels,
                                   public testing::WithParamInterface<size_t> {};

TEST_P(HalvingKernelsOfPaddedRows, giveTheMeansForSmallSizes) {
    for (size_t width = 1; width <= 67; ++width) {
        for (size_t height = 1; height <= 67; height += height < 9 ? 1 : 29) {
            const PaddedImage image = {width, height, width * kChannels + GetParam()};
            EXPECT_TRUE(allGiveTheMeans(image, kAtBack, kAtBack));
            EXPECT_TRUE(allGiveTheMeans(image, kAtFront, kAtFront));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Padding, HalvingKernelsOfPaddedRows,
                         testing::Values(0, 1, 4, 7, 60, 64, 4096));

TEST_F(HalvingKernels, giveTheMeansForFrames) {
    EXPECT_TRUE(allGiveTheMeans({1920, 1080, 1920 * kChannels}, kAtBack, kAtBack));
    EXPECT_TRUE(allGiveTheMeans({1920, 1080, 1936 * kChannels}, kAtBack, kAtBack));
    EXPECT_TRUE(allGiveTheMeans({1919, 1079, 1919 * kChannels}, kAtBack, kAtBack));
    EXPECT_TRUE(allGiveTheMeans({1366, 768, 1366 * kChannels}, kAtBack, kAtBack));
}

TEST_F(HalvingKernels, giveTheMeansOfMisalignedImages) {
    for (size_t offset = 0; offset < 64; ++offset) {
        const Placement source = {Placement::Edge::Front, offset};
        const Placement target = {Placement::Edge::Front, (offset * 29 + 7) % 64};
        EXPECT_TRUE(allGiveTheMeans({130, 6, 130 * kChannels}, source, target));
        EXPECT_TRUE(allGiveTheMeans({67, 5, 67 * kChannels + 3}, source, target));
    }
}

// All 2 x 2 blocks of 0 to 3, and of 252 to 255: every way to round.
TEST_F(HalvingKernels, roundEverySumAlike) {
    constexpr size_t kBlocks = 256;
    for (const unsigned lowest : {0U, 252U}) {
        Bytes source(kBlocks * 2 * kChannels * 2);
        const PaddedImage image = {kBlocks * 2, 2, kBlocks * 2 * kChannels};
        for (size_t block = 0; block < kBlocks; ++block) {
            for (size_t i = 0; i < 4; ++i) {
                const auto value = static_cast<unsigned char>(lowest + (block >> (2 * i)) % 4);
                std::memset(&source[i / 2 * image.pitch + (2 * block + i % 2) * kChannels], value,
                            kChannels);
            }
        }
        const Bytes expected = halved(source, image);
        for (const RowKernels* kernels : usableRowKernels()) {
            Bytes target(expected.size());
            halve(*kernels, kBlocks * 2, 2, static_cast<int>(image.pitch), source.data(),
                  target.data());
            EXPECT_EQ(target, expected) << nameOf(*kernels);
        }
    }
}

}  // namespace
