// CCaptureMac: every call of the platform and every message, in order, of DoCapture.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "mac_capture.h"

namespace {

using testing::IsEmpty;

using Texts = std::vector<std::string>;

enum class Content { Old, Black, Picture };

struct Frame {
    const char* name;
    int type = CAP_TYPE_DESKTOP;
    std::vector<uintptr_t> excluded = {};
    unsigned int shared = 0;
    std::function<void()> arrange = [] {};

    bool result = true;
    Content content = Content::Picture;
    std::vector<Message> messages = {};  // after the first three
    Texts calls = {};
};

// For a failing test: its bytes say nothing.
void PrintTo(const Frame& frame, std::ostream* out) {
    *out << frame.name;
}

class MacFrame : public MacCapture, public testing::WithParamInterface<Frame> {
  protected:
    void arrange() {
        scripted::showWindows({31, 7, 52, 7000, 18});
        initialised(GetParam().type);
        for (const uintptr_t number : GetParam().excluded) {
            capture_->SetExcludeWnd(window(number), CAP_EXC_WND_ADD);
        }
        capture_->SetSharedAppWnd(GetParam().shared, CAP_APP_WND_SET);
        GetParam().arrange();
        forgetEverything();
    }

    // All messages; what comes between the second and the third is wrong with the choice of
    // windows.
    static std::vector<Message> expectedMessages() {
        std::vector<Message> messages = frameMessages(GetParam().excluded.empty());
        if (GetParam().type == CAP_TYPE_APP_WINDOW && GetParam().shared == 0) {
            messages.insert(
                messages.end() - 1,
                error("CCaptureMac::DoCapture()... Invalid Param m_nWndCaptureID is null !"));
        }
        messages.insert(messages.end(), GetParam().messages.begin(), GetParam().messages.end());
        return messages;
    }

