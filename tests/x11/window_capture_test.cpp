/* Captures of chosen windows: the capture manager on top of the platform library and a server. */
#include <CaptureManager.h>
#include <MonitorManager.h>
#include <vqutilc.h>

#include <utility>
#include <vector>

#include "process_resources.h"
#include "window_crowd.h"
#include "window_test.h"

namespace {

class WindowCaptureTest : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        vq_set_trace_level(-1);  // the tests assert what the library's errors lead to
        capture_ = CapMgr_GenerateCaptureIndex();
    }
    void TearDown() override {
        CapMgr_StopCapture(capture_, 1);
        CMonitorManager::DeleteInstance();
        vq_set_trace_level(0);
    }

    void startCapture(CAP_TYPE type) {
        CapMgr_SetMaxFrameRate(capture_, 30);
        ASSERT_EQ(CapMgr_StartCapture(capture_, CapMgr_GetPrimaryMonitorIndex(), CAP_METHOD_DEFAULT,
                                      type, 0, PARALLEL_CAPTURE_MODE),
                  0U);
        CapMgr_UpdateFrameRate(capture_, 30);
    }

    void setExcluded(xcb_window_t window, tagCapExcWndActType action) const {
        const std::uintptr_t number = window;
        CapMgr_SetExcludeWnd(capture_, reinterpret_cast<const void*>(number), action);
    }

    /* Looks into the newest frame, if there is one: gets its pixels, 4 bytes each, and how many. */
    template <typename Look>
    bool inFrame(Look look) const {
        const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(capture_);
        if (data.pData == nullptr)
            return false;
        const bool result = look(data.pData, std::size_t{data.dwWidth} * data.dwHeight);
        CapMgr_UnlockScreenBuffer(capture_);
        return result;
    }

    static Color colorOf(const unsigned char* pixel) { return {pixel[2], pixel[1], pixel[0]}; }

    static bool hasRed(const unsigned char* pixels, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            if (pixels[i * 4 + 2] != 0)
                return true;
        }
        return false;
    }

    bool frameHas(int x, int y, Color color) const {
        return inFrame([=](const unsigned char* pixels, std::size_t) {
            return colorOf(pixels + (y * 320 + x) * 4) == color;
        });
    }

    bool frameShows(Color color) const {
        return inFrame([=](const unsigned char* pixels, std::size_t count) {
            for (std::size_t i = 0; i < count; ++i) {
                if (colorOf(pixels + i * 4) == color)
                    return true;
            }
            return false;
        });
    }

    unsigned capture_ = 0;
};

TEST_F(WindowCaptureTest, ExcludedWindowIsNotInTheFrameButWhatLiesBeneathIs) {
    open({.area = {20, 20, 100, 100}, .color = kGreen});
    open({.area = {150, 20, 100, 100}, .color = kBlue});
    const xcb_window_t secret = open({.area = {0, 0, 200, 180}, .color = kRed});
    setExcluded(secret, CAP_EXC_WND_ADD);
    startCapture(CAP_TYPE_DESKTOP);
    EXPECT_TRUE(eventually([&] {
        return frameHas(30, 30, kGreen) && frameHas(160, 30, kBlue) && frameHas(5, 5, kBlack);
    }));
    EXPECT_FALSE(frameShows(kRed));
}

TEST_F(WindowCaptureTest, WindowExcludedAndTakenBackComesAndGoes) {
    open({.area = {20, 20, 100, 100}, .color = kGreen});
    open({.area = {150, 20, 100, 100}, .color = kBlue});
    const xcb_window_t toolbar = open({.area = {20, 20, 50, 20}, .color = kRed});
    startCapture(CAP_TYPE_DESKTOP);
    ASSERT_TRUE(eventually([&] { return frameHas(30, 30, kRed); }));
    setExcluded(toolbar, CAP_EXC_WND_ADD);
    ASSERT_TRUE(eventually([&] { return frameHas(30, 30, kGreen) && !frameShows(kRed); }));
    setExcluded(toolbar, CAP_EXC_WND_DELETE);
    EXPECT_TRUE(eventually([&] { return frameHas(30, 30, kRed); }));
}

