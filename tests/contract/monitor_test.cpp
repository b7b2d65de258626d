// CMonitor: one display, real or virtual.
#include "Monitor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contract_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Monitor : public ContractTest {
  protected:
    static tagCaptureRect rectOf(const CMonitor& monitor) {
        tagCaptureRect rect{-1, -1, -1, -1};
        monitor.GetMonitorRect(rect);
        return rect;
    }

    static void setMain(const std::function<void(scripted::Display&)>& edit) {
        scripted::change(kMain, edit);
    }

    static void setMode(const std::function<void(scripted::Mode&)>& edit) {
        setMain([&](scripted::Display& display) { edit(*display.mode); });
    }
};

MATCHER_P4(IsRect, left, top, right, bottom, "") {
    return arg.left == left && arg.top == top && arg.right == right && arg.bottom == bottom;
}

TEST_F(Monitor, keepsItsOriginWherePointsArePixels) {
    scripted::moveTo(kMain, -1920, 0);
    scripted::resize(kMain, 1920, 1080);
    EXPECT_THAT(rectOf(CMonitor(kMain, 0)), IsRect(-1920, 0, 0, 1080));
}

TEST_F(Monitor, losesItsOriginWhenScaled) {
    scripted::moveTo(kMain, 1440, 0);
    scripted::resize(kMain, 1440, 900);
    scripted::setScale(kMain, 2);
    EXPECT_THAT(rectOf(CMonitor(kMain, 0)), IsRect(0, 0, 2880, 1800));
}

TEST_F(Monitor, losesItsOriginWhenOnlyTheWidthIsScaled) {
    setMode([](scripted::Mode& mode) { mode.pixelWidth = 160; });
    EXPECT_THAT(rectOf(CMonitor(kMain, 0)), IsRect(0, 0, 160, 91));
}

TEST_F(Monitor, losesItsOriginWhenOnlyTheHeightIsScaled) {
    setMode([](scripted::Mode& mode) { mode.pixelHeight = 92; });
    EXPECT_THAT(rectOf(CMonitor(kMain, 0)), IsRect(0, 0, 161, 92));
}

TEST_F(Monitor, withoutAModeHasAnEmptyRectangle) {
    setMain([](scripted::Display& display) { display.mode.reset(); });
    const CMonitor monitor(kMain, 0);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CMonitor::CMonitor()... index=0, displayID=722, "
                                        "Monitor=[-161:-45,161,91], Pixel=[0,0]")));
    EXPECT_THAT(rectOf(monitor), IsRect(0, 0, 0, 0));
    EXPECT_THAT(scripted::callsOf({"CGDisplayModeGetPixelWidth", "CGDisplayModeGetPixelHeight"}),
                IsEmpty())
        << "of no mode";
}

// Left is cut to -1 before the width is added: -1.7 + 161 would end at 159.
TEST_F(Monitor, cutsItsOriginBeforeItAddsTheSize) {
    scripted::moveTo(kMain, -1.7, -2.9);
    EXPECT_THAT(rectOf(CMonitor(kMain, 0)), IsRect(-1, -2, 160, 89));
}

// Half a point of the size is cut from the sum of it and the origin.
TEST_F(Monitor, cutsItsRightAndBottom) {
    scripted::moveTo(kMain, 10.9, 20.9);
    setMain([](scripted::Display& display) { display.bounds.size = {161.5, 91.5}; });
    EXPECT_THAT(rectOf(CMonitor(kMain, 0)), IsRect(10, 20, 171, 111));
}

TEST_F(Monitor, takesRectangleNameAndPrimacyOnce) {
    const CMonitor monitor(kMain, 0);
    scripted::moveTo(kMain, 400, 500);
    setMain([](scripted::Display& display) {
        display.names = {{"en_US", "Other"}};
        display.main = false;
    });
    EXPECT_THAT(rectOf(monitor), IsRect(-161, -45, 0, 46));
    EXPECT_EQ(monitor.GetName(), "Panel 722");
    EXPECT_TRUE(monitor.IsPrimaryMonitor());
}

TEST_F(Monitor, tracesItsRectangleWhenAsked) {
    const CMonitor monitor(kMain, 0);
    trace_recorder::forget();
    rectOf(monitor);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information(" CMonitor::GetMonitorRect rect.left = -161, "
                                        "rect.top = -45, rect.right = 0, rect.bottom = 46")));
}

TEST_F(Monitor, tracesPointsAndPixelsWhenMade) {
    scripted::setScale(kMain, 2);
    const CMonitor monitor(kMain, 5);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CMonitor::CMonitor()... index=5, displayID=722, "
                                        "Monitor=[-161:-45,161,91], Pixel=[322,182]")));
}

TEST_F(Monitor, tracesFractionsOfPoints) {
    scripted::moveTo(kMain, -160.5, 0.25);
    const CMonitor monitor(kMain, 0);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CMonitor::CMonitor()... index=0, displayID=722, "
                                        "Monitor=[-160.5:0.25,161,91], Pixel=[161,91]")));
}

