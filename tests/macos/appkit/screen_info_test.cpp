// ScreenInfo's AppKit body: which messages it sends, and what it makes of the answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "ScreenInfo.h"
#include "scripted_appkit.h"

namespace {

using scripted_appkit::Screen;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Messages = std::vector<std::string>;

constexpr uint32_t kUnknown = 4711;
constexpr double kUnset = -1;

// Fractions, and no two frames or scales alike: nothing may be rounded, converted or mixed up.
constexpr Screen kFirst{.number = 722, .frame = {{0, 0}, {161, 91}}, .scale = 1};
constexpr Screen kSecond{.number = 69, .frame = {{-80.5, 17.25}, {80, 60}}, .scale = 2};
constexpr Screen kThird{.number = 70, .frame = {{161.75, -33}, {44, 55}}, .scale = 1.5};
constexpr Screen kMain{.number = 722, .frame = {{3, -4}, {500.5, 600}}, .scale = 3};

class ScreenInfoOverAppKit : public testing::Test {
  protected:
    void SetUp() override {
        scripted_appkit::reset();
        scripted_appkit::setScreens({kFirst, kSecond, kThird});
        scripted_appkit::setMainScreen(kMain);
    }

    void TearDown() override { EXPECT_THAT(scripted_appkit::faults(), IsEmpty()); }

    // Calls with both outputs.
    void ask(uint32_t displayID) {
        scale_ = kUnset;
        frame_ = CGRectMake(kUnset, kUnset, kUnset, kUnset);
        ScreenInfo(displayID, &scale_, &frame_);
    }

    void expectAnswer(const CGRect& frame, double scale) const {
        EXPECT_EQ(frame_.origin.x, frame.origin.x);
        EXPECT_EQ(frame_.origin.y, frame.origin.y);
        EXPECT_EQ(frame_.size.width, frame.size.width);
        EXPECT_EQ(frame_.size.height, frame.size.height);
        EXPECT_EQ(scale_, scale);
    }

    void expectAnswer(const Screen& screen) const { expectAnswer(screen.frame, screen.scale); }

    static std::string asked(size_t length, size_t answered) {
        return "[screens countByEnumeratingWithState:objects:count:] " + std::to_string(length) +
               " -> " + std::to_string(answered);
    }

    // What finding out a screen's number takes.
    static Messages lookAt(size_t place) {
        const std::string number = std::to_string(place);
        return {"[screen " + number + " deviceDescription]",
                "[description " + number + " objectForKeyedSubscript:] @\"NSScreenNumber\"",
                "[number " + number + " integerValue]"};
    }

    static Messages joined(const std::vector<Messages>& parts) {
        Messages all;
        for (const Messages& part : parts) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }

    static Messages walkToTheEnd() {
        return joined({{"[NSScreen screens]", asked(16, 3)},
                       lookAt(0),
                       lookAt(1),
                       lookAt(2),
                       {asked(16, 0)}});
    }

    static Messages walkToTheSecond() {
        return joined({{"[NSScreen screens]", asked(16, 3)}, lookAt(0), lookAt(1)});
    }

