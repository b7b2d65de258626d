/* Calls from several threads at once. */
#include <atomic>
#include <thread>

#include "screen_test.h"

namespace {

class ThreadsTest : public testing::Test {
  protected:
    void SetUp() override {
        useDisplay(server_.display());
        painter_.fill({0, 0, 320, 200}, {1, 2, 3});
        painter_.sync();
    }

    /* Runs a function a number of times on each of several threads. */
    template <typename Function>
    void onThreads(Function function) {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 6; ++i)
            threads.emplace_back([function] {
                for (int j = 0; j < 40; ++j)
                    function();
            });
    }

  private:
    XvfbServer server_{"320x200x24"};
    Painter painter_{server_.display()};
};

TEST_F(ThreadsTest, EachGetsTheScreen) {
    onThreads([] {
        EXPECT_EQ(pixelAt(imageOf(0, 0, 320, 200).get(), 319, 199).color(), (Color{1, 2, 3}));
    });
}

TEST_F(ThreadsTest, EachGetsTheDisplays) {
    const CGDirectDisplayID display = onlyDisplay();
    onThreads([display] {
        EXPECT_EQ(onlyDisplay(), display);
        EXPECT_EQ(CGDisplayBounds(display).size.width, 320);
    });
}

TEST_F(ThreadsTest, ImageMayBeReleasedByAnyOfThem) {
    const Image image = imageOf(0, 0, 320, 200);
    onThreads([&image] {
        const Image mine(CGImageRetain(image.get()));
        EXPECT_EQ(pixelAt(mine.get(), 0, 0).color(), (Color{1, 2, 3}));
    });
    EXPECT_EQ(pixelAt(image.get(), 0, 0).color(), (Color{1, 2, 3}));
}

TEST_F(ThreadsTest, ImagesMayBeReleasedWhileTheirThreadGoesOn) {
    std::atomic<CGImageRef> handedOver = nullptr;
    std::atomic<bool> stop = false;
    std::jthread releaser([&] {
        while (!stop)
            CGImageRelease(handedOver.exchange(nullptr));
    });
    for (int i = 0; i < 300; ++i) {
        Image image = imageOf(0, 0, 320, 200);
        EXPECT_EQ(pixelAt(image.get(), 0, 0).color(), (Color{1, 2, 3}));
        CGImageRelease(handedOver.exchange(image.release()));
    }
    stop = true;
    releaser.join();
    CGImageRelease(handedOver);
}

}  // namespace