TEST_F(Monitor, isPrimaryWhenItsDisplayIsMain) {
    plugInSecond();
    EXPECT_TRUE(CMonitor(kMain, 0).IsPrimaryMonitor());
    EXPECT_FALSE(CMonitor(kSecond, 1).IsPrimaryMonitor());
}

TEST_F(Monitor, asksThePlatformInOrder) {
    const CMonitor monitor(kMain, 0);
    EXPECT_THAT(
        scripted::callsOf(
            {"CGDisplayIOServicePort", "IODisplayCreateInfoDictionary", "CFArrayCreateMutable",
             "CFDictionaryApplyFunction", "CFArrayAppendValue",
             "CFBundleCopyPreferredLocalizationsFromArray", "CFStringGetCString", "CFRelease",
             "CGDisplayBounds", "CGDisplayCopyDisplayMode", "CGDisplayModeGetPixelWidth",
             "CGDisplayModeGetPixelHeight", "CGDisplayModeRelease", "CGDisplayIsMain"}),
        ElementsAre("CGDisplayIOServicePort(722)",
                    "IODisplayCreateInfoDictionary(66258, 512) -> dictionary#2",
                    "CFArrayCreateMutable(0, \"objects\") -> array#1",
                    "CFDictionaryApplyFunction(dictionary#1, array#1)",
                    "CFArrayAppendValue(array#1, string#4)",
                    "CFBundleCopyPreferredLocalizationsFromArray(array#1) -> array#2",
                    "CFRelease(array#1)", "CFStringGetCString(string#5, out, 63, 134217984)",
                    "CFRelease(array#2)", "CFRelease(dictionary#2)", "CGDisplayBounds(722)",
                    "CGDisplayCopyDisplayMode(722) -> mode#1", "CGDisplayModeGetPixelWidth(mode#1)",
                    "CGDisplayModeGetPixelHeight(mode#1)", "CGDisplayModeRelease(mode#1)",
                    "CGDisplayIsMain(722)"));
}

// Getters that ask for the current mode.

TEST_F(Monitor, hasTheModesSizeInPoints) {
    scripted::setScale(kMain, 2);
    const CMonitor monitor(kMain, 0);
    EXPECT_EQ(monitor.GetPixelWidth(), 161U);
    EXPECT_EQ(monitor.GetPixelHeight(), 91U);
}

TEST_F(Monitor, readsTheModeAnewOnEveryCall) {
    const CMonitor monitor(kMain, 0);
    scripted::resize(kMain, 37, 23);
    setMode([](scripted::Mode& mode) { mode.refreshRate = 75; });
    EXPECT_EQ(monitor.GetPixelWidth(), 37U);
    EXPECT_EQ(monitor.GetPixelHeight(), 23U);
    EXPECT_EQ(monitor.GetDisplayFrequency(), 75U);
}

struct RefreshRate {
    double reported;
    uint32_t frequency;
};

class Frequency : public Monitor, public testing::WithParamInterface<RefreshRate> {};

TEST_P(Frequency, isTheRefreshRateCut) {
    setMode([](scripted::Mode& mode) { mode.refreshRate = GetParam().reported; });
    EXPECT_EQ(CMonitor(kMain, 0).GetDisplayFrequency(), GetParam().frequency);
}

INSTANTIATE_TEST_SUITE_P(Rates, Frequency,
                         testing::Values(RefreshRate{0, 0}, RefreshRate{0.99, 0},
                                         RefreshRate{59.94, 59}, RefreshRate{60, 60},
                                         RefreshRate{119.999, 119}));

