// CMonitor: the product name of a display.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "Monitor.h"
#include "contract_test.h"

namespace {

using testing::IsEmpty;

class MonitorName : public ContractTest {
  protected:
    static void nameMain(std::vector<scripted::ProductName> names) {
        scripted::change(kMain,
                         [&](scripted::Display& display) { display.names = std::move(names); });
    }

    // Two bytes each.
    static std::string umlauts(size_t count) {
        std::string text;
        for (size_t i = 0; i < count; ++i) {
            text += "\xC3\xBC";
        }
        return text;
    }

    static std::string mainName() { return CMonitor(kMain, 0).GetName(); }
};

TEST_F(MonitorName, hasTheNameOfThePreferredLocale) {
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

TEST_F(MonitorName, hasTheLongestNameThatFits) {
    const std::string longest(62, 'n');
    nameMain({{"en_US", longest}});
    EXPECT_EQ(mainName(), longest);
}

// 31 times two bytes: the platform is told of 63, one of them for the end.
TEST_F(MonitorName, hasTheLongestNameOfTwoByteCharactersThatFits) {
    const std::string longest = umlauts(31);
    nameMain({{"en_US", longest}});
    EXPECT_EQ(mainName(), longest);
    nameMain({{"en_US", longest + "n"}});
    EXPECT_EQ(mainName(), "");
}

TEST_F(MonitorName, hasTheCutCharacterThatTheConversionLeaves) {
    nameMain({{"en_US", umlauts(100)}});
    scripted::leaveCutText();
    EXPECT_EQ(mainName(), umlauts(31) + "\xC3");
}

class NameThatDoesNotFit : public MonitorName, public testing::WithParamInterface<size_t> {};

TEST_P(NameThatDoesNotFit, isEmpty) {
    nameMain({{"en_US", std::string(GetParam(), 'n')}});
    EXPECT_EQ(mainName(), "");
}

INSTANTIATE_TEST_SUITE_P(Lengths, NameThatDoesNotFit, testing::Values(63, 64, 200));

// The platform is told of one byte less than there is, so that what it leaves is always ended.
TEST_F(MonitorName, hasWhatTheConversionLeavesOfALongName) {
    nameMain({{"en_US", std::string(63, 'n') + "rest"}});
    scripted::leaveCutText();
    EXPECT_EQ(mainName(), std::string(63, 'n'));
}

struct Namelessness {
    const char* name;
    std::function<void(scripted::Display&)> edit;
    const char* failingCall;
    size_t skip = 0;
};

class WithoutAName : public MonitorName, public testing::WithParamInterface<Namelessness> {};

TEST_P(WithoutAName, isEmptyAndReleasesEverything) {
    if (GetParam().edit) {
        scripted::change(kMain, GetParam().edit);
    }
    if (GetParam().failingCall != nullptr) {
        scripted::fail(GetParam().failingCall, GetParam().skip);
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
        Namelessness{"preferredLocaleWithoutAName", nullptr, "CFDictionaryGetValue", 1},
        Namelessness{"noEntryForNames", nullptr, "CFDictionaryGetValue"},
        Namelessness{"noInformationMade", nullptr, "IODisplayCreateInfoDictionary"},
        Namelessness{"noArrayOfLocales", nullptr, "CFArrayCreateMutable"},
        Namelessness{"noWalkOverLocales", nullptr, "CFDictionaryApplyFunction"},
        Namelessness{"noLocaleAppended", nullptr, "CFArrayAppendValue"},
        Namelessness{"noCountOfLocales", nullptr, "CFArrayGetCount"},
        Namelessness{"noService", nullptr, "CGDisplayIOServicePort"},
        Namelessness{"notConverted", nullptr, "CFStringGetCString"}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(MonitorName, hasNoNameWhenNoLocaleIsPreferred) {
    scripted::preferLocales({});
    EXPECT_EQ(mainName(), "");
}

}  // namespace
