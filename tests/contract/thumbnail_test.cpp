// Pictures of whole displays at a chosen size, without a capture.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "MonitorManager.h"
#include "contract_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Messages = std::vector<Message>;

constexpr int kWidth = 160;
constexpr int kHeight = 90;
constexpr size_t kBytesPerPixel = 4;
constexpr unsigned char kUntouched = 0xEE;

class Thumbnail : public ContractTest {
  protected:
    static bool draw(unsigned int monitor, int width, int height, void* buffer) {
        return CMonitorManager::GetInstance()->GetScreenThumbnail(monitor, width, height, buffer);
    }

    // On a manager that is there already, so that only the call's own effects are recorded.
    static bool drawAlone(unsigned int monitor, int width, int height, void* buffer) {
        CMonitorManager::GetInstance();
        forgetEverything();
        return draw(monitor, width, height, buffer);
    }

    bool isUntouched() const {
        return buffer_ == std::vector<unsigned char>(buffer_.size(), kUntouched);
    }

    std::vector<unsigned char> buffer_ =
        std::vector<unsigned char>(kBytesPerPixel * (kWidth + 1) * (kHeight + 1), kUntouched);
};

Message size() {
    return information("CMonitorManager::GetMonitor..m_vec_monitor.size() = 1");
}

TEST_F(Thumbnail, showsTheWholeDisplayInPackedRows) {
    ASSERT_TRUE(draw(0, kWidth, kHeight, buffer_.data()));
    for (size_t y = 0; y < kHeight; ++y) {
        for (size_t x = 0; x < kWidth; ++x) {
            uint32_t pixel = 0;
            std::memcpy(&pixel, buffer_.data() + (y * kWidth + x) * kBytesPerPixel, sizeof pixel);
            ASSERT_EQ(pixel,
                      scripted::colourfulPixel(x * kMainWidth / kWidth, y * kMainHeight / kHeight))
                << x << ", " << y;
        }
    }
}

TEST_F(Thumbnail, writesNothingPastItsLastPixel) {
    ASSERT_TRUE(draw(0, kWidth, kHeight, buffer_.data()));
    const size_t end = kBytesPerPixel * kWidth * kHeight;
    EXPECT_EQ(std::vector<unsigned char>(buffer_.begin() + end, buffer_.end()),
              std::vector<unsigned char>(buffer_.size() - end, kUntouched));
}

TEST_F(Thumbnail, doesNotKeepTheDisplaysAspectRatio) {
    scripted::forgetCalls();
    ASSERT_TRUE(draw(0, 10, 80, buffer_.data()));
    EXPECT_THAT(scripted::callsOf({"CGContextDrawImage"}),
                ElementsAre("CGContextDrawImage(context#1, {0, 0, 10, 80}, image#1)"));
}

TEST_F(Thumbnail, asksThePlatformInOrderAndGivesTheContextBackBeforeTheImage) {
    ASSERT_TRUE(drawAlone(0, kWidth, kHeight, buffer_.data()));
    EXPECT_THAT(
        scripted::callsOf({"CGDisplayCreateImage", "CGImageGetBitsPerComponent",
                           "CGDisplayCopyDisplayMode", "CGDisplayModeRelease",
                           "CGImageGetColorSpace", "CGImageGetAlphaInfo", "CGBitmapContextCreate",
                           "CGContextDrawImage", "CGContextRelease", "CGImageRelease"}),
        ElementsAre("CGDisplayCreateImage(722) -> image#1", "CGImageGetBitsPerComponent(image#1)",
                    "CGDisplayCopyDisplayMode(722) -> mode#2", "CGDisplayModeRelease(mode#2)",
                    "CGImageGetColorSpace(image#1)", "CGImageGetAlphaInfo(image#1)",
                    "CGBitmapContextCreate(out, 160, 90, 8, 640, space#1, 8198) -> context#1",
                    "CGContextDrawImage(context#1, {0, 0, 160, 90}, image#1)",
                    "CGContextRelease(context#1)", "CGImageRelease(image#1)"));
}

TEST_F(Thumbnail, tracesNothingButTheMonitorCountWhenItIsDrawn) {
    ASSERT_TRUE(drawAlone(0, kWidth, kHeight, buffer_.data()));
    EXPECT_EQ(trace_recorder::messages(), Messages({size()}));
}

// The monitor's depth, not the image's, says how far apart rows are.
TEST_F(Thumbnail, aRowTakesTheMonitorsBytesForAPixel) {
    ASSERT_TRUE(draw(0, 160, 1, buffer_.data()));
    EXPECT_THAT(scripted::callsOf({"CGBitmapContextCreate"}),
                ElementsAre(testing::HasSubstr("(out, 160, 1, 8, 640, ")));
    scripted::change(kMain, [](scripted::Display& display) {
        display.mode->pixelEncoding = "-RRRRRGGGGGBBBBB";
    });
    scripted::forgetCalls();
    EXPECT_FALSE(draw(0, 160, 1, buffer_.data()));
    EXPECT_THAT(scripted::callsOf({"CGBitmapContextCreate"}),
                ElementsAre(testing::HasSubstr("(out, 160, 1, 8, 320, ")));
}

