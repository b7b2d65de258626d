// Every instruction set's kernels give the bytes of the scalar ones, and touch nothing else.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <span>
#include <vector>

#include "guarded_buffer.h"
#include "images.h"
#include "scaling.h"

namespace {

using qor::scaling::interpolate;
using qor::scaling::nameOf;
using qor::scaling::RowKernels;
using qor::scaling::Stores;
using qor::scaling::usableRowKernels;

void scale(const RowKernels& kernels, const unsigned char* source, unsigned char* target,
           const Scaling& s, Stores stores = Stores::cached) {
    interpolate(kernels, source, s.source.width, s.source.height, target, s.target.width,
                s.target.height, s.bytesPerPixel, stores);
}

class RowKernelsTest : public testing::Test {
  protected:
    static constexpr size_t kRoom = size_t{2000} * 1200 * 4;
    static constexpr size_t kLargestDistance = 64;

    // The scalar kernels are among those compared: they too keep within their buffers.
    testing::AssertionResult allGiveTheScalarResult(const Scaling& scaling,
                                                    Placement sourcePlacement = kAtBack,
                                                    Placement targetPlacement = kAtBack) {
        const auto source = source_.place(sourcePlacement, scaling.sourceBytes());
        fill(source);
        Bytes expected(scaling.targetBytes());
        scale(*usableRowKernels().front(), source.data(), expected.data(), scaling);
        for (const RowKernels* kernels : usableRowKernels()) {
            for (const Stores stores : storesToTry(scaling)) {
                const auto target = target_.place(targetPlacement, expected.size());
                std::ranges::fill(target, kUnwritten);
                scale(*kernels, source.data(), target.data(), scaling, stores);
                const auto isRight = isAsExpected(target, expected);
                if (!isRight) {
                    return testing::AssertionFailure()
                           << nameOf(*kernels) << (stores == Stores::streamed ? ", streamed," : "")
                           << " " << isRight.message() << "; " << scaling;
                }
            }
        }
        return testing::AssertionSuccess();
    }

    // For pixels of every size that there is.
    void expectTheScalarResult(Size source, Size target, Placement sourcePlacement = kAtBack,
                               Placement targetPlacement = kAtBack) {
        for (const int bytesPerPixel : {1, 3, 4}) {
            EXPECT_TRUE(allGiveTheScalarResult({source, target, bytesPerPixel}, sourcePlacement,
                                               targetPlacement));
        }
    }

  private:
    static constexpr unsigned char kUnwritten = 0x5A;
    static constexpr size_t kPeriod = (size_t{1} << 18) + 3;  // of no row that is compared

    // Streamed stores where there can be any, and now and then where not, as they may be asked for.
    std::vector<Stores> storesToTry(const Scaling& scaling) const {
        constexpr int kLineBytes = 64;
        const bool isWholeLines = scaling.target.width * scaling.bytesPerPixel % kLineBytes == 0;
        if (isWholeLines || comparisons_ % 16 == 0) {
            return {Stores::cached, Stores::streamed};
        }
        return {Stores::cached};
    }

    testing::AssertionResult isAsExpected(std::span<const unsigned char> target,
                                          const Bytes& expected) const {
        const auto [wrong, right] = std::ranges::mismatch(target, expected);
        if (wrong != target.end()) {
            return testing::AssertionFailure()
                   << "differs at byte " << wrong - target.begin() << ": " << int{*wrong}
                   << " instead of " << int{*right};
        }
        if (!target_.isSurroundingUntouched()) {
            return testing::AssertionFailure() << "writes outside the target";
        }
        return testing::AssertionSuccess();
    }

    // Noise and extremes in turn, begun somewhere else each time.
    void fill(std::span<unsigned char> image) {
        const Bytes& content = ++comparisons_ % 4 == 0 ? extremes_ : noise_;
        size_t from = comparisons_ % kPeriod;
        while (!image.empty()) {
            const size_t count = std::min(image.size(), kPeriod - from);
            std::memcpy(image.data(), &content[from], count);
            image = image.subspan(count);
            from = 0;
        }
    }