    double scale_ = kUnset;
    CGRect frame_{};
};

TEST_F(ScreenInfoOverAppKit, reportsTheScreenThatShowsTheDisplay) {
    for (const Screen& screen : {kFirst, kSecond, kThird}) {
        ask(static_cast<uint32_t>(*screen.number));
        expectAnswer(screen);
    }
}

TEST_F(ScreenInfoOverAppKit, asksNobodyElseOnceTheScreenIsFound) {
    ask(69);
    EXPECT_THAT(scripted_appkit::messages(),
                ElementsAreArray(joined(
                    {walkToTheSecond(), {"[screen 1 frame]", "[screen 1 backingScaleFactor]"}})));
}

TEST_F(ScreenInfoOverAppKit, withoutAScaleAsksForTheFrameOnly) {
    ScreenInfo(69, nullptr, &frame_);
    EXPECT_THAT(scripted_appkit::messages(),
                ElementsAreArray(joined({walkToTheSecond(), {"[screen 1 frame]"}})));
    scale_ = kSecond.scale;
    expectAnswer(kSecond);
}

TEST_F(ScreenInfoOverAppKit, withoutAFrameAsksForTheScaleOnly) {
    ScreenInfo(69, &scale_, nullptr);
    EXPECT_THAT(scripted_appkit::messages(),
                ElementsAreArray(joined({walkToTheSecond(), {"[screen 1 backingScaleFactor]"}})));
    EXPECT_EQ(scale_, kSecond.scale);
}

TEST_F(ScreenInfoOverAppKit, withoutOutputsOnlyLooksForTheScreen) {
    ScreenInfo(69, nullptr, nullptr);
    EXPECT_THAT(scripted_appkit::messages(), ElementsAreArray(walkToTheSecond()));
}

TEST_F(ScreenInfoOverAppKit, ofAnUnknownDisplayReportsTheMainScreen) {
    ask(kUnknown);
    expectAnswer(kMain);
}

TEST_F(ScreenInfoOverAppKit, asksForTheMainScreenOncePerOutput) {
    ask(kUnknown);
    EXPECT_THAT(
        scripted_appkit::messages(),
        ElementsAreArray(joined({walkToTheEnd(),
                                 {"[NSScreen mainScreen]", "[main screen frame]",
                                  "[NSScreen mainScreen]", "[main screen backingScaleFactor]"}})));
}

TEST_F(ScreenInfoOverAppKit, ofAnUnknownDisplayWithoutAScaleAsksForTheMainFrameOnly) {
    ScreenInfo(kUnknown, nullptr, &frame_);
    EXPECT_THAT(scripted_appkit::messages(),
                ElementsAreArray(
                    joined({walkToTheEnd(), {"[NSScreen mainScreen]", "[main screen frame]"}})));
}

TEST_F(ScreenInfoOverAppKit, ofAnUnknownDisplayWithoutAFrameAsksForTheMainScaleOnly) {
    ScreenInfo(kUnknown, &scale_, nullptr);
    EXPECT_THAT(
        scripted_appkit::messages(),
        ElementsAreArray(joined(
            {walkToTheEnd(), {"[NSScreen mainScreen]", "[main screen backingScaleFactor]"}})));
    EXPECT_EQ(scale_, kMain.scale);
}

TEST_F(ScreenInfoOverAppKit, ofAnUnknownDisplayWithoutOutputsAsksForNoMainScreen) {
    ScreenInfo(kUnknown, nullptr, nullptr);
    EXPECT_THAT(scripted_appkit::messages(), ElementsAreArray(walkToTheEnd()));
}

TEST_F(ScreenInfoOverAppKit, ofDisplayZeroAsksForTheMainScreenOnly) {
    ask(0);
    expectAnswer(kMain);
    EXPECT_THAT(scripted_appkit::messages(),
                ElementsAre("[NSScreen mainScreen]", "[main screen frame]", "[NSScreen mainScreen]",
                            "[main screen backingScaleFactor]"));
}

TEST_F(ScreenInfoOverAppKit, ofDisplayZeroWithoutOutputsAsksForNothing) {
    ScreenInfo(0, nullptr, nullptr);
    EXPECT_THAT(scripted_appkit::messages(), IsEmpty());
}

TEST_F(ScreenInfoOverAppKit, ofDisplayZeroPassesOverAScreenOfThatNumber) {
    scripted_appkit::setScreens({{.number = 0, .scale = 5}});
    ask(0);
    expectAnswer(kMain);
}

TEST_F(ScreenInfoOverAppKit, takesTheFirstOfTwoScreensWithOneNumber) {
    scripted_appkit::setScreens({kFirst, {.number = 70, .frame = kMain.frame, .scale = 9}, kThird});
    ask(70);
    expectAnswer(kMain.frame, 9);
}

TEST_F(ScreenInfoOverAppKit, takesADisplaysNumberAsUnsigned) {
    scripted_appkit::setScreens({{.number = -1, .scale = 5}, {.number = 0xFFFFFFFF, .scale = 7}});
    ask(0xFFFFFFFF);
    EXPECT_EQ(scale_, 7);
}

TEST_F(ScreenInfoOverAppKit, comparesTheWholeNumberOfAScreen) {
    scripted_appkit::setScreens({{.number = 0x1'0000'0045, .scale = 5}, kSecond});
    ask(0x45);
    expectAnswer(kSecond);
}

TEST_F(ScreenInfoOverAppKit, passesOverScreensWithoutADescriptionOrANumber) {
    scripted_appkit::setScreens({{.number = 69, .scale = 5, .described = false},
                                 {.number = std::nullopt, .scale = 6},
                                 kSecond});
    ask(69);
    expectAnswer(kSecond);
}

TEST_F(ScreenInfoOverAppKit, withoutAMainScreenReportsZero) {
    scripted_appkit::reset();
    for (const uint32_t displayID : {0U, kUnknown}) {
        ask(displayID);
        expectAnswer(CGRect{}, 0);
    }
}

TEST_F(ScreenInfoOverAppKit, withoutAListOfScreensReportsTheMainScreen) {
    scripted_appkit::withholdScreens();
    ask(69);
    expectAnswer(kMain);
}

TEST_F(ScreenInfoOverAppKit, keepsNothingFromOneCallToTheNext) {
    ask(69);
    ask(kUnknown);
    scripted_appkit::setScreens({{.number = 69, .frame = kThird.frame, .scale = 4}});
    scripted_appkit::setMainScreen(kFirst);
    ask(69);
    expectAnswer(kThird.frame, 4);
    ask(kUnknown);
    expectAnswer(kFirst);
}

TEST_F(ScreenInfoOverAppKit, asksOnTheCallersThread) {
    std::thread::id caller;
    std::thread([this, &caller] {
        caller = std::this_thread::get_id();
        ask(69);
    }).join();
    EXPECT_EQ(scripted_appkit::sender(), caller);
    expectAnswer(kSecond);
}

TEST_F(ScreenInfoOverAppKit, tellsTheRuntimeWhenTheScreensChangeWhileItLooks) {
    scripted_appkit::changeScreensAfter(0);
    ask(69);
    EXPECT_THAT(scripted_appkit::messages(),
                ElementsAreArray(joined({{"[NSScreen screens]", asked(16, 3)},
                                         lookAt(0),
                                         {"objc_enumerationMutation(screens)"},
                                         lookAt(1),
                                         {"[screen 1 frame]", "[screen 1 backingScaleFactor]"}})));
}

struct Walk {
    size_t screens;
    size_t batch;                 // the most that the array hands out at once
    std::vector<size_t> answers;  // to the walk's questions, up to the end
};

class ScreenInfoInBatches : public ScreenInfoOverAppKit, public testing::WithParamInterface<Walk> {
  protected:
    static constexpr uint32_t kBase = 1000;

