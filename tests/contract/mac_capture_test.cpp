// CCaptureMac: frames through CoreGraphics.
#include "mac_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Construction, Init and UnInit.

TEST_F(MacCapture, asksForTheDisplaysSizeInPointsWhenItIsMade) {
    const CMonitor monitor(kMain, 0);
    forgetEverything();
    capture_.emplace(&monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP);
    EXPECT_THAT(
        platformCalls(),
        ElementsAre("CGDisplayCopyDisplayMode(722) -> mode#2", "CGDisplayModeGetWidth(mode#2)",
                    "CGDisplayModeRelease(mode#2)", "CGDisplayCopyDisplayMode(722) -> mode#3",
                    "CGDisplayModeGetHeight(mode#3)", "CGDisplayModeRelease(mode#3)"));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information(" CMonitor::GetMonitorRect rect.left = -161, rect.top = "
                                        "-45, rect.right = 0, rect.bottom = 46")));
}

TEST_F(MacCapture, readsTheImageThenReleasesItInInit) {
    EXPECT_TRUE(make().Init());
    EXPECT_THAT(platformCalls(),
                ElementsAre("CGDisplayCreateImage(722) -> image#1", "CGImageGetWidth(image#1)",
                            "CGImageGetHeight(image#1)", "CGImageGetBitsPerPixel(image#1)",
                            "CGImageGetBytesPerRow(image#1)", "CGImageGetBitsPerComponent(image#1)",
                            "CGImageRelease(image#1)"));
}

TEST_F(MacCapture, releasesTheImageBeforeItAsksForABufferInInit) {
    make();
    std::vector<Message> told;
    scripted::whenCalled("CGImageRelease", [&] { told = trace_recorder::messages(); });
    EXPECT_TRUE(capture_->Init());
    EXPECT_THAT(told, ElementsAre(information("CCaptureMac::Init()... Begin")));
}

TEST_F(MacCapture, releasesTheImageBeforeItTellsOfTheEndOfAFrame) {
    initialised();
    std::vector<Message> told;
    scripted::whenCalled("CGImageRelease", [&] { told = trace_recorder::messages(); });
    EXPECT_TRUE(capture_->DoCapture());
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), eachFrame("CCaptureMac::DoCapture ready to lock."));
}

TEST_F(MacCapture, asksForNothingMoreWithoutAnImageInInit) {
    make();
    scripted::fail("CGDisplayCreateImage");
    EXPECT_FALSE(capture_->Init());
    EXPECT_THAT(platformCalls(), ElementsAre("CGDisplayCreateImage(722)"));
    EXPECT_EQ(capture_->m_lpBuffer, nullptr);
    EXPECT_EQ(capture_->m_nBytesPerRow, 0U);
}

TEST_F(MacCapture, asksForNothingInUnInit) {
    initialised();
    capture_->UnInit();
    EXPECT_THAT(scripted::calls(), IsEmpty());
}

TEST_F(MacCapture, measuresTheDisplaysImage) {
    EXPECT_TRUE(make().Init());
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CCaptureMac::Init()... Begin"),
                    bufferMessage(2, "CCaptureBase::AllocBuffer..dwSize = 58604, m_nbufSize = 0"),
                    information("CCaptureBase::AllocBuffer [Mem] m_lpBuffer dwSize = 58604, "
                                "m_lpBuffer =<pointer>"),
                    information("CCaptureMac::Init()... End  bufsize:58604 width161 height91 "
                                "bitcount32 bytesperrow656 bitspercomponent8")));
    EXPECT_THAT(scripted::calls().front().text, "CGDisplayCreateImage(722) -> image#1");
    EXPECT_THAT(scripted::calls().back().text, "CGImageRelease(image#1)");
}

TEST_F(MacCapture, doesNotInitialiseWithoutAnImage) {
    make();
    scripted::fail("CGDisplayCreateImage");
    EXPECT_FALSE(capture_->Init());
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureMac::Init()... Begin")));
}

