// Monitors, captures and scalers of hostile values, and the bitmap writer.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include "CaptureMac.h"
#include "CaptureScaling.h"
#include "hostile_call.h"
#include "scripted_capture.h"

namespace {

struct MonitorSize {
    int width;
    int height;
};

class HostileMonitor : public HostileTest, public testing::WithParamInterface<MonitorSize> {};

TEST_P(HostileMonitor, CMonitor_CMonitor) {
    const CMonitor monitor(UINT_MAX, GetParam().width, GetParam().height, UINT_MAX);
    EXPECT_EQ(monitor.GetIndex(), UINT_MAX);
    EXPECT_EQ(monitor.GetBitsPerPixel(), 0U);
    EXPECT_EQ(CMonitor(UINT_MAX, UINT_MAX).GetPixelWidth(), 0U);  // of no such display
}

TEST_P(HostileMonitor, CMonitor_GetMonitorRect) {
    const CMonitor monitor(0, GetParam().width, GetParam().height, 0);
    tagCaptureRect rect = {INT_MIN, INT_MIN, INT_MAX, INT_MAX};
    monitor.GetMonitorRect(rect);
    EXPECT_EQ(rect.left, 0);
    EXPECT_EQ(rect.right, GetParam().width);
    EXPECT_EQ(rect.bottom, GetParam().height);
}

TEST_P(HostileMonitor, CCaptureBase_CCaptureBase) {
    const CMonitor monitor(UINT_MAX, GetParam().width, GetParam().height, UINT_MAX);
    ScriptedCapture capture(monitor, static_cast<CAP_METHOD>(INT_MIN),
                            static_cast<CAP_TYPE>(INT_MIN));
    EXPECT_EQ(capture.GetMonitorIndex(), UINT_MAX);
    EXPECT_EQ(capture.GetCapMethod(), INT_MIN);
    EXPECT_FALSE(capture.SetFrameSize({UINT_MAX, UINT_MAX}));
}

TEST_P(HostileMonitor, CCaptureMac_CCaptureMac) {
    const CMonitor monitor(UINT_MAX, GetParam().width, GetParam().height, UINT_MAX);
    CCaptureMac capture(&monitor, static_cast<CAP_METHOD>(INT_MAX), static_cast<CAP_TYPE>(INT_MAX));
    EXPECT_FALSE(capture.Init());
    EXPECT_TRUE(capture.DoCapture());  // of an unknown type, and of nothing
    capture.ChangeBmpDataTo4BytesAligned();
    EXPECT_EQ(capture.LockBuffer().pData, nullptr);
    capture.UnInit();
}

INSTANTIATE_TEST_SUITE_P(Sizes, HostileMonitor,
                         testing::Values(MonitorSize{0, 0}, MonitorSize{-1, -1},
                                         MonitorSize{INT_MIN, 1}, MonitorSize{INT_MIN, INT_MIN},
                                         MonitorSize{INT_MIN, INT_MAX}, MonitorSize{INT_MAX, 1},
                                         MonitorSize{65536, 16384}, MonitorSize{INT_MAX, INT_MAX}));

// A scaler between the two sizes, given a pitch that is no source of that width.
struct Scaling {
    CAP_SIZE source;
    CAP_SIZE target;
    uint32_t pitch;
};

class VisibleScaling : public CCaptureScaling {
  public:
    using CCaptureScaling::RunScalingAlg;
};

class HostileScaling : public HostileTest, public testing::WithParamInterface<Scaling> {
  protected:
    void TearDown() override {
        EXPECT_EQ(pixel_, kUntouched);
        EXPECT_TRUE(scaling_.Initialize({1, 1}, {1, 1}));
        EXPECT_TRUE(scaling_.Resize(kWhite.data(), 4, pixel_.data()));
        EXPECT_EQ(pixel_, kWhite);
        HostileTest::TearDown();
    }

    using Pixel = std::array<unsigned char, 4>;
    static constexpr Pixel kUntouched = {1, 2, 3, 4};
    static constexpr Pixel kWhite = {255, 255, 255, 255};