    void SetUp() override {
        ScreenInfoOverAppKit::SetUp();
        std::vector<Screen> screens;
        for (size_t i = 0; i < GetParam().screens; ++i) {
            const auto place = static_cast<double>(i);
            screens.push_back({.number = kBase + static_cast<int64_t>(i),
                               .frame = CGRectMake(place, -place, 10 + place, 20 + place),
                               .scale = 100 + place});
        }
        scripted_appkit::setScreens(screens);
        scripted_appkit::setBatch(GetParam().batch);
    }
};

TEST_P(ScreenInfoInBatches, looksAtEveryScreenOnceUntilNoneIsLeft) {
    ask(kUnknown);
    expectAnswer(kMain);
    Messages expected{"[NSScreen screens]"};
    size_t place = 0;
    for (const size_t answer : GetParam().answers) {
        expected.push_back(asked(16, answer));
        for (const size_t end = place + answer; place < end; ++place) {
            expected = joined({expected, lookAt(place)});
        }
    }
    EXPECT_EQ(place, GetParam().screens);
    Messages seen = scripted_appkit::messages();
    ASSERT_GE(seen.size(), 4U);
    seen.resize(seen.size() - 4);  // to the main screen
    EXPECT_EQ(seen, expected);
}

TEST_P(ScreenInfoInBatches, findsEachScreenAndNoOther) {
    for (size_t i = 0; i < GetParam().screens; ++i) {
        ask(kBase + static_cast<uint32_t>(i));
        const auto place = static_cast<double>(i);
        expectAnswer(CGRectMake(place, -place, 10 + place, 20 + place), 100 + place);
    }
    ask(kBase + static_cast<uint32_t>(GetParam().screens));
    expectAnswer(kMain);
}

INSTANTIATE_TEST_SUITE_P(Walks, ScreenInfoInBatches,
                         testing::Values(Walk{0, 16, {0}}, Walk{1, 16, {1, 0}},
                                         Walk{16, 16, {16, 0}}, Walk{17, 16, {16, 1, 0}},
                                         Walk{40, 16, {16, 16, 8, 0}}, Walk{40, 99, {16, 16, 8, 0}},
                                         Walk{5, 2, {2, 2, 1, 0}}, Walk{3, 1, {1, 1, 1, 0}}),
                         [](const testing::TestParamInfo<Walk>& walk) {
                             return std::to_string(walk.param.screens) + "screensBy" +
                                    std::to_string(walk.param.batch);
                         });

}  // namespace