TEST_F(MacCapture, asksForABufferOfTheWholeImage) {
    scripted::resize(kMain, 1440, 900);
    scripted::setScale(kMain, 2);
    EXPECT_TRUE(make().Init());
    EXPECT_EQ(capture_->m_nbufSize, 20736000U);
}

TEST_F(MacCapture, mayBeUninitialisedTwice) {
    initialised();
    capture_->UnInit();
    capture_->UnInit();
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureMac::UnInit()... Begin"),
                            information("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>"),
                            information("CCaptureMac::UnInit()... End!"),
                            information("CCaptureMac::UnInit()... Begin"),
                            information("CCaptureMac::UnInit()... End!")));
}

TEST_F(MacCapture, isOfTypeFour) {
    EXPECT_EQ(make().GetCaptureType(), 4);
}

// What Init makes of an image that does not answer.

struct SilentImage {
    const char* function;
    uint32_t bufferSize;
    const char* end;  // of the last message
};

class InitOfSilentImage : public MacCapture, public testing::WithParamInterface<SilentImage> {};

TEST_P(InitOfSilentImage, goesOnWithZero) {
    make();
    scripted::fail(GetParam().function);
    EXPECT_TRUE(capture_->Init());
    EXPECT_EQ(capture_->m_nbufSize, GetParam().bufferSize);
    EXPECT_EQ(trace_recorder::messages().back(),
              information(std::string("CCaptureMac::Init()... End  bufsize:") + GetParam().end));
    EXPECT_THAT(scripted::leaks(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Functions, InitOfSilentImage,
    testing::Values(
        SilentImage{"CGImageGetWidth", 0,
                    "0 width0 height91 bitcount32 bytesperrow656 bitspercomponent8"},
        SilentImage{"CGImageGetHeight", 0,
                    "0 width161 height0 bitcount32 bytesperrow656 bitspercomponent8"},
        SilentImage{"CGImageGetBitsPerPixel", 58604,
                    "58604 width161 height91 bitcount0 bytesperrow656 bitspercomponent8"},
        SilentImage{"CGImageGetBytesPerRow", 58604,
                    "58604 width161 height91 bitcount32 bytesperrow0 bitspercomponent8"},
        SilentImage{"CGImageGetBitsPerComponent", 58604,
                    "58604 width161 height91 bitcount32 bytesperrow656 bitspercomponent0"}),
    [](const auto& instance) { return std::string(instance.param.function); });

// The desktop.

TEST_F(MacCapture, deliversTheDesktop) {
    initialised();
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_EQ(buffer(), picture());
    auto expected = frameMessages();
    expected.push_back(eachFrame("CCaptureMac::DoCapture ready to lock."));
    expected.push_back(eachFrame("CCaptureMac::DoCapture()... End!"));
    EXPECT_EQ(trace_recorder::messages(), expected);
}

TEST_F(MacCapture, dropsThePaddingOfRows) {
    scripted::change(kMain, [](scripted::Display& display) { display.rowPadding = 64; });
    initialised();
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_EQ(buffer(), picture());
}

TEST_F(MacCapture, capturesAScaledDisplayFromTheGlobalOrigin) {
    scripted::moveTo(kMain, 0, 0);
    scripted::setScale(kMain, 2);
    initialised();
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_EQ(buffer(), picture(2 * kMainWidth, 2 * kMainHeight));
    EXPECT_THAT(scripted::callsOf({"CGWindowListCreateImage"}),
                ElementsAre("CGWindowListCreateImage({0, 0, 161, 91}, 1, 0, 0) -> image#2"));
}

TEST_F(MacCapture, capturesAScaledDisplayElsewhereFromTheGlobalOriginAsWell) {
    scripted::moveTo(kMain, 1440, 0);
    scripted::setScale(kMain, 2);
    initialised();
    capture_->DoCapture();
    EXPECT_EQ(scripted::countCalls("CGWindowListCreateImage"), 1U);
    EXPECT_THAT(scripted::callsOf({"CGWindowListCreateImage"}).front(),
                testing::StartsWith("CGWindowListCreateImage({0, 0, 161, 91}, 1, 0, 0)"));
}

// Failures.

TEST_F(MacCapture, isBlackWithoutAnImage) {
    initialised();
    scripted::fail("CGWindowListCreateImage");
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_TRUE(bufferIsAll(0));
    auto expected = frameMessages();
    expected.push_back(error("CCaptureMac::DoCapture()... imageRef is null!"));
    expected.push_back(eachFrame("CCaptureMac::DoCapture()... End!"));
    EXPECT_EQ(trace_recorder::messages(), expected);
}

TEST_F(MacCapture, succeedsWithoutImageAndBuffer) {
    initialised();
    capture_->UnInit();
    scripted::fail("CGWindowListCreateImage");
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_THAT(trace_recorder::messagesOfLevel(0),
                ElementsAre(error("CCaptureMac::DoCapture()... imageRef is null!")));
}

TEST_F(MacCapture, failsAndClearsWhenTheResolutionChanged) {
    scripted::moveTo(kMain, -1920, 30);
    scripted::resize(kMain, 1920, 1080);
    initialised();
    scripted::resize(kMain, 1280, 720);
    EXPECT_FALSE(capture_->DoCapture());
    EXPECT_TRUE(bufferIsAll(0));
    auto expected = frameMessages();
    expected.push_back(
        error("CCaptureMac::CaptureScreen()... Resolution changed! 1280 720 -1920 "
              "30 0 1110"));
    EXPECT_EQ(trace_recorder::messages(), expected);
}

struct ImageSize {
    size_t width;
    size_t height;
};

class OtherImageSize : public MacCapture, public testing::WithParamInterface<ImageSize> {};

TEST_P(OtherImageSize, isAChangedResolution) {
    initialised();
    scripted::presentImagesOf(GetParam().width, GetParam().height);
    EXPECT_FALSE(capture_->DoCapture());
    EXPECT_EQ(scripted::countCalls("CGDataProviderCopyData"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Sizes, OtherImageSize,
                         testing::Values(ImageSize{160, 91}, ImageSize{162, 91}, ImageSize{161, 90},
                                         ImageSize{161, 92}, ImageSize{91, 161}));

TEST_F(MacCapture, keepsItsSizesWhenTheResolutionChanged) {
    initialised();
    scripted::presentImagesOf(10, 10);
    capture_->DoCapture();
    scripted::presentImagesOf(kMainWidth, kMainHeight);
    EXPECT_TRUE(capture_->DoCapture());
}

TEST_F(MacCapture, holdsBackAUniformFrame) {
    initialised();
    scripted::change(kMain, [](scripted::Display& display) {
        display.rowPadding = 0;
        display.pixel = [](size_t, size_t) { return 0xFF102030U; };
    });
    EXPECT_FALSE(capture_->DoCapture());
    EXPECT_TRUE(bufferIsAll(kOldByte));
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), IsEmpty());
    EXPECT_EQ(trace_recorder::count("[KXSS]CCaptureMac::DoCapture()... End!"), 0U);
    EXPECT_THAT(scripted::leaks(), IsEmpty());
}

TEST_F(MacCapture, tracesItsDestruction) {
    make();
    capture_.reset();
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureMac::~CCaptureMac()... Begin"),
                            information("CCaptureMac::~CCaptureMac()... End")));
}

TEST_F(MacCapture, freesItsFrameBufferWhenDestroyedInitialised) {
    scripted::change(kMain, [](scripted::Display& display) { display.rowPadding = 0; });
    initialised();
    capture_.reset();
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CCaptureMac::~CCaptureMac()... Begin"),
                    information("CCaptureMac::~CCaptureMac()... End"),
                    information("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>")));
}

}  // namespace