    static bool hasImage() {
        const auto texts = trace_recorder::rawTexts();
        return std::find(texts.begin(), texts.end(),
                         "[KXSS]CCaptureMac::DoCapture imageRef: 0x0") == texts.end();
    }
};

TEST_P(MacFrame, isTheWholeSequence) {
    arrange();
    EXPECT_EQ(capture_->DoCapture(), GetParam().result);
    EXPECT_EQ(trace_recorder::messages(), expectedMessages());
    EXPECT_EQ(platformCalls(), GetParam().calls);
    switch (GetParam().content) {
        case Content::Old:
            EXPECT_TRUE(bufferIsAll(kOldByte));
            break;
        case Content::Black:
            EXPECT_TRUE(bufferIsAll(0));
            break;
        case Content::Picture:
            EXPECT_EQ(buffer(), picture());
    }
    EXPECT_EQ(hasImage(), trace_recorder::count("[KXSC] CCaptureMac::DoCapture()... imageRef is "
                                                "null!") == 0);
    EXPECT_THAT(scripted::leaks(), IsEmpty());
}

std::function<void()> failing(const char* function) {
    return [function] { scripted::fail(function); };
}

void showOneColour() {
    scripted::change(722, [](scripted::Display& display) {
        display.rowPadding = 0;
        display.pixel = [](size_t, size_t) { return 0xFF102030U; };
    });
}

const Message kNoImage = error("CCaptureMac::DoCapture()... imageRef is null!");
const Message kReady = eachFrame("CCaptureMac::DoCapture ready to lock.");
const Message kEnd = eachFrame("CCaptureMac::DoCapture()... End!");
const std::vector<Message> kDelivered = {kReady, kEnd};
const std::vector<Message> kBlack = {kNoImage, kEnd};

Texts operator+(Texts first, const Texts& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const Texts kDesktop = {"CGWindowListCreateImage({-161, -45, 161, 91}, 1, 0, 0) -> image#2"};
const Texts kWindow = {"CGWindowListCreateImage({-161, -45, 161, 91}, 8, 52, 0) -> image#2"};
const Texts kSize = {"CGImageGetWidth(image#2)", "CGImageGetHeight(image#2)"};
const Texts kNoData = {"CGImageGetDataProvider(image#2)", "CGDataProviderCopyData(provider#2)"};
const Texts kNoBytes = {"CGImageGetDataProvider(image#2)",
                        "CGDataProviderCopyData(provider#2) -> data#1", "CFDataGetBytePtr(data#1)",
                        "CFRelease(data#1)"};
const Texts kData = {"CGImageGetDataProvider(image#2)",
                     "CGDataProviderCopyData(provider#2) -> data#1", "CFDataGetBytePtr(data#1)",
                     "CFDataGetLength(data#1)", "CFRelease(data#1)"};
const Texts kRelease = {"CGImageRelease(image#2)"};
const Texts kDelivery = kSize + kData + kRelease;

const Texts kList = {"CGWindowListCreate(1, 0) -> array#3"};
const Texts kCopy = {"CFArrayCreateMutableCopy(0, array#3) -> array#4", "CFArrayGetCount(array#4)"};
const Texts kReleaseLists = {"CFRelease(array#4)", "CFRelease(array#3)"};

std::string value(int index) {
    return "CFArrayGetValueAtIndex(array#4, " + std::to_string(index) + ")";
}
std::string removal(int index) {
    return "CFArrayRemoveValueAtIndex(array#4, " + std::to_string(index) + ")";
}
Texts imageOf(const std::string& windows) {
    return {"CGWindowListCreateImageFromArray({-161, -45, 161, 91}, \"[" + windows +
            "]\", 0) -> image#2"};
}

// Windows 31, 7, 52, 7000, 18 are on screen.
const Texts kWalkAll = {value(4), value(3), value(2), value(1), value(0)};
const Texts kWithoutThree = {value(4),   removal(4), value(3), value(2),
                             removal(2), value(1),   value(0), removal(0)};

std::string frameName(const testing::TestParamInfo<Frame>& instance) {
    return instance.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Desktop, MacFrame,
    testing::Values(
        Frame{.name = "delivered", .messages = kDelivered, .calls = kDesktop + kDelivery},
        Frame{.name = "withoutAnImage",
              .arrange = failing("CGWindowListCreateImage"),
              .content = Content::Black,
              .messages = kBlack,
              .calls = {"CGWindowListCreateImage({-161, -45, 161, 91}, 1, 0, 0)"}},
        Frame{.name = "ofAnotherSize",
              .arrange = [] { scripted::presentImagesOf(40, 30); },
              .result = false,
              .content = Content::Black,
              .messages = {error("CCaptureMac::CaptureScreen()... Resolution changed! 40 30 -161 "
                                 "-45 0 46")},
              .calls = kDesktop + kSize + kRelease},
        Frame{.name = "withoutAWidth",
              .arrange = failing("CGImageGetWidth"),
              .result = false,
              .content = Content::Black,
              .messages = {error("CCaptureMac::CaptureScreen()... Resolution changed! 0 91 -161 "
                                 "-45 0 46")},
              .calls = kDesktop + kSize + kRelease},
        Frame{.name = "withoutAHeight",
              .arrange = failing("CGImageGetHeight"),
              .result = false,
              .content = Content::Black,
              .messages = {error("CCaptureMac::CaptureScreen()... Resolution changed! 161 0 -161 "
                                 "-45 0 46")},
              .calls = kDesktop + kSize + kRelease},
        Frame{.name = "withoutADataProvider",
              .arrange = failing("CGImageGetDataProvider"),
              .result = false,
              .content = Content::Old,
              .messages = {error("CCaptureMac::CaptureScreen()... dataref is NULL!")},
              .calls = kDesktop + kSize +
                       Texts{"CGImageGetDataProvider(image#2)", "CGDataProviderCopyData(null)"} +
                       kRelease},
        Frame{.name = "withoutData",
              .arrange = failing("CGDataProviderCopyData"),
              .result = false,
              .content = Content::Old,
              .messages = {error("CCaptureMac::CaptureScreen()... dataref is NULL!")},
              .calls = kDesktop + kSize + kNoData + kRelease},
        Frame{.name = "withoutBytes",
              .arrange = failing("CFDataGetBytePtr"),
              .result = false,
              .content = Content::Old,
              .messages = {error("CCaptureMac::CaptureScreen()... data is NULL!")},
              .calls = kDesktop + kSize + kNoBytes + kRelease},
        Frame{
            .name = "withRowsOfAnotherPitch",
            .arrange = [] { scripted::change(722, [](auto& display) { display.rowPadding = 8; }); },
            .result = false,
            .content = Content::Old,
            .messages = {kReady, error("CCaptureMac::CaptureScreen()... data does not fit! 161 91 "
                                       "656 59332")},
            .calls = kDesktop + kDelivery},
        Frame{.name = "ofOneColour",
              .arrange = showOneColour,
              .result = false,
              .content = Content::Old,
              .messages = {kReady,
                           framePath(1,
                                     "CCaptureBase::CheckARGBData nSkipCaptureFrame=1, "
                                     "rgb=1056816, width=161, height=91, dwFrameID=0, "
                                     "pixel_ratio=0, ratio=36, skipFrameTick=0, currentTick=5000",
                                     1)},
              .calls = kDesktop + kDelivery}),
    frameName);

INSTANTIATE_TEST_SUITE_P(
    WithoutWindows, MacFrame,
    testing::Values(Frame{.name = "delivered",
                          .excluded = {52, 18, 31, 99},
                          .messages = kDelivered,
                          .calls = kList + kCopy + kWithoutThree + imageOf("7 7000") +
                                   kReleaseLists + kDelivery},
                    Frame{.name = "notOnScreen",
                          .excluded = {99},
                          .messages = kDelivered,
                          .calls = kList + kCopy + kWalkAll + imageOf("31 7 52 7000 18") +
                                   kReleaseLists + kDelivery},
                    Frame{.name = "ofAnEmptyScreen",
                          .excluded = {99},
                          .arrange = [] { scripted::showWindows({}); },
                          .messages = kDelivered,
                          .calls = kList + kCopy + imageOf("") + kReleaseLists + kDelivery},
                    Frame{.name = "withoutAList",
                          .excluded = {7},
                          .arrange = failing("CGWindowListCreate"),
                          .content = Content::Black,
                          .messages = kBlack,
                          .calls = {"CGWindowListCreate(1, 0)"}},
                    Frame{.name = "withoutACopy",
                          .excluded = {7},
                          .arrange = failing("CFArrayCreateMutableCopy"),
                          .content = Content::Black,
                          .messages = kBlack,
                          .calls = kList + Texts{"CFArrayCreateMutableCopy(0, array#3)",
                                                 "CFRelease(array#3)"}},
                    Frame{.name = "withoutAnImage",
                          .excluded = {99},
                          .arrange = failing("CGWindowListCreateImageFromArray"),
                          .content = Content::Black,
                          .messages = kBlack,
                          .calls = kList + kCopy + kWalkAll +
                                   Texts{"CGWindowListCreateImageFromArray({-161, -45, 161, 91}, "
                                         "\"[31 7 52 7000 18]\", 0)"} +
                                   kReleaseLists},
                    Frame{.name = "withoutData",
                          .excluded = {99},
                          .arrange = failing("CGDataProviderCopyData"),
                          .result = false,
                          .content = Content::Old,
                          .messages = {error("CCaptureMac::CaptureScreen()... dataref is NULL!")},
                          .calls = kList + kCopy + kWalkAll + imageOf("31 7 52 7000 18") +
                                   kReleaseLists + kSize + kNoData + kRelease}),
    frameName);

INSTANTIATE_TEST_SUITE_P(
    OfAWindow, MacFrame,
    testing::Values(Frame{.name = "delivered",
                          .type = CAP_TYPE_APP_WINDOW,
                          .shared = 52,
                          .messages = kDelivered,
                          .calls = kWindow + kDelivery},
                    Frame{.name = "alsoWhenItIsExcluded",
                          .type = CAP_TYPE_APP_WINDOW,
                          .excluded = {52},
                          .shared = 52,
                          .messages = kDelivered,
                          .calls = kWindow + kDelivery},
                    Frame{.name = "withoutAWindow",
                          .type = CAP_TYPE_APP_WINDOW,
                          .content = Content::Black,
                          .messages = kBlack},
                    Frame{.name = "withoutAnImage",
                          .type = CAP_TYPE_APP_WINDOW,
                          .shared = 52,
                          .arrange = failing("CGWindowListCreateImage"),
                          .content = Content::Black,
                          .messages = kBlack,
                          .calls = {"CGWindowListCreateImage({-161, -45, 161, 91}, 8, 52, 0)"}},
                    Frame{.name = "ofAnotherType",
                          .type = 2,
                          .shared = 52,
                          .content = Content::Black,
                          .messages = kBlack},
                    Frame{.name = "ofANegativeTypeWithExclusions",
                          .type = -1,
                          .excluded = {7},
                          .content = Content::Black,
                          .messages = kBlack}),
    frameName);

}  // namespace