TEST_F(WindowCaptureTest, SharedWindowIsShownAloneAndFollowed) {
    const xcb_window_t shared = open({.area = {20, 20, 100, 100}, .color = kGreen});
    client().open({.area = {10, 10, 20, 20}, .color = kBlue, .parent = shared});
    open({.area = kScreen, .color = kRed});
    startCapture(CAP_TYPE_APP_WINDOW);
    CapMgr_SetSharedAppWnd(capture_, shared, CAP_APP_WND_SET);
    ASSERT_TRUE(eventually([&] { return frameHas(25, 25, kGreen) && frameHas(35, 35, kBlue); }));
    EXPECT_TRUE(frameHas(10, 10, kBlack));
    client().move(shared, 150, 60);
    client().sync();
    EXPECT_TRUE(eventually([&] { return frameHas(155, 65, kGreen) && frameHas(25, 25, kBlack); }));
    EXPECT_FALSE(frameShows(kRed));
}

TEST_F(WindowCaptureTest, NoFrameShowsAnExcludedWindowThatMovesAmongOthers) {
    constexpr unsigned kSeed = 20555;
    constexpr int kFrames = 150;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    CrowdInMotion motion(server().display(), kSeed, 24);
    setExcluded(motion.crowd().secret(), CAP_EXC_WND_ADD);
    startCapture(CAP_TYPE_DESKTOP);
    std::vector<unsigned char> last;
    int different = 0;
    EXPECT_TRUE(eventually(
        [&] {
            motion.goOn();
            different += inFrame([&](const unsigned char* pixels, std::size_t count) {
                EXPECT_FALSE(hasRed(pixels, count));
                const std::vector frame(pixels, pixels + count * 4);
                return std::exchange(last, frame) != frame;
            });
            return different >= kFrames || HasFailure();
        },
        std::chrono::seconds(60)))
        << different << " frames";
    setExcluded(motion.crowd().secret(), CAP_EXC_WND_DELETE);
    EXPECT_TRUE(eventually([&] {
        const auto lock = motion.rest();
        motion.crowd().showSecret(true);
        return inFrame(hasRed);
    }));
}

TEST_F(WindowCaptureTest, StopReturnsWhileTheServerIsGrabbed) {
    open({.area = {20, 20, 100, 100}, .color = kGreen});
    const auto other = open({.area = {150, 20, 100, 100}, .color = kBlue});
    setExcluded(open({.area = kScreen, .color = kRed}), CAP_EXC_WND_ADD);
    startCapture(CAP_TYPE_DESKTOP);
    ASSERT_TRUE(eventually([&] { return frameHas(30, 30, kGreen); }));
    const ServerGrab grab(server().display());
    setExcluded(other, CAP_EXC_WND_ADD);  // which takes another picture than the one there is
    // Black frames tell that the capture has come upon the grab.
    ASSERT_TRUE(eventually([&] { return frameHas(30, 30, kBlack); }));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(CapMgr_StopCapture(capture_, 0));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(3200));
}

TEST_F(WindowCaptureTest, StartsAndStopsLeaveNothingBehind) {
    open({.area = {20, 20, 100, 100}, .color = kGreen});
    open({.area = {150, 20, 100, 100}, .color = kBlue});
    setExcluded(open({.area = kScreen, .color = kRed}), CAP_EXC_WND_ADD);
    const auto startAndStop = [&] {
        startCapture(CAP_TYPE_DESKTOP);
        ASSERT_TRUE(eventually([&] { return frameHas(30, 30, kGreen); }));
        ASSERT_TRUE(CapMgr_StopCapture(capture_, 0));
    };
    startAndStop();
    const ProcessResources before = ProcessResources::now();
    for (int i = 0; i < 30; ++i)
        startAndStop();
    // A thread that is about to end may have been counted in before; what stays would add up.
    EXPECT_TRUE(eventually([&] {
        const ProcessResources now = ProcessResources::now();
        return now.descriptors <= before.descriptors && now.imageMappings <= before.imageMappings;
    })) << testing::PrintToString(ProcessResources::now());
}

TEST_F(WindowCaptureTest, SharedWindowThatIsClosedLeavesBlackFrames) {
    const xcb_window_t shared = open({.area = {20, 20, 100, 100}, .color = kGreen});
    client().open({.area = {10, 10, 20, 20}, .color = kBlue, .parent = shared});
    open({.area = {0, 0, 320, 10}, .color = kRed});
    startCapture(CAP_TYPE_APP_WINDOW);
    CapMgr_SetSharedAppWnd(capture_, shared, CAP_APP_WND_SET);
    ASSERT_TRUE(eventually([&] { return frameHas(25, 25, kGreen); }));
    client().destroy(shared);
    client().sync();
    EXPECT_TRUE(eventually([&] { return frameHas(25, 25, kBlack); }));
    EXPECT_FALSE(frameShows(kRed));
}

}  // namespace