struct Refusal {
    const char* name;
    unsigned int monitor;
    int width;
    int height;
    bool hasBuffer;
    const char* text;
};

class RefusedThumbnail : public Thumbnail, public testing::WithParamInterface<Refusal> {};

TEST_P(RefusedThumbnail, tracesAnErrorBeforeAnyPlatformCall) {
    const Refusal& refusal = GetParam();
    EXPECT_FALSE(drawAlone(refusal.monitor, refusal.width, refusal.height,
                           refusal.hasBuffer ? buffer_.data() : nullptr));
    EXPECT_EQ(trace_recorder::messages(), Messages({size(), error(refusal.text)}));
    EXPECT_THAT(scripted::calls(), IsEmpty());
    EXPECT_TRUE(isUntouched());
}

constexpr char kNoMonitor[] =
    "CMonitorManager::GetScreenThumbnail... invalid param dwMonitorIndex!";
constexpr char kNoSize[] =
    "CMonitorManager::GetScreenThumbnail... invalid param dwWidth or dwHeight!";
constexpr char kNoBuffer[] = "CMonitorManager::GetScreenThumbnail... pBuffer is NULL!";

INSTANTIATE_TEST_SUITE_P(Arguments, RefusedThumbnail,
                         testing::Values(Refusal{"monitorAtTheCount", 1, 16, 9, true, kNoMonitor},
                                         Refusal{"monitorFarOff", ~0U, 16, 9, true, kNoMonitor},
                                         Refusal{"monitorGoesFirst", 1, 0, 0, false, kNoMonitor},
                                         Refusal{"widthOfZero", 0, 0, 9, true, kNoSize},
                                         Refusal{"heightOfZero", 0, 16, 0, true, kNoSize},
                                         Refusal{"sizeGoesBeforeBuffer", 0, 0, 9, false, kNoSize},
                                         Refusal{"noBuffer", 0, 16, 9, false, kNoBuffer}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(Thumbnail, isRefusedSilentlyWithoutAnImage) {
    scripted::fail("CGDisplayCreateImage");
    EXPECT_FALSE(drawAlone(0, kWidth, kHeight, buffer_.data()));
    EXPECT_EQ(trace_recorder::messages(), Messages({size()}));
    EXPECT_TRUE(isUntouched());
}

TEST_F(Thumbnail, ofAVirtualMonitorIsRefusedSilently) {
    CMonitorManager::GetInstance()->CreateMonitor(64, 48, 32);
    forgetEverything();
    EXPECT_FALSE(draw(1, 16, 9, buffer_.data()));
    EXPECT_EQ(trace_recorder::messages(),
              Messages({information("CMonitorManager::GetMonitor..m_vec_monitor.size() = 2")}));
    EXPECT_THAT(scripted::callsOf({"CGDisplayCreateImage"}),
                ElementsAre("CGDisplayCreateImage(0)"));
}

TEST_F(Thumbnail, releasesTheImageBeforeItTellsThatThereIsNoContext) {
    scripted::fail("CGBitmapContextCreate");
    Messages told;
    scripted::whenCalled("CGImageRelease", [&] { told = trace_recorder::messages(); });
    EXPECT_FALSE(drawAlone(0, kWidth, kHeight, buffer_.data()));
    EXPECT_EQ(trace_recorder::messages(),
              Messages({size(), error("CMonitorManager::GetScreenThumbnail... "
                                      "CGBitmapContextCreate failed!")}));
    EXPECT_EQ(told, Messages({size()}));
    EXPECT_THAT(scripted::callsOf({"CGContextDrawImage", "CGImageRelease", "CGContextRelease"}),
                ElementsAre("CGImageRelease(image#1)"));
    EXPECT_TRUE(isUntouched());
}

// Only zero is refused by the library; what a negative size means is the platform's business.
TEST_F(Thumbnail, aNegativeSizeIsHandedToThePlatformSignExtended) {
    EXPECT_FALSE(draw(0, -160, -90, buffer_.data()));
    EXPECT_THAT(scripted::callsOf({"CGBitmapContextCreate"}),
                ElementsAre("CGBitmapContextCreate(out, -160, -90, 8, 4294966656, space#1, 8198)"));
    EXPECT_TRUE(isUntouched());
}

TEST_F(Thumbnail, isInPixelsOnAScaledDisplay) {
    scripted::setScale(kMain, 2);
    ASSERT_TRUE(draw(0, kWidth, kHeight, buffer_.data()));
    uint32_t last = 0;
    std::memcpy(&last, buffer_.data() + (kWidth * kHeight - 1) * kBytesPerPixel, sizeof last);
    EXPECT_EQ(last, scripted::colourfulPixel((kWidth - 1) * 2 * kMainWidth / kWidth,
                                             (kHeight - 1) * 2 * kMainHeight / kHeight));
}

}  // namespace
