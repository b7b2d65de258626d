// checkFrame against the plain loop that says what it is to find.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "FrameCheck.h"
#include "frame_check_rule.h"
#include "guarded_buffer.h"

namespace {

constexpr uint32_t kGrey = 0x303030;
constexpr uint32_t kOther = 0x303130;
constexpr uint32_t kAlpha = 0xFF000000;

class CheckedFrame {
  public:
    CheckedFrame(uint32_t width, uint32_t height, uint32_t colour = kGrey)
        : width_(width), height_(height), pixels_(size_t{width} * height, colour) {}

    uint32_t limit() const { return width_ * height_ / 400; }
    uint32_t& at(uint32_t x, uint32_t y) { return pixels_[size_t{y} * width_ + x]; }

    // Makes count of the samples, odd columns of even rows, another colour. Those at places that
    // decide on the reference stay.
    void changeSamples(uint32_t count, std::mt19937& random) {
        std::vector<uint32_t*> samples;
        for (uint32_t y = 0; y < height_; y += 2) {
            for (uint32_t x = 1; x + 1 < width_; x += 2) {
                samples.push_back(&at(x, y));
            }
        }
        std::ranges::shuffle(samples, random);
        samples.resize(std::min<size_t>(samples.size(), count));
        for (uint32_t* sample : samples) {
            *sample = kGrey ^ (1U << random() % 24);
        }
    }

    void changeAlpha(std::mt19937& random) {
        for (uint32_t& pixel : pixels_) {
            pixel ^= static_cast<uint32_t>(random()) & kAlpha;
        }
    }

    // The frame's end is where memory ends; so many bytes on, and it begins at the front.
    testing::AssertionResult isCheckedByTheRule(Placement placement = kAtBack) const {
        const size_t size = pixels_.size() * sizeof pixels_[0];
        GuardedBuffer buffer(size + placement.distance);
        const auto data = buffer.place(placement, size);
        std::memcpy(data.data(), pixels_.data(), size);
        return findSame(checkFrame(data.data(), width_, height_),
                        plainlyChecked(data.data(), width_, height_));
    }

  private:
    testing::AssertionResult findSame(const FrameCheck& found, const FrameCheck& expected) const {
        if (isSameFinding(found, expected)) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure()
               << width_ << "x" << height_ << ": uniform " << found.uniform << " for "
               << expected.uniform << ", reference " << found.reference << " for "
               << expected.reference << ", differing " << found.differing << " for "
               << expected.differing << ", limit " << found.limit << " for " << expected.limit;
    }

