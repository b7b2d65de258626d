// BilinearInterpolation against the rule of its header, computed here in double precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "kxcommon64.h"

namespace {

struct Size {
    int width;
    int height;
};

struct Scaling {
    Size source;
    Size target;
    int bytesPerPixel;
};

std::ostream& operator<<(std::ostream& out, const Scaling& s) {
    return out << s.source.width << "x" << s.source.height << " to " << s.target.width << "x"
               << s.target.height << ", " << s.bytesPerPixel << " bytes a pixel";
}

size_t byteCount(Size size, int bytesPerPixel) {
    return static_cast<size_t>(size.width) * static_cast<size_t>(size.height) *
           static_cast<size_t>(bytesPerPixel);
}

std::vector<unsigned char> noise(size_t count) {
    std::mt19937 random(20);
    std::vector<unsigned char> bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<unsigned char>(random()); });
    return bytes;
}

double sourcePosition(int target, int sourceSize, int targetSize) {
    const double position = (target + 0.5) * sourceSize / targetSize - 0.5;
    return std::clamp(position, 0.0, static_cast<double>(sourceSize - 1));
}

class Exact {
  public:
    Exact(const std::vector<unsigned char>& pixels, const Scaling& scaling)
        : pixels_(pixels), scaling_(scaling) {}

    double at(int x, int y, int channel) const {
        const double sx = sourcePosition(x, scaling_.source.width, scaling_.target.width);
        const double sy = sourcePosition(y, scaling_.source.height, scaling_.target.height);
        const int left = static_cast<int>(sx);
        const int top = static_cast<int>(sy);
        const int right = std::min(left + 1, scaling_.source.width - 1);
        const int bottom = std::min(top + 1, scaling_.source.height - 1);
        const double upper =
            std::lerp(pixel(left, top, channel), pixel(right, top, channel), sx - left);
        const double lower =
            std::lerp(pixel(left, bottom, channel), pixel(right, bottom, channel), sx - left);
        return std::lerp(upper, lower, sy - top);
    }

  private:
    double pixel(int x, int y, int channel) const {
        const int index = (y * scaling_.source.width + x) * scaling_.bytesPerPixel + channel;
        return pixels_[static_cast<size_t>(index)];
    }

    const std::vector<unsigned char>& pixels_;
    Scaling scaling_;
};

double worstError(const Scaling& s) {
    const auto source = noise(byteCount(s.source, s.bytesPerPixel));
    std::vector<unsigned char> target(byteCount(s.target, s.bytesPerPixel));
    BilinearInterpolation(source.data(), s.source.width, s.source.height, target.data(),
                          s.target.width, s.target.height, s.bytesPerPixel);
    const Exact exact(source, s);
    double worst = 0;
    const unsigned char* value = target.data();
    for (int y = 0; y < s.target.height; ++y) {
        for (int x = 0; x < s.target.width; ++x) {
            for (int channel = 0; channel < s.bytesPerPixel; ++channel) {
                worst = std::max(worst, std::abs(*value++ - exact.at(x, y, channel)));
            }
        }
    }
    return worst;
}

class BilinearInterpolationRule : public testing::TestWithParam<Scaling> {};

TEST_P(BilinearInterpolationRule, isAtMostOneOffTheExactValue) {
    EXPECT_LE(worstError(GetParam()), 1.0);
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

TEST(BilinearInterpolation, ofTheSameSizeIsTheImageItself) {
    const auto source = noise(byteCount({41, 23}, 4));
    std::vector<unsigned char> target(source.size());
    BilinearInterpolation(source.data(), 41, 23, target.data(), 41, 23, 4);
    EXPECT_EQ(source, target);
}

TEST(BilinearInterpolation, writesNothingPastTheTarget) {
    constexpr unsigned char kGuard = 0xA5;
    const auto source = noise(byteCount({64, 48}, 4));
    const size_t used = byteCount({21, 13}, 4);
    std::vector<unsigned char> target(used + 64, kGuard);
    BilinearInterpolation(source.data(), 64, 48, target.data(), 21, 13, 4);
    EXPECT_TRUE(std::all_of(target.begin() + static_cast<std::ptrdiff_t>(used), target.end(),
                            [](unsigned char byte) { return byte == kGuard; }));
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
    const std::vector<unsigned char> source(64, 200);
    std::vector<unsigned char> target(64, 7);
    BilinearInterpolation(source.data(), r.srcWidth, r.srcHeight, target.data(), r.dstWidth,
                          r.dstHeight, r.bytesPerPixel);
    EXPECT_EQ(target, std::vector<unsigned char>(64, 7)) << r.what;
}

INSTANTIATE_TEST_SUITE_P(
    BadArguments, BilinearInterpolationRefuses,
    testing::Values(
        Refused{"source width 0", 0, 4, 4, 4, 4}, Refused{"source height 0", 4, 0, 4, 4, 4},
        Refused{"target width 0", 4, 4, 0, 4, 4}, Refused{"target height 0", 4, 4, 4, 0, 4},
        Refused{"negative source", -4, -4, 4, 4, 4}, Refused{"negative target", 4, 4, -4, -4, 4},
        Refused{"2 bytes a pixel", 4, 4, 4, 4, 2}, Refused{"0 bytes a pixel", 4, 4, 4, 4, 0},
        Refused{"5 bytes a pixel", 2, 2, 2, 2, 5},
        Refused{"source past memory", 0x7FFFFFFF, 0x7FFFFFFF, 2, 2, 4},
        Refused{"target past memory", 2, 2, 0x7FFFFFFF, 0x7FFFFFFF, 4}));

TEST(BilinearInterpolation, refusesNullPointers) {
    std::vector<unsigned char> pixels(16, 7);
    BilinearInterpolation(nullptr, 2, 2, pixels.data(), 2, 2, 4);
    EXPECT_EQ(pixels, std::vector<unsigned char>(16, 7));
    BilinearInterpolation(pixels.data(), 2, 2, nullptr, 2, 2, 4);  // must not crash
}

}  // namespace
