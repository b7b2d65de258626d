// How near to the exact result every instruction set's scaler comes.
#include <gtest/gtest.h>

#include "images.h"
#include "scaling.h"
#include "scaling_rule.h"

namespace {

using qor::scaling::interpolate;
using qor::scaling::nameOf;
using qor::scaling::RowKernels;
using qor::scaling::usableRowKernels;

Bytes scaled(const RowKernels& kernels, const Bytes& source, const Scaling& s) {
    Bytes target(s.targetBytes());
    interpolate(kernels, source.data(), s.source.width, s.source.height, target.data(),
                s.target.width, s.target.height, s.bytesPerPixel);
    return target;
}

class ScalingAccuracy : public testing::TestWithParam<Scaling> {};

TEST_P(ScalingAccuracy, isAtMostOneOffTheExactValue) {
    const Scaling& s = GetParam();
    const size_t count = s.sourceBytes();
    for (const Bytes& source :
         {noise(count), extremes(count), checkerboard(s.source, s.bytesPerPixel),
          gradient(s.source, s.bytesPerPixel)}) {
        const std::vector<double> exact = exactlyScaled(source, s);
        for (const RowKernels* kernels : usableRowKernels()) {
            EXPECT_LE(errorOf(scaled(*kernels, source, s), exact).worst, 1.0) << nameOf(*kernels);
        }
    }
}

TEST_P(ScalingAccuracy, keepsAnImageOfOneColour) {
    const Scaling& s = GetParam();
    for (unsigned level = 0; level < 256; level += 5) {
        const Bytes source(s.sourceBytes(), static_cast<unsigned char>(level));
        const Bytes expected(s.targetBytes(), static_cast<unsigned char>(level));
        for (const RowKernels* kernels : usableRowKernels()) {
            EXPECT_EQ(scaled(*kernels, source, s), expected) << nameOf(*kernels) << ", " << level;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, ScalingAccuracy,
    testing::Values(Scaling{{192, 108}, {128, 72}, 4}, Scaling{{192, 108}, {96, 54}, 4},
                    Scaling{{192, 108}, {191, 107}, 4}, Scaling{{192, 108}, {190, 107}, 4},
                    Scaling{{128, 72}, {192, 108}, 4}, Scaling{{384, 216}, {128, 72}, 4},
                    Scaling{{192, 108}, {16, 9}, 4}, Scaling{{37, 23}, {111, 92}, 4},
                    Scaling{{7, 5}, {210, 150}, 4}, Scaling{{1999, 3}, {7, 5}, 4},
                    Scaling{{31, 29}, {37, 41}, 3}, Scaling{{61, 29}, {17, 11}, 1},
                    Scaling{{192, 108}, {192, 71}, 4}, Scaling{{192, 108}, {131, 108}, 3},
                    Scaling{{3, 2}, {1999, 3}, 4}, Scaling{{2, 1999}, {3, 1200}, 1}));

// Perfect rounding is a quarter off on the average.
class ScalingMeanError : public testing::TestWithParam<Scaling> {};

TEST_P(ScalingMeanError, onNoiseIsThatOfRounding) {
    const Bytes source = noise(GetParam().sourceBytes());
    const std::vector<double> exact = exactlyScaled(source, GetParam());
    for (const RowKernels* kernels : usableRowKernels()) {
        EXPECT_LE(errorOf(scaled(*kernels, source, GetParam()), exact).mean, 0.26)
            << nameOf(*kernels);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Ratios, ScalingMeanError,
    testing::Values(Scaling{{480, 270}, {320, 180}, 4}, Scaling{{480, 270}, {240, 135}, 4},
                    Scaling{{192, 108}, {191, 107}, 4}, Scaling{{960, 540}, {959, 539}, 4},
                    Scaling{{768, 432}, {384, 216}, 4}, Scaling{{768, 432}, {256, 144}, 4},
                    Scaling{{288, 180}, {144, 90}, 4}, Scaling{{320, 180}, {480, 270}, 4},
                    Scaling{{1920, 1080}, {160, 90}, 4}));

// Where the distances between pixels are multiples of 1/128, nothing need be lost.
class ScalingByFewSteps : public testing::TestWithParam<Scaling> {};

TEST_P(ScalingByFewSteps, isCorrectlyRounded) {
    const Scaling& s = GetParam();
    for (const Bytes& source : {noise(s.sourceBytes()), extremes(s.sourceBytes())}) {
        const Bytes expected = correctlyRounded(source, s);
        for (const RowKernels* kernels : usableRowKernels()) {
            EXPECT_EQ(scaled(*kernels, source, s), expected) << nameOf(*kernels);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Ratios, ScalingByFewSteps,
    testing::Values(Scaling{{192, 108}, {128, 72}, 4}, Scaling{{192, 108}, {96, 54}, 4},
                    Scaling{{201, 99}, {67, 33}, 4}, Scaling{{260, 132}, {65, 33}, 4},
                    Scaling{{67, 33}, {134, 66}, 4}, Scaling{{33, 17}, {132, 68}, 4},
                    Scaling{{33, 9}, {264, 72}, 4}, Scaling{{325, 165}, {260, 132}, 4},
                    Scaling{{130, 35}, {65, 35}, 4}, Scaling{{65, 70}, {65, 35}, 4},
                    Scaling{{65, 35}, {65, 140}, 4}, Scaling{{65, 35}, {520, 35}, 4},
                    Scaling{{192, 108}, {128, 54}, 3}, Scaling{{192, 108}, {384, 36}, 1},
                    Scaling{{130, 70}, {65, 35}, 3}, Scaling{{130, 70}, {65, 35}, 1}));

}  // namespace