    uint32_t width_;
    uint32_t height_;
    std::vector<uint32_t> pixels_;
};

// The sizes that are all compared, one width at a time.
constexpr uint32_t kLargestSide = 70;

// From limit - 1 to limit + 1 the answer turns.
std::set<uint32_t> countsAround(uint32_t limit) {
    return {0, 1, std::max(limit, 1U) - 1, limit, limit + 1};
}

TEST(CheckFrame, countsWhatThePlainLoopCountsInSmallFrames) {
    std::mt19937 random(70);
    for (uint32_t width = 1; width <= kLargestSide && !testing::Test::HasFailure(); ++width) {
        for (uint32_t height = 1; height <= kLargestSide; ++height) {
            for (const uint32_t count : countsAround(width * height / 400)) {
                CheckedFrame frame(width, height);
                frame.changeSamples(count, random);
                EXPECT_TRUE(frame.isCheckedByTheRule());
                frame.changeAlpha(random);
                EXPECT_TRUE(frame.isCheckedByTheRule(kAtFront));
            }
        }
    }
}

// Corners and centre of two colours in every combination: all ways to a reference colour.
TEST(CheckFrame, takesTheReferenceOfThePlainLoop) {
    for (uint32_t width = 1; width <= kLargestSide; width += width < 6 ? 1 : 3) {
        for (uint32_t height = 1; height <= kLargestSide; height += height < 6 ? 1 : 21) {
            for (unsigned places = 0; places < 32; ++places) {
                const auto colour = [&](int place) {
                    return (places >> place) % 2 == 0 ? kGrey : kOther;
                };
                CheckedFrame frame(width, height);
                const uint32_t centre = std::min((height + 1) * width / 2, width * height - 1);
                frame.at(centre % width, centre / width) = colour(4);
                frame.at(0, 0) = colour(0);
                frame.at(width - 1, 0) = colour(1);
                frame.at(0, height - 1) = colour(2);
                frame.at(width - 1, height - 1) = colour(3);
                EXPECT_TRUE(frame.isCheckedByTheRule());
            }
        }
    }
}

TEST(CheckFrame, findsTheSameInAFewSpecksAnywhere) {
    std::mt19937 random(300);
    for (uint32_t width = 1; width <= kLargestSide; ++width) {
        for (uint32_t height = 1; height <= kLargestSide; height += 3) {
            CheckedFrame frame(width, height);
            for (uint32_t i = 0; i < width * height; ++i) {
                frame.at(i % width, i / width) = random() % 300 == 0 ? kOther : kGrey;
            }
            EXPECT_TRUE(frame.isCheckedByTheRule());
        }
    }
}

// Every bit of the colour counts and none of alpha.
TEST(CheckFrame, looksAtTheTwentyFourBitsOfTheColour) {
    for (unsigned bit = 0; bit < 32; ++bit) {
        CheckedFrame frame(70, 40);
        for (uint32_t x = 1; x < 69; x += 2) {
            frame.at(x, 20) = kGrey ^ (1U << bit);
        }
        EXPECT_TRUE(frame.isCheckedByTheRule()) << bit;
    }
}

TEST(CheckFrame, looksAtOddColumnsOfEvenRowsAlone) {
    for (uint32_t y = 0; y < 2; ++y) {
        for (uint32_t x = 0; x < 2; ++x) {
            CheckedFrame frame(64, 40);
            for (uint32_t i = 0; i < 30; ++i) {
                frame.at(2 + 2 * i + x, 20 + y) = kOther;
            }
            EXPECT_TRUE(frame.isCheckedByTheRule()) << x << ", " << y;
        }
    }
}

TEST(CheckFrame, readsDataAtAnyAddress) {
    std::mt19937 random(64);
    for (size_t distance = 0; distance < 64; ++distance) {
        for (const uint32_t extra : {0U, 1U}) {
            CheckedFrame frame(133, 31);
            frame.changeSamples(frame.limit() + extra, random);
            EXPECT_TRUE(frame.isCheckedByTheRule({Placement::Edge::Front, distance}));
            EXPECT_TRUE(frame.isCheckedByTheRule({Placement::Edge::Back, distance}));
        }
    }
}

class FrameCheckOfFrames : public testing::TestWithParam<std::pair<uint32_t, uint32_t>> {};

TEST_P(FrameCheckOfFrames, countsWhatThePlainLoopCounts) {
    const auto [width, height] = GetParam();
    std::mt19937 random(width);
    CheckedFrame uniform(width, height);
    for (const uint32_t count : {0U, 1U, uniform.limit(), uniform.limit() + 1}) {
        CheckedFrame frame(width, height);
        frame.changeSamples(count, random);
        frame.changeAlpha(random);
        EXPECT_TRUE(frame.isCheckedByTheRule()) << count << " samples differ";
    }
}

// The last sample of all is the one past the limit.
TEST_P(FrameCheckOfFrames, countsToTheLastSample) {
    const auto [width, height] = GetParam();
    CheckedFrame frame(width, height);
    const uint32_t lastRow = (height - 1) / 2 * 2;
    uint32_t left = frame.limit();
    for (uint32_t y = lastRow; left > 0; y -= 2) {
        for (uint32_t x = (width - 1) / 2 * 2 - 1; x < width && left > 0; x -= 2, --left) {
            frame.at(x, y) = kOther;
        }
    }
    EXPECT_TRUE(frame.isCheckedByTheRule());
    frame.at(1, 0) = kOther;
    EXPECT_TRUE(frame.isCheckedByTheRule());
}

INSTANTIATE_TEST_SUITE_P(Sizes, FrameCheckOfFrames,
                         testing::Values(std::pair{1920U, 1080U}, std::pair{1919U, 1079U},
                                         std::pair{1366U, 768U}, std::pair{3840U, 2160U},
                                         std::pair{3U, 4000U}, std::pair{4001U, 3U}));

}  // namespace
