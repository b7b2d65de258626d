// BilinearInterpolation against the rule of its header.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "expect_return.h"
#include "guarded_buffer.h"
#include "images.h"
#include "kxcommon64.h"
#include "scaling_rule.h"
#include "sparse_image.h"

namespace {

Bytes scaled(const Bytes& source, const Scaling& s) {
    Bytes target(s.targetBytes());
    BilinearInterpolation(source.data(), s.source.width, s.source.height, target.data(),
                          s.target.width, s.target.height, s.bytesPerPixel);
    return target;
}

class BilinearInterpolationRule : public testing::TestWithParam<Scaling> {};

TEST_P(BilinearInterpolationRule, isAtMostOneOffTheExactValue) {
    const Bytes source = noise(GetParam().sourceBytes());
    const std::vector<double> exact = exactlyScaled(source, GetParam());
    EXPECT_LE(errorOf(scaled(source, GetParam()), exact).worst, 1.0);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, BilinearInterpolationRule,
    testing::Values(Scaling{{192, 108}, {128, 72}, 4}, Scaling{{192, 108}, {96, 54}, 4},
                    Scaling{{192, 108}, {190, 107}, 4}, Scaling{{128, 72}, {192, 108}, 4},
                    Scaling{{384, 216}, {128, 72}, 4}, Scaling{{192, 108}, {16, 9}, 4},
                    Scaling{{1, 1}, {7, 5}, 4}, Scaling{{67, 1}, {13, 9}, 4},
                    Scaling{{1, 67}, {9, 13}, 4}, Scaling{{33, 17}, {1, 1}, 4},
                    Scaling{{31, 29}, {37, 41}, 3}, Scaling{{31, 29}, {17, 11}, 1},
                    Scaling{{192, 108}, {192, 54}, 4}, Scaling{{192, 108}, {96, 108}, 4}));

TEST(BilinearInterpolation, roundsHalvesUp) {
    const Scaling halving = {{192, 108}, {96, 54}, 4};
    const Bytes source = noise(halving.sourceBytes());
    EXPECT_EQ(scaled(source, halving), correctlyRounded(source, halving));
}

TEST(BilinearInterpolation, ofTheSameSizeIsTheImageItself) {
    const Bytes source = noise(byteCount({41, 23}, 4));
    EXPECT_EQ(source, scaled(source, {{41, 23}, {41, 23}, 4}));
}

// One size another than in the call before, whichever it is.
TEST(BilinearInterpolation, givesTheSameAfterOtherSizes) {
    const Scaling scaling = {{64, 48}, {45, 31}, 4};
    const Bytes source = noise(byteCount({65, 49}, 4));
    const Bytes first = scaled(source, scaling);
    for (const Scaling& other : {Scaling{{65, 48}, {45, 31}, 4}, Scaling{{64, 49}, {45, 31}, 4},
                                 Scaling{{64, 48}, {46, 31}, 4}, Scaling{{64, 48}, {45, 32}, 4},
                                 Scaling{{64, 48}, {45, 31}, 3}, Scaling{{64, 48}, {45, 31}, 1}}) {
        EXPECT_LE(errorOf(scaled(source, other), exactlyScaled(source, other)).worst, 1.0) << other;
        EXPECT_EQ(scaled(source, scaling), first) << "after " << other;
    }
}

TEST(BilinearInterpolation, writesNothingPastTheTarget) {
    const Scaling scaling = {{64, 48}, {21, 13}, 4};
    const Bytes source = noise(scaling.sourceBytes());
    GuardedBuffer buffer(4096);
    const auto target = buffer.place({Placement::Edge::Front, size_t{1000}}, scaling.targetBytes());
    BilinearInterpolation(source.data(), 64, 48, target.data(), 21, 13, 4);
    EXPECT_TRUE(buffer.isSurroundingUntouched());
    EXPECT_TRUE(std::ranges::equal(target, scaled(source, scaling)));
}

// The last pixel of the target lies between four that are further than 32 bits count, in bytes.
TEST(BilinearInterpolation, readsBeyondFourGigabytes) {
    constexpr size_t kSide = 40000;
    constexpr size_t kBetween = 33332;
    SparseImage source(kSide * kSide * 4);
    for (const size_t row : {kBetween, kBetween + 1}) {
        std::fill_n(source.at((row * kSide + kBetween) * 4), 2 * 4, 200);
    }
    Bytes target(byteCount({3, 3}, 4), 7);
    BilinearInterpolation(source.at(0), kSide, kSide, target.data(), 3, 3, 4);
    Bytes expected(target.size(), 0);
    std::fill(expected.end() - 4, expected.end(), 200);
    EXPECT_EQ(target, expected);
}

struct Refused {
    const char* what;
    int srcWidth, srcHeight, dstWidth, dstHeight, bytesPerPixel;
};

std::ostream& operator<<(std::ostream& out, const Refused& refused) {
    return out << refused.what;
}

class BilinearInterpolationRefuses : public testing::TestWithParam<Refused> {};

TEST_P(BilinearInterpolationRefuses, andLeavesTheTargetUntouched) {
    const Refused& r = GetParam();
    const Bytes source(64, 200);
    Bytes target(64, 7);
    BilinearInterpolation(source.data(), r.srcWidth, r.srcHeight, target.data(), r.dstWidth,
                          r.dstHeight, r.bytesPerPixel);
    EXPECT_EQ(target, Bytes(64, 7)) << r.what;
}

TEST_P(BilinearInterpolationRefuses, withoutLookingAtTheMemory) {
    const Refused& r = GetParam();
    GuardedBuffer nothing(0);
    unsigned char* const untouchable = nothing.place(kAtBack, 0).data();
    expectReturn([&] {
        BilinearInterpolation(untouchable, r.srcWidth, r.srcHeight, untouchable, r.dstWidth,
                              r.dstHeight, r.bytesPerPixel);
    });
}

INSTANTIATE_TEST_SUITE_P(
    BadArguments, BilinearInterpolationRefuses,
    testing::Values(
        Refused{"source width 0", 0, 4, 4, 4, 4}, Refused{"source height 0", 4, 0, 4, 4, 4},
        Refused{"target width 0", 4, 4, 0, 4, 4}, Refused{"target height 0", 4, 4, 4, 0, 4},
        Refused{"negative source", -4, -4, 4, 4, 4}, Refused{"negative target", 4, 4, -4, -4, 4},
        Refused{"negative source width", -1, 4, 4, 4, 4},
        Refused{"negative target height", 4, 4, 4, -1, 4},
        Refused{"least source", INT_MIN, INT_MIN, 4, 4, 4},
        Refused{"least source width", INT_MIN, 1, 4, 4, 4},
        Refused{"least target", 4, 4, INT_MIN, INT_MIN, 4},
        Refused{"least target height", 4, 4, 1, INT_MIN, 4},
        Refused{"2 bytes a pixel", 4, 4, 4, 4, 2}, Refused{"0 bytes a pixel", 4, 4, 4, 4, 0},
        Refused{"5 bytes a pixel", 2, 2, 2, 2, 5}, Refused{"-4 bytes a pixel", 2, 2, 2, 2, -4},
        Refused{"most bytes a pixel", 1, 1, 1, 1, INT_MAX},
        Refused{"least bytes a pixel", 1, 1, 1, 1, INT_MIN},
        Refused{"source past memory", INT_MAX, INT_MAX, 2, 2, 4},
        Refused{"target past memory", 2, 2, INT_MAX, INT_MAX, 4},
        Refused{"source of 3 bytes a pixel past memory", INT_MAX, INT_MAX, 2, 2, 3},
        Refused{"target of 3 bytes a pixel past memory", 2, 2, INT_MAX, INT_MAX, 3}));

TEST(BilinearInterpolation, refusesNullPointers) {
    Bytes pixels(16, 7);
    BilinearInterpolation(nullptr, 2, 2, pixels.data(), 2, 2, 4);
    EXPECT_EQ(pixels, Bytes(16, 7));
    expectReturn([&] {
        BilinearInterpolation(pixels.data(), 2, 2, nullptr, 2, 2, 4);
        BilinearInterpolation(nullptr, 2, 2, nullptr, 2, 2, 4);
    });
}

// The environment is read once: a host that scales frame after frame gets one line.
TEST(BilinearInterpolationDeathTest, saysOnceThatItsEnvironmentNamesNoKernels) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const Bytes source = noise(16);
    EXPECT_EXIT(
        {
            setenv("QOR_KXCOMMON64_KERNELS", "mmx", 1);
            scaled(source, {{2, 2}, {1, 1}, 4});
            scaled(source, {{2, 2}, {1, 2}, 4});
            std::_Exit(0);
        },
        testing::ExitedWithCode(0),
        testing::MatchesRegex("qor_conf_kxcommon64: QOR_KXCOMMON64_KERNELS=mmx is not among: "
                              "[^\n]*; taking [^\n]*\n"));
}

}  // namespace