TEST_F(Monitor, withoutAModeKnowsNothing) {
    const CMonitor monitor(kMain, 0);
    setMain([](scripted::Display& display) { display.mode.reset(); });
    trace_recorder::forget();
    EXPECT_EQ(monitor.GetPixelWidth(), 0U);
    EXPECT_EQ(monitor.GetPixelHeight(), 0U);
    EXPECT_EQ(monitor.GetBitsPerPixel(), 0U);
    EXPECT_EQ(monitor.GetDisplayFrequency(), 0U);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(Monitor, getsTheSizeFromTheModesPointFunctions) {
    const CMonitor monitor(kMain, 0);
    scripted::forgetCalls();
    monitor.GetPixelWidth();
    monitor.GetPixelHeight();
    EXPECT_THAT(
        scripted::callsOf({"CGDisplayCopyDisplayMode", "CGDisplayModeGetWidth",
                           "CGDisplayModeGetHeight", "CGDisplayModeGetPixelWidth",
                           "CGDisplayModeGetPixelHeight", "CGDisplayModeRelease"}),
        ElementsAre("CGDisplayCopyDisplayMode(722) -> mode#2", "CGDisplayModeGetWidth(mode#2)",
                    "CGDisplayModeRelease(mode#2)", "CGDisplayCopyDisplayMode(722) -> mode#3",
                    "CGDisplayModeGetHeight(mode#3)", "CGDisplayModeRelease(mode#3)"));
}

// Pixel encodings.

struct Depth {
    const char* encoding;
    uint32_t bits;
};

class PixelEncoding : public Monitor, public testing::WithParamInterface<Depth> {};

TEST_P(PixelEncoding, givesItsDepth) {
    setMode([](scripted::Mode& mode) { mode.pixelEncoding = GetParam().encoding; });
    EXPECT_EQ(CMonitor(kMain, 0).GetBitsPerPixel(), GetParam().bits);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Known, PixelEncoding,
                         testing::Values(Depth{"--------RRRRRRRRGGGGGGGGBBBBBBBB", 32},
                                         Depth{"--------rrrrrrrrggggggggbbbbbbbb", 32},
                                         Depth{"-RRRRRGGGGGBBBBB", 16},
                                         Depth{"-rrrrrGGGGGbbbbb", 16}, Depth{"PPPPPPPP", 8},
                                         Depth{"pppppppp", 8}));

class OddPixelEncoding : public Monitor, public testing::WithParamInterface<const char*> {};

TEST_P(OddPixelEncoding, hasNoDepthAndIsTraced) {
    setMode([](scripted::Mode& mode) { mode.pixelEncoding = GetParam(); });
    const CMonitor monitor(kMain, 0);
    trace_recorder::forget();
    EXPECT_EQ(monitor.GetBitsPerPixel(), 0U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(error("CMonitor::GetBitsPerPixel()... "
                                  "CGDisplayModeCopyPixelEncoding failed!")));
    EXPECT_THAT(scripted::leaks(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Encodings, OddPixelEncoding,
                         testing::Values("", "P", "PPPPPPPPP", "RRRRRGGGGGGBBBBB",
                                         "-RRRRRGGGGGBBBBB-", "--RRRRRRRRRRGGGGGGGGGGBBBBBBBBBB",
                                         "-------RRRRRRRRGGGGGGGGBBBBBBBB",
                                         "--------BBBBBBBBGGGGGGGGRRRRRRRR", "--16SR16",
                                         "\xC3\xA9"));

TEST_F(Monitor, withoutAPixelEncodingHasNoDepthAndNoTrace) {
    setMode([](scripted::Mode& mode) { mode.pixelEncoding.reset(); });
    EXPECT_EQ(CMonitor(kMain, 0).GetBitsPerPixel(), 0U);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), IsEmpty());
}

TEST_F(Monitor, comparesPixelEncodingsInOrderAndReleasesModeThenEncoding) {
    setMode([](scripted::Mode& mode) { mode.pixelEncoding = "PPPPPPPP"; });
    const CMonitor monitor(kMain, 0);
    scripted::forgetCalls();
    monitor.GetBitsPerPixel();
    const auto compared = scripted::callsOf({"CFStringCompare"});
    ASSERT_EQ(compared.size(), 3U);
    EXPECT_THAT(compared.front(), testing::EndsWith(", 1)"));
    EXPECT_THAT(scripted::callsOf({"CFSTR"}),
                ElementsAre("CFSTR(\"--------RRRRRRRRGGGGGGGGBBBBBBBB\")",
                            "CFSTR(\"-RRRRRGGGGGBBBBB\")", "CFSTR(\"PPPPPPPP\")"));
    EXPECT_THAT(
        scripted::callsOf({"CGDisplayModeCopyPixelEncoding", "CGDisplayModeRelease", "CFRelease"}),
        ElementsAre("CGDisplayModeCopyPixelEncoding(mode#2) -> string#6",
                    "CGDisplayModeRelease(mode#2)", "CFRelease(string#6)"));
}

// Virtual monitors.

TEST_F(Monitor, virtuallyIsWhatItWasMadeAs) {
    const CMonitor monitor(3, 1280, 720, 32);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CMonitor::CMonitor m_dwIndex = 3, "
                                        "m_rcMonitor.right = 1280, m_rcMonitor.bottom = 720, "
                                        "m_nBitCount = 32")));
    EXPECT_THAT(rectOf(monitor), IsRect(0, 0, 1280, 720));
    EXPECT_FALSE(monitor.IsPrimaryMonitor());
    EXPECT_EQ(monitor.GetName(), "");
    EXPECT_EQ(monitor.GetDisplayID(), 0U);
    EXPECT_EQ(monitor.GetIndex(), 3U);
}

TEST_F(Monitor, virtuallyAsksThePlatformForNothing) {
    const CMonitor monitor(1, -1280, -720, 4294967295U);
    EXPECT_THAT(rectOf(monitor), IsRect(0, 0, -1280, -720));
    EXPECT_THAT(scripted::calls(), IsEmpty());
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CMonitor::CMonitor m_dwIndex = 1, "
                                        "m_rcMonitor.right = -1280, m_rcMonitor.bottom = -720, "
                                        "m_nBitCount = 4294967295"),
                            information(" CMonitor::GetMonitorRect rect.left = 0, rect.top = 0, "
                                        "rect.right = -1280, rect.bottom = -720")));
}

TEST_F(Monitor, virtuallyHasNoMode) {
    const CMonitor monitor(0, 1280, 720, 32);
    EXPECT_EQ(monitor.GetPixelWidth(), 0U);
    EXPECT_EQ(monitor.GetPixelHeight(), 0U);
    EXPECT_EQ(monitor.GetBitsPerPixel(), 0U);
    EXPECT_EQ(monitor.GetDisplayFrequency(), 0U);
}

}  // namespace
