// CMonitor: one display, real or virtual.
#include "Monitor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contract_test.h"

namespace {

using testing::Contains;
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

    static void nameMain(std::vector<scripted::ProductName> names) {
        setMain([&](scripted::Display& display) { display.names = std::move(names); });
    }

    static std::string mainName() { return CMonitor(kMain, 0).GetName(); }
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

TEST_F(Monitor, losesItsOriginWhenOnlyTheHeightIsScaled) {
    setMode([](scripted::Mode& mode) { mode.pixelHeight = 92; });
    EXPECT_THAT(rectOf(CMonitor(kMain, 0)), IsRect(0, 0, 161, 92));
}

TEST_F(Monitor, withoutAModeHasAnEmptyRectangle) {
    setMain([](scripted::Display& display) { display.mode.reset(); });
    EXPECT_THAT(rectOf(CMonitor(kMain, 0)), IsRect(0, 0, 0, 0));
}

// Left is cut to -1 before the width is added: -1.7 + 161 would end at 159.
TEST_F(Monitor, cutsItsOriginBeforeItAddsTheSize) {
    scripted::moveTo(kMain, -1.7, -2.9);
    EXPECT_THAT(rectOf(CMonitor(kMain, 0)), IsRect(-1, -2, 160, 89));
}

TEST_F(Monitor, takesItsRectangleOnce) {
    const CMonitor monitor(kMain, 0);
    scripted::moveTo(kMain, 400, 500);
    EXPECT_THAT(rectOf(monitor), IsRect(-161, -45, 0, 46));
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

// Names.

TEST_F(Monitor, hasTheNameOfThePreferredLocale) {
    nameMain({{"de_DE", "Bildschirm"},
              {"en_US", "Screen"},
              {"fr_FR",
               "\xC3\x89"
               "cran"}});
    scripted::preferLocales({"ja_JP", "fr_FR", "en_US"});
    EXPECT_EQ(mainName(),
              "\xC3\x89"
              "cran");
}

TEST_F(Monitor, hasTheLongestNameThatFits) {
    const std::string longest(62, 'n');
    nameMain({{"en_US", longest}});
    EXPECT_EQ(mainName(), longest);
}

class NameThatDoesNotFit : public Monitor, public testing::WithParamInterface<size_t> {};

TEST_P(NameThatDoesNotFit, isEmpty) {
    nameMain({{"en_US", std::string(GetParam(), 'n')}});
    EXPECT_EQ(mainName(), "");
}

INSTANTIATE_TEST_SUITE_P(Lengths, NameThatDoesNotFit, testing::Values(63, 64, 200));

// The platform is told of one byte less than there is, so that what it leaves is always ended.
TEST_F(Monitor, hasWhatTheConversionLeavesOfALongName) {
    nameMain({{"en_US", std::string(63, 'n') + "rest"}});
    scripted::leaveCutText();
    EXPECT_EQ(mainName(), std::string(63, 'n'));
}

struct Namelessness {
    const char* name;
    std::function<void(scripted::Display&)> edit;
    const char* failingCall;
};

class WithoutAName : public Monitor, public testing::WithParamInterface<Namelessness> {};

TEST_P(WithoutAName, isEmptyAndReleasesEverything) {
    if (GetParam().edit) {
        setMain(GetParam().edit);
    }
    if (GetParam().failingCall != nullptr) {
        scripted::fail(GetParam().failingCall);
    }
    EXPECT_EQ(mainName(), "");
    EXPECT_THAT(scripted::leaks(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, WithoutAName,
    testing::Values(
        Namelessness{"noInformation", [](scripted::Display& d) { d.hasInformation = false; },
                     nullptr},
        Namelessness{"noNames", [](scripted::Display& d) { d.hasProductNames = false; }, nullptr},
        Namelessness{"noLocales", [](scripted::Display& d) { d.names.clear(); }, nullptr},
        Namelessness{"noPreferredLocales", nullptr, "CFBundleCopyPreferredLocalizationsFromArray"},
        Namelessness{"noService", nullptr, "CGDisplayIOServicePort"},
        Namelessness{"notConverted", nullptr, "CFStringGetCString"}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(Monitor, hasNoNameWhenNoLocaleIsPreferred) {
    scripted::preferLocales({});
    EXPECT_EQ(mainName(), "");
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

TEST_F(Monitor, cutsTheRefreshRate) {
    EXPECT_EQ(CMonitor(kMain, 0).GetDisplayFrequency(), 59U);
}

TEST_F(Monitor, hasNoFrequencyWhenTheDisplayReportsNone) {
    setMode([](scripted::Mode& mode) { mode.refreshRate = 0; });
    EXPECT_EQ(CMonitor(kMain, 0).GetDisplayFrequency(), 0U);
}

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

TEST_F(Monitor, refusesAnOddPixelEncoding) {
    setMode([](scripted::Mode& mode) { mode.pixelEncoding = "--RRRRRRRRRRGGGGGGGGGGBBBBBBBBBB"; });
    EXPECT_EQ(CMonitor(kMain, 0).GetBitsPerPixel(), 0U);
    EXPECT_THAT(trace_recorder::messages(),
                Contains(error("CMonitor::GetBitsPerPixel()... "
                               "CGDisplayModeCopyPixelEncoding failed!")));
    EXPECT_THAT(scripted::leaks(), IsEmpty());
}

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

TEST_F(Monitor, virtuallyHasNoMode) {
    const CMonitor monitor(0, 1280, 720, 32);
    EXPECT_EQ(monitor.GetPixelWidth(), 0U);
    EXPECT_EQ(monitor.GetPixelHeight(), 0U);
    EXPECT_EQ(monitor.GetBitsPerPixel(), 0U);
    EXPECT_EQ(monitor.GetDisplayFrequency(), 0U);
}

}  // namespace