    VisibleScaling scaling_;
    Pixel pixel_ = kUntouched;
};

TEST_P(HostileScaling, CCaptureScaling_Initialize) {
    EXPECT_TRUE(scaling_.Initialize(GetParam().source, GetParam().target));
    EXPECT_EQ(scaling_.GetCapFrameSize().dwWidth, GetParam().target.dwWidth);
    EXPECT_EQ(scaling_.GetCapFrameSize().dwHeight, GetParam().target.dwHeight);
}

TEST_P(HostileScaling, CCaptureScaling_Resize) {
    scaling_.Initialize(GetParam().source, GetParam().target);
    scaling_.Resize(kWhite.data(), GetParam().pitch, pixel_.data());
    EXPECT_FALSE(scaling_.Resize(nullptr, GetParam().pitch, pixel_.data()));
    EXPECT_FALSE(scaling_.Resize(kWhite.data(), GetParam().pitch, nullptr));
}

TEST_P(HostileScaling, CCaptureScaling_CopyData) {
    const auto& [source, target, pitch] = GetParam();
    scaling_.CopyData(nullptr, pitch, source.dwHeight, pixel_.data(), source);
    scaling_.CopyData(kWhite.data(), pitch, source.dwHeight, nullptr, source);
    scaling_.CopyData(nullptr, 16, 3, pixel_.data(), {2, 2});
    scaling_.CopyData(kWhite.data(), 16, 3, nullptr, {2, 2});
}

TEST_P(HostileScaling, CCaptureScaling_RunScalingAlg) {
    scaling_.Initialize(GetParam().source, GetParam().target);
    for (const int32_t algorithm : {INT_MIN, -1, 5, INT_MAX}) {
        scaling_.RunScalingAlg(algorithm, nullptr, GetParam().pitch, nullptr);
    }
    for (const int32_t algorithm : {0, 1, 2, 3, 4}) {
        scaling_.RunScalingAlg(algorithm, nullptr, GetParam().pitch, pixel_.data());
        scaling_.RunScalingAlg(algorithm, kWhite.data(), GetParam().pitch, nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, HostileScaling,
    testing::Values(Scaling{{1, 1}, {1, 1}, 0}, Scaling{{1, 1}, {1, 1}, 3},
                    Scaling{{0, 0}, {0, 0}, 4}, Scaling{{0, 0}, {1, 1}, 4},
                    Scaling{{1, 1}, {0, 1}, 4}, Scaling{{1, 1}, {1, 0}, 4},
                    Scaling{{0x40000000, 1}, {0x40000000, 1}, 4},
                    Scaling{{0x40000001, 1}, {0x40000001, 1}, UINT_MAX},
                    Scaling{{UINT_MAX, UINT_MAX}, {UINT_MAX, UINT_MAX}, UINT_MAX},
                    Scaling{{1, UINT_MAX}, {1, 1}, 4}, Scaling{{1, 1}, {UINT_MAX, 1}, 4},
                    Scaling{{1, 1}, {1, INT_MAX + 1U}, 4}));

TEST(HostileBitmap, SaveBmp) {
    unsigned char pixel[4] = {};
    char empty[] = "";
    char folder[] = "/";
    for (char* const path : {static_cast<char*>(nullptr), empty, folder}) {
        SaveBmp(path, pixel, 1, 1, 32);
        SaveBmp(path, nullptr, INT_MIN, INT_MIN, UINT16_MAX);
        SaveBmp(path, pixel, INT_MAX, INT_MAX, 0);
    }
}

// Of sizes that no bitmap has nothing is written.
TEST(HostileBitmap, isNotWrittenOfASizeThatIsNone) {
    std::string path = testing::TempDir() + "hostile_" + std::to_string(getpid()) + ".bmp";
    unsigned char pixel[4] = {};
    struct Size {
        int width;
        int height;
    };
    for (const auto& [width, height] :
         {Size{-1, 1}, Size{1, -1}, Size{INT_MIN, 1}, Size{65536, 16384}, Size{INT_MAX, INT_MAX}}) {
        SaveBmp(path.data(), pixel, width, height, 32);
        EXPECT_FALSE(std::filesystem::exists(path)) << width << " x " << height;
        std::filesystem::remove(path);
    }
}

}  // namespace