    GuardedBuffer source_{kRoom + kLargestDistance};
    GuardedBuffer target_{kRoom + kLargestDistance};
    Bytes noise_ = noise(kPeriod);
    Bytes extremes_ = extremes(kPeriod);
    size_t comparisons_ = 0;
};

// Sizes and the largest of them. In a plane over the prime, lines of different slopes meet once:
// of the four sizes of a scaling, any two take every pair of values, each pair once a slope.
constexpr int kPrime = 67;

Scaling smallScaling(int a, int b, int slope) {
    const int otherSlope = slope + kPrime / 2;
    return {{a + 1, b + 1}, {(a + slope * b) % kPrime + 1, (a + otherSlope * b) % kPrime + 1}, 4};
}

class SmallSizes : public RowKernelsTest,
                   public testing::WithParamInterface<std::tuple<int, Placement, Placement>> {};

TEST_P(SmallSizes, giveTheScalarResult) {
    const auto [slope, source, target] = GetParam();
    for (int a = 0; a < kPrime; ++a) {
        for (int b = 0; b < kPrime; ++b) {
            const Scaling scaling = smallScaling(a, b, slope);
            expectTheScalarResult(scaling.source, scaling.target, source, target);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(RowKernelsTest, SmallSizes,
                         testing::Values(std::make_tuple(1, kAtBack, kAtBack),
                                         std::make_tuple(5, kAtFront, kAtFront),
                                         std::make_tuple(11, kAtBack, kAtFront),
                                         std::make_tuple(17, kAtFront, kAtBack)));

// Those above hardly ever leave one size as it is.
TEST_F(RowKernelsTest, giveTheScalarResultWhereTheWidthStays) {
    for (int width = 1; width <= 3 * kPrime && !HasFailure(); ++width) {
        expectTheScalarResult({width, 7}, {width, 5});
        expectTheScalarResult({width, 3}, {width, 8}, kAtFront, kAtFront);
    }
}

TEST_F(RowKernelsTest, giveTheScalarResultWhereTheHeightStays) {
    for (int source = 1; source <= kPrime && !HasFailure(); ++source) {
        for (int target = 1; target <= kPrime; ++target) {
            expectTheScalarResult({source, 3}, {target, 3});
        }
    }
}

TEST_F(RowKernelsTest, giveTheScalarResultForWholeRatios) {
    for (int width = 1; width <= 3 * kPrime && !HasFailure(); ++width) {
        for (const int ratio : {2, 3, 4}) {
            expectTheScalarResult({ratio * width, 3 * ratio}, {width, 3});
            expectTheScalarResult({width, 3}, {ratio * width, 3 * ratio}, kAtFront, kAtFront);
        }
    }
}

// A pixel more than twice as many: near what has a path of its own.
TEST_F(RowKernelsTest, giveTheScalarResultNextToExactHalves) {
    for (int width = 1; width <= 3 * kPrime && !HasFailure(); ++width) {
        expectTheScalarResult({2 * width, 7}, {width, 3});
        expectTheScalarResult({2 * width + 1, 6}, {width, 3});
        expectTheScalarResult({2 * width, 7}, {width, 4});
        expectTheScalarResult({2 * width + 1, 6}, {width + 1, 3});
    }
}

// Two hundred of them, in parts: where a sanitizer follows every byte, they take minutes.
class LargeSizes : public RowKernelsTest, public testing::WithParamInterface<unsigned> {};

TEST_P(LargeSizes, giveTheScalarResult) {
    std::mt19937 random(GetParam());
    const auto upTo = [&](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit)) + 1;
    };
    for (int i = 0; i < 25 && !HasFailure(); ++i) {
        const int bytesPerPixel = i % 4 == 0 ? 1 : i % 4 == 1 ? 3 : 4;
        const Scaling scaling = {{upTo(2000), upTo(1200)}, {upTo(2000), upTo(1200)}, bytesPerPixel};
        EXPECT_TRUE(allGiveTheScalarResult(scaling));
    }
}

INSTANTIATE_TEST_SUITE_P(RowKernelsTest, LargeSizes, testing::Range(1U, 9U));

struct Sizes {
    Size source;
    Size target;
};

std::ostream& operator<<(std::ostream& out, const Sizes& s) {
    return out << Scaling{s.source, s.target, 4};
}

class SpecialSizes : public RowKernelsTest, public testing::WithParamInterface<Sizes> {};

TEST_P(SpecialSizes, giveTheScalarResult) {
    expectTheScalarResult(GetParam().source, GetParam().target);
    expectTheScalarResult(GetParam().source, GetParam().target, kAtFront, kAtFront);
}

INSTANTIATE_TEST_SUITE_P(Halved, SpecialSizes,
                         testing::Values(Sizes{{2, 2}, {1, 1}}, Sizes{{66, 34}, {33, 17}},
                                         Sizes{{256, 64}, {128, 32}},
                                         Sizes{{1920, 1080}, {960, 540}},
                                         Sizes{{130, 70}, {65, 35}}, Sizes{{67, 33}, {34, 17}},
                                         Sizes{{67, 33}, {33, 16}}, Sizes{{129, 2}, {64, 1}},
                                         Sizes{{130, 35}, {65, 35}}, Sizes{{130, 35}, {65, 18}},
                                         Sizes{{65, 70}, {65, 35}}));

INSTANTIATE_TEST_SUITE_P(
    Reduced, SpecialSizes,
    testing::Values(Sizes{{3, 3}, {1, 1}}, Sizes{{201, 99}, {67, 33}},
                    Sizes{{1920, 1080}, {640, 360}}, Sizes{{260, 132}, {65, 33}},
                    Sizes{{260, 132}, {65, 66}}, Sizes{{335, 165}, {67, 33}},
                    Sizes{{192, 108}, {128, 72}}, Sizes{{195, 105}, {130, 70}},
                    Sizes{{1920, 1080}, {1280, 720}}, Sizes{{1920, 1080}, {1918, 1078}},
                    Sizes{{1920, 1080}, {1919, 1079}}, Sizes{{325, 165}, {260, 132}}));

INSTANTIATE_TEST_SUITE_P(GreatlyReduced, SpecialSizes,
                         testing::Values(Sizes{{1920, 1080}, {160, 90}},
                                         Sizes{{1920, 1080}, {1, 1}}, Sizes{{1920, 3}, {2, 3}},
                                         Sizes{{1920, 5}, {3, 2}}, Sizes{{1920, 2}, {17, 2}},
                                         Sizes{{1920, 4}, {33, 1}}, Sizes{{1920, 3}, {100, 7}},
                                         Sizes{{1920, 1080}, {159, 1}}, Sizes{{3, 1200}, {3, 1}},
                                         Sizes{{17, 1200}, {19, 7}}));

INSTANTIATE_TEST_SUITE_P(Enlarged, SpecialSizes,
                         testing::Values(Sizes{{67, 33}, {134, 66}}, Sizes{{65, 17}, {520, 136}},
                                         Sizes{{33, 9}, {990, 270}}, Sizes{{2, 2}, {60, 60}},
                                         Sizes{{2, 2}, {67, 3}}, Sizes{{1280, 720}, {1920, 1080}},
                                         Sizes{{128, 72}, {192, 108}}, Sizes{{3, 3}, {1999, 5}},
                                         Sizes{{66, 66}, {67, 67}}));

INSTANTIATE_TEST_SUITE_P(OneAxis, SpecialSizes,
                         testing::Values(Sizes{{67, 33}, {67, 33}}, Sizes{{640, 480}, {640, 480}},
                                         Sizes{{67, 33}, {45, 33}}, Sizes{{67, 33}, {67, 22}},
                                         Sizes{{67, 33}, {67, 66}}, Sizes{{67, 33}, {134, 33}},
                                         Sizes{{640, 33}, {640, 32}}, Sizes{{640, 33}, {639, 33}},
                                         Sizes{{67, 99}, {67, 33}}, Sizes{{201, 33}, {67, 33}}));

INSTANTIATE_TEST_SUITE_P(OnePixel, SpecialSizes,
                         testing::Values(Sizes{{1, 1}, {1, 1}}, Sizes{{1, 1}, {67, 5}},
                                         Sizes{{1, 1}, {1, 67}}, Sizes{{67, 1}, {1, 1}},
                                         Sizes{{1, 67}, {1, 1}}, Sizes{{67, 1}, {33, 1}},
                                         Sizes{{1, 67}, {1, 33}}, Sizes{{67, 1}, {67, 9}},
                                         Sizes{{1, 67}, {9, 67}}, Sizes{{1, 67}, {70, 30}},
                                         Sizes{{67, 1}, {30, 70}}, Sizes{{2, 1}, {1, 1}},
                                         Sizes{{1, 2}, {1, 1}}, Sizes{{2, 1}, {129, 1}}));

class MisalignedImages : public RowKernelsTest, public testing::WithParamInterface<Sizes> {};

TEST_P(MisalignedImages, giveTheScalarResult) {
    for (size_t offset = 0; offset < kLargestDistance; ++offset) {
        // Odd factors reach each offset of the target once, next to a different one of the source.
        for (const size_t factor : {1U, 29U, 51U}) {
            expectTheScalarResult(
                GetParam().source, GetParam().target, {Placement::Edge::Front, offset},
                {Placement::Edge::Front, (offset * factor + factor / 2) % kLargestDistance});
        }
    }
}

INSTANTIATE_TEST_SUITE_P(RowKernelsTest, MisalignedImages,
                         testing::Values(Sizes{{67, 5}, {45, 4}}, Sizes{{140, 8}, {70, 4}},
                                         Sizes{{210, 9}, {70, 3}}, Sizes{{67, 5}, {67, 3}},
                                         Sizes{{67, 4}, {50, 4}}, Sizes{{40, 4}, {90, 7}},
                                         Sizes{{67, 3}, {67, 3}}, Sizes{{520, 8}, {65, 2}}));

}  // namespace
