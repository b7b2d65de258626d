/* Outputs that come, go and change while captures run, as the interface tells of them. */
#include <CaptureManager.h>
#include <MonitorManager.h>
#include <gtest/gtest.h>
#include <vqutilc.h>

#include <ostream>

#include "plug_board.h"
#include "randr_client.h"
#include "screen_test.h"
#include "xorg_server.h"

namespace {

constexpr Color kBlue{50, 60, 220};
constexpr Color kGreen{30, 180, 40};

class HotplugTest : public testing::Test {
  protected:
    // The library's errors go nowhere: displays that are asked about while they go are such.
    void SetUp() override {
        vq_set_trace_level(-1);
        useDisplay(server_.display());
        board_.plugIn({0, modeOfSize(320, 240)});
        board_.plugIn({1, modeOfSize(480, 360), 320, 0});
        follow(board_);
    }
    void TearDown() override {
        CMonitorManager::DeleteInstance();
        vq_set_trace_level(0);
    }

    void follow(const PlugBoard& board) {
        randr_.arrange(board.placements());
        randr_.setPrimary(board.primary());
        CapMgr_UpdateMonitor();
    }

    static unsigned startCapture(unsigned monitor) {
        const unsigned capture = CapMgr_GenerateCaptureIndex();
        EXPECT_EQ(CapMgr_StartCapture(capture, monitor, CAP_METHOD_DEFAULT, CAP_TYPE_DESKTOP, 0,
                                      PARALLEL_CAPTURE_MODE),
                  0U);
        CapMgr_SetMaxFrameRate(capture, 30);
        CapMgr_UpdateFrameRate(capture, 30);
        return capture;
    }

    void paint(const Area& area, Color color) const {
        painter_.fill(area, color);
        painter_.sync();
    }

    static void leaveOut(unsigned capture, xcb_window_t window) {
        const std::uintptr_t number = window;
        CapMgr_SetExcludeWnd(capture, reinterpret_cast<const void*>(number), CAP_EXC_WND_ADD);
    }

    static bool showsInTheMiddle(unsigned capture, Color color) {
        return eventually([&] {
            const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(capture);
            if (frame.pData == nullptr)
                return false;
            const std::uint8_t* pixel =
                frame.pData + (frame.dwHeight / 2 * frame.dwWidth + frame.dwWidth / 2) * 4;
            const Color found{pixel[2], pixel[1], pixel[0]};
            CapMgr_UnlockScreenBuffer(capture);
            return found == color;
        });
    }

    XorgServer server_;
    RandrClient randr_{server_.display()};
    Painter painter_{server_.display()};
    PlugBoard board_{20};
};

TEST_F(HotplugTest, EachOfTwoHundredChangesIsTheListAtOnceWhileCapturesRun) {
    const PlugBoard before = board_;
    paint({0, 0, 320, 240}, kBlue);
    painter_.openWindow({320, 0, 480, 360}, kGreen);
    const unsigned plain = startCapture(0);
    const unsigned withoutWindow = startCapture(1);
    leaveOut(withoutWindow, painter_.openWindow({540, 160, 40, 40}, kBlue));
    painter_.sync();
    ASSERT_TRUE(showsInTheMiddle(withoutWindow, kGreen));
    for (std::uint8_t i = 0; i < 200; ++i) {
        const std::string change = board_.change();
        follow(board_);
        ASSERT_EQ(seenMonitors(), board_.expectedMonitors()) << "change " << +i << ": " << change;
        paint({100, 100, 100, 100}, {i, 0, 0});
        ASSERT_TRUE(showsInTheMiddle(plain, {i, 0, 0})) << "change " << +i << ": " << change;
    }
    follow(before);
    EXPECT_TRUE(showsInTheMiddle(withoutWindow, kGreen));
    EXPECT_TRUE(CapMgr_StopCapture(plain, 1));
    EXPECT_TRUE(CapMgr_StopCapture(withoutWindow, 1));
}

TEST_F(HotplugTest, CaptureFollowsItsDisplayWhenItIsPluggedInAgain) {
    const PlugBoard before = board_;
    paint({0, 0, 800, 360}, kBlue);
    paint({400, 100, 10, 10}, kGreen);
    const unsigned capture = startCapture(1);
    ASSERT_TRUE(showsInTheMiddle(capture, kBlue));
    randr_.arrange({{0, modeOfSize(320, 240)}});
    follow(before);
    paint({320, 0, 480, 360}, kGreen);
    EXPECT_TRUE(showsInTheMiddle(capture, kGreen));
    EXPECT_TRUE(CapMgr_StopCapture(capture, 1));
}

/* What CapMgr_MonitorScreenInfo says of a monitor: from the main display's lower left upwards. */
struct Frame {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    friend bool operator==(const Frame&, const Frame&) = default;
};

void PrintTo(const Frame& frame, std::ostream* out) {
    *out << frame.width << "x" << frame.height << " at " << frame.x << "," << frame.y;
}

std::vector<Frame> screenFrames() {
    std::vector<Frame> frames;
    CapMgr_UpdateMonitor();
    for (unsigned i = 0; i < CapMgr_GetMonitorCount(); ++i) {
        double scale = 0;
        CGRect frame{};
        CapMgr_MonitorScreenInfo(i, &scale, &frame);
        EXPECT_EQ(scale, 1.0);
        frames.push_back({frame.origin.x, frame.origin.y, frame.size.width, frame.size.height});
    }
    return frames;
}

TEST_F(HotplugTest, ScreenFramesAreMeasuredFromTheMainDisplay) {
    randr_.arrange({{0, modeOfSize(320, 240), 500, 331},
                    {1, modeOfSize(480, 360), 0, 57},
                    {2, modeOfSize(240, 320), 840, 0}});
    randr_.setPrimary(0);
    EXPECT_EQ(screenFrames(),
              (std::vector<Frame>{{0, 0, 320, 240}, {-500, 154, 480, 360}, {340, 251, 240, 320}}));
    randr_.setPrimary(2);
    EXPECT_EQ(
        screenFrames(),
        (std::vector<Frame>{{0, 0, 240, 320}, {-340, -251, 320, 240}, {-840, -97, 480, 360}}));
}

TEST_F(HotplugTest, ScreenFramesOfMonitorsSetByHandAreTheirs) {
    randr_.arrange({{0, modeOfSize(480, 360), 0, 40}});
    randr_.setMonitor({"left", {0, 40, 200, 360}, {0}, true});
    randr_.setMonitor({"lower right", {200, 240, 280, 160}, {}});
    EXPECT_EQ(screenFrames(), (std::vector<Frame>{{0, 0, 200, 360}, {200, 0, 280, 160}}));
}

TEST_F(HotplugTest, WithoutADisplayTheScreenFrameIsZero) {
    randr_.arrange({});
    CapMgr_UpdateMonitor();
    double scale = 9;
    CGRect frame = CGRectMake(1, 2, 3, 4);
    CapMgr_MonitorScreenInfo(0, &scale, &frame);
    EXPECT_EQ(scale, 0.0);
    EXPECT_EQ(frame.size.width, 0.0);
}

TEST(RotatedScreenTest, FrameIsTheRotatedOne) {
    const XephyrServer server("600x400");
    useDisplay(server.display());
    RandrClient randr(server.display());
    randr.rotate(XCB_RANDR_ROTATION_ROTATE_90);
    EXPECT_EQ(screenFrames(), (std::vector<Frame>{{0, 0, 400, 600}}));
    CMonitorManager::DeleteInstance();
}

}  // namespace
