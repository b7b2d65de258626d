// The library on a system that lacks the calls that make images, as a later macOS may: it loads,
// and there is no image.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <vector>

#include "CaptureMac.h"
#include "Monitor.h"
#include "MonitorManager.h"
#include "scripted_platform.h"

namespace {

constexpr uint32_t kMain = 722;

class MissingImageCalls : public testing::Test {
  protected:
    void SetUp() override {
        scripted::reset();
        scripted::plugIn(scripted::makeDisplay(kMain, 0, 0, 40, 30));
        scripted::showWindows({31, 7});
    }

    void TearDown() override {
        CMonitorManager::DeleteInstance();
        EXPECT_EQ(scripted::faults(), std::vector<std::string>());
        EXPECT_EQ(scripted::leaks(), std::vector<std::string>());
    }
};

TEST_F(MissingImageCalls, areMissing) {
    for (const char* const call :
         {"CGDisplayCreateImage", "CGWindowListCreateImage", "CGWindowListCreateImageFromArray"}) {
        EXPECT_EQ(dlsym(RTLD_DEFAULT, call), nullptr) << call;
    }
}

TEST_F(MissingImageCalls, letNoCaptureBegin) {
    const CMonitor monitor(kMain, 0);
    CCaptureMac capture(&monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP);
    EXPECT_FALSE(capture.Init());
    capture.UnInit();
}

// A frame without an image is a black one, which counts as captured.
TEST_F(MissingImageCalls, leaveFramesBlack) {
    const CMonitor monitor(kMain, 0);
    CCaptureMac desktop(&monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP);
    EXPECT_TRUE(desktop.DoCapture());
    desktop.SetExcludeWnd(reinterpret_cast<const void*>(uintptr_t{7}), CAP_EXC_WND_ADD);
    EXPECT_TRUE(desktop.DoCapture());
    CCaptureMac window(&monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW);
    window.SetSharedAppWnd(7, CAP_APP_WND_SET);
    EXPECT_TRUE(window.DoCapture());
}

TEST_F(MissingImageCalls, makeNoThumbnail) {
    std::vector<unsigned char> pixels(4 * 3 * 4, 0x77);
    EXPECT_FALSE(CMonitorManager::GetInstance()->GetScreenThumbnail(0, 4, 3, pixels.data()));
    EXPECT_EQ(pixels, std::vector<unsigned char>(pixels.size(), 0x77));
}

}  // namespace
