// BilinearInterpolation and RgbDownsampling in several threads at once.
#include <gtest/gtest.h>

#include <thread>

#include "images.h"
#include "kxcommon64.h"

namespace {

Bytes scaled(const Bytes& source, const Scaling& s) {
    Bytes target(s.targetBytes());
    BilinearInterpolation(source.data(), s.source.width, s.source.height, target.data(),
                          s.target.width, s.target.height, s.bytesPerPixel);
    return target;
}

// The threads come first, so that theirs may be the first calls of the process.
TEST(ScalingThreads, giveWhatOneThreadGives) {
    constexpr int kFrames = 50;
    const Scaling scalings[] = {{{192, 108}, {128, 72}, 4}, {{131, 77}, {200, 40}, 3}};
    const Bytes source = noise(scalings[0].sourceBytes());
    std::vector<Bytes> frames[2];
    std::thread threads[2];
    for (size_t i = 0; i < 2; ++i) {
        threads[i] = std::thread([&, i] {
            for (int frame = 0; frame < kFrames; ++frame) {
                frames[i].push_back(scaled(source, scalings[i]));
            }
        });
    }
    for (size_t i = 0; i < 2; ++i) {
        threads[i].join();
        EXPECT_EQ(frames[i], std::vector<Bytes>(kFrames, scaled(source, scalings[i])));
    }
}

TEST(ScalingThreads, halveWhileOthersScale) {
    constexpr int kFrames = 50;
    const Scaling scaling = {{192, 108}, {96, 54}, 4};
    Bytes source = noise(scaling.sourceBytes());
    std::vector<Bytes> halves;
    std::thread halving([&, own = source]() mutable {
        for (int frame = 0; frame < kFrames; ++frame) {
            halves.emplace_back(scaling.targetBytes());
            RgbDownsampling(192, 108, 192 * 4, own.data(), halves.back().data());
        }
    });
    std::vector<Bytes> frames;
    for (int frame = 0; frame < kFrames; ++frame) {
        frames.push_back(scaled(source, scaling));
    }
    halving.join();
    EXPECT_EQ(halves, frames) << "an exact half is the mean of its four pixels either way";
}

}  // namespace
