/* Captures that do not wait for each other. */
#include <CaptureManager.h>
#include <MonitorManager.h>
#include <gtest/gtest.h>
#include <vqutilc.h>

#include "display_relay.h"
#include "screen_test.h"

namespace {

constexpr Area kSpot{200, 150, 10, 10};

/* Two captures of one screen, each with a way of its own to the server, which cannot tell what has
 * changed: each has to ask for every frame. */
class SeparateCapturesTest : public testing::Test {
  protected:
    void SetUp() override {
        vq_set_trace_level(-1);
        first_ = startBy(firstWay_);
        second_ = startBy(secondWay_);
    }
    void TearDown() override {
        firstWay_.resume();
        CapMgr_StopCapture(first_, 1);
        CapMgr_StopCapture(second_, 1);
        CMonitorManager::DeleteInstance();
        vq_set_trace_level(0);
    }

    /* A capture whose frames have begun to come, so that its thread is connected. */
    unsigned startBy(const DisplayRelay& way) const {
        useDisplay(server_.display());
        CapMgr_UpdateMonitor();
        const unsigned capture = CapMgr_GenerateCaptureIndex();
        useDisplay(way.display());
        EXPECT_EQ(CapMgr_StartCapture(capture, CapMgr_GetPrimaryMonitorIndex(), CAP_METHOD_DEFAULT,
                                      CAP_TYPE_DESKTOP, 0, PARALLEL_CAPTURE_MODE),
                  0U);
        CapMgr_SetMaxFrameRate(capture, 30);
        CapMgr_UpdateFrameRate(capture, 30);
        EXPECT_TRUE(eventually([&] { return colorShown(capture) != Color{}; }));
        return capture;
    }

    static Color colorShown(unsigned capture) {
        const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(capture);
        if (data.pData == nullptr)
            return {};
        const std::uint8_t* pixel = data.pData + (kSpot.y * data.dwWidth + kSpot.x) * 4;
        const Color shown{pixel[2], pixel[1], pixel[0]};
        CapMgr_UnlockScreenBuffer(capture);
        return shown;
    }

    void paint(Color color) const {
        painter_.fill(kSpot, color);
        painter_.sync();
    }

    const XvfbServer server_{"320x240x24", {"-extension", "DAMAGE"}};
    const PaintedScene scene_{server_.display()};  // or a frame of one colour would be held back
    const Painter painter_{server_.display()};
    DisplayRelay firstWay_{server_.socketPath()};
    DisplayRelay secondWay_{server_.socketPath()};
    unsigned first_ = 0;
    unsigned second_ = 0;
};

TEST_F(SeparateCapturesTest, OneGoesOnWhileTheOthersServerIsSilent) {
    // Less than a capture waits for a server that is silent.
    constexpr std::chrono::milliseconds kBound{1000};
    firstWay_.hold();
    for (std::uint8_t shade = 100; shade < 110; ++shade) {
        const Color color{shade, 20, 30};
        paint(color);
        ASSERT_TRUE(eventually([&] { return colorShown(second_) == color; }, kBound));
        EXPECT_NE(colorShown(first_), color);
    }
    firstWay_.resume();
    paint({210, 20, 30});
    EXPECT_TRUE(eventually([&] { return colorShown(first_) == Color{210, 20, 30}; }));
}

}  // namespace
