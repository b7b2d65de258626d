/*
 * While the screen changes at random, the capture manager's frame is soon what a thread gets that
 * takes its first image, at the screen's own size and at another one.
 */
#include <CaptureManager.h>
#include <MonitorManager.h>
#include <gtest/gtest.h>
#include <kxcommon64.h>
#include <vqutilc.h>

#include <optional>
#include <ostream>

#include "screen_changes.h"
#include "steady_images.h"
#include "window_test.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kWidth = 480;
constexpr std::uint32_t kHeight = 320;

struct Setting {
    const char* name;
    unsigned seed;
    int changes;
    CAP_SIZE size = {kWidth, kHeight};
    bool leavesOutAWindow = false;
    std::vector<std::string> arguments = {};
};

void PrintTo(const Setting& setting, std::ostream* out) {
    *out << setting.name << ", seed " << setting.seed;
}

/* A copy of the newest frame; empty when there is none. */
Bytes newestFrame(unsigned capture) {
    const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(capture);
    if (data.pData == nullptr)
        return {};
    Bytes bytes(data.pData, data.pData + data.dwDataLen);
    CapMgr_UnlockScreenBuffer(capture);
    return bytes;
}

class UnchangedCaptureTest : public testing::TestWithParam<Setting> {
  protected:
    void SetUp() override {
        vq_set_trace_level(-1);
        useDisplay(server_.display());
        CapMgr_UpdateMonitor();
        changes_.emplace(server_.display(), GetParam().seed,
                         ScreenChanges::Scope{.drawsOnRoot = !GetParam().leavesOutAWindow,
                                              .resizesScreen = false});  // a capture keeps its size
        capture_ = CapMgr_GenerateCaptureIndex();
        CapMgr_SetCaptureFrameSize(capture_, GetParam().size);
        if (GetParam().leavesOutAWindow) {
            const std::uintptr_t number = changes_->lasting(0);
            CapMgr_SetExcludeWnd(capture_, reinterpret_cast<const void*>(number), CAP_EXC_WND_ADD);
        }
        ASSERT_EQ(CapMgr_StartCapture(capture_, CapMgr_GetPrimaryMonitorIndex(), CAP_METHOD_DEFAULT,
                                      CAP_TYPE_DESKTOP, 0, PARALLEL_CAPTURE_MODE),
                  0U);
        CapMgr_SetMaxFrameRate(capture_, 30);
        CapMgr_UpdateFrameRate(capture_, 30);
    }
    void TearDown() override {
        CapMgr_StopCapture(capture_, 1);
        CMonitorManager::DeleteInstance();
        vq_set_trace_level(0);
    }

    Image take() const {
        if (!GetParam().leavesOutAWindow)
            return imageOf(0, 0, kWidth, kHeight);
        Windows windows = windowsOnScreen();
        std::erase(windows, changes_->lasting(0));
        return imageOfWindows(changes_->screen(), windows);
    }

    /* The frame that a new thread's image makes. */
    Bytes expectedFrame() const {
        const Image image = freshImage([this] { return take(); });
        const CAP_SIZE size = GetParam().size;
        if (image == nullptr || (size.dwWidth == kWidth && size.dwHeight == kHeight))
            return image == nullptr ? Bytes() : bytesOf(image.get());
        const Bytes bytes = bytesOf(image.get());
        Bytes scaled(std::size_t{size.dwWidth} * size.dwHeight * 4);
        BilinearInterpolation(bytes.data(), kWidth, kHeight, scaled.data(),
                              static_cast<int>(size.dwWidth), static_cast<int>(size.dwHeight), 4);
        return scaled;
    }

    const XvfbServer server_{"480x320x24", GetParam().arguments};
    std::optional<ScreenChanges> changes_;
    unsigned capture_ = 0;
};

TEST_P(UnchangedCaptureTest, FrameIsSoonAFreshOneAfterAnyChange) {
    int visible = 0;
    Bytes before;
    for (int i = 0; i < GetParam().changes; ++i) {
        changes_->change();
        freshImage([this] { return take(); });  // has windows clear what they have to
        const Bytes expected = expectedFrame();
        ASSERT_FALSE(expected.empty());
        ASSERT_TRUE(eventually([&] { return newestFrame(capture_) == expected; }))
            << "after change " << i << ": " << changes_->lastChange();
        visible += expected == before ? 0 : 1;
        before = expected;
    }
    EXPECT_GT(visible, GetParam().changes / 8);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, UnchangedCaptureTest,
    testing::Values(
        Setting{"OwnSize", 301, 250}, Setting{"Scaled", 302, 100, {333, 217}},
        Setting{"Halved", 303, 50, {kWidth / 2, kHeight / 2}},
        Setting{"WithoutAWindow", 304, 100, {kWidth, kHeight}, true},
        Setting{"InReplies", 305, 50, {kWidth, kHeight}, false, {"-extension", "MIT-SHM"}},
        Setting{"WithoutDamage", 306, 100, {kWidth, kHeight}, false, {"-extension", "DAMAGE"}}),
    [](const auto& instance) { return instance.param.name; });

}  // namespace
