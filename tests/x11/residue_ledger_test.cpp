/* The record of whose pixels may be in a window's content. */
#include "x11/residue_ledger.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using qor::coregraphics::PixelRect;
using qor::x11::ResidueLedger;

constexpr ResidueLedger::Window kFirst = 11;
constexpr ResidueLedger::Window kSecond = 22;
constexpr ResidueLedger::Window kSecret = 99;

bool isSecret(ResidueLedger::Window window) {
    return window == kSecret || window == ResidueLedger::kUnknown;
}

class ResidueLedgerTest : public testing::Test {
  protected:
    /* Maps a window that is all its own. */
    void mapClean(ResidueLedger::Window window, const PixelRect& box) {
        ledger_.appeared(window, box, false);
        ledger_.mapped(window);
        clean(window, box);
    }

    void clean(ResidueLedger::Window window, const PixelRect& box) {
        ledger_.cleaned(window, ledger_.generation(window, box),
                        [](ResidueLedger::Window) { return true; });
    }

    std::vector<PixelRect> secretIn(ResidueLedger::Window window) const {
        return ledger_.residueIn(window, isSecret);
    }

    static constexpr PixelRect kBox{100, 100, 50, 40};
    ResidueLedger ledger_;
};

TEST_F(ResidueLedgerTest, MappedWindowTakesOverWhereItOverlaps) {
    mapClean(kSecret, {120, 90, 500, 20});
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    EXPECT_EQ(secretIn(kFirst), (std::vector{PixelRect{20, 0, 30, 10}}));
}

TEST_F(ResidueLedgerTest, WindowsApartTakeNothingOver) {
    mapClean(kSecret, {150, 100, 50, 50});
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    EXPECT_TRUE(secretIn(kFirst).empty());
}

TEST_F(ResidueLedgerTest, UnmappedWindowIsNotTakenOver) {
    ledger_.appeared(kSecret, kBox, false);
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    EXPECT_TRUE(secretIn(kFirst).empty());
}

TEST_F(ResidueLedgerTest, MovedWindowKeepsItsContent) {
    mapClean(kSecret, {300, 300, 50, 50});
    mapClean(kFirst, kBox);
    ledger_.configured(kFirst, {310, 310, 50, 40});
    EXPECT_TRUE(secretIn(kFirst).empty());
}

TEST_F(ResidueLedgerTest, ResizedWindowTakesOver) {
    mapClean(kSecret, {100, 140, 50, 50});
    mapClean(kFirst, kBox);
    ledger_.configured(kFirst, {100, 100, 50, 45});
    EXPECT_EQ(secretIn(kFirst), (std::vector{PixelRect{0, 40, 50, 5}}));
}

TEST_F(ResidueLedgerTest, WhatWasTakenOverIsTakenOverInTurn) {
    mapClean(kSecret, {100, 100, 10, 10});
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    ledger_.gone(kSecret);
    ledger_.endRound();
    ledger_.endRound();
    ledger_.appeared(kSecond, {105, 105, 50, 50}, false);
    ledger_.mapped(kSecond);
    EXPECT_EQ(secretIn(kSecond), (std::vector{PixelRect{0, 0, 5, 5}}));
}

TEST_F(ResidueLedgerTest, PlaceThatWasLeftCountsForTwoRounds) {
    mapClean(kSecret, kBox);
    ledger_.configured(kSecret, {500, 500, 50, 40});
    ledger_.endRound();
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    EXPECT_EQ(secretIn(kFirst), (std::vector{PixelRect{0, 0, 50, 40}}));
    ledger_.endRound();
    ledger_.gone(kFirst);
    ledger_.endRound();
    ledger_.endRound();
    ledger_.appeared(kSecond, kBox, false);
    ledger_.mapped(kSecond);
    EXPECT_TRUE(secretIn(kSecond).empty());
}

TEST_F(ResidueLedgerTest, ResizedWindowKeepsWhatIsNotCleaned) {
    mapClean(kSecret, {100, 100, 10, 10});
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    ledger_.gone(kSecret);
    ledger_.configured(kFirst, {100, 100, 60, 60});
    ASSERT_FALSE(secretIn(kFirst).empty());
    EXPECT_GE(secretIn(kFirst).front().width, 60U);
    EXPECT_GE(secretIn(kFirst).front().height, 60U);
}

TEST_F(ResidueLedgerTest, CleaningAnEarlierPixmapDoesNotCount) {
    mapClean(kSecret, kBox);
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    const unsigned before = ledger_.generation(kFirst, kBox);
    ledger_.unmapped(kFirst);
    ledger_.mapped(kFirst);
    ledger_.cleaned(kFirst, before, isSecret);
    EXPECT_FALSE(secretIn(kFirst).empty());
}

TEST_F(ResidueLedgerTest, PixmapOfAnotherSizeHasNoGeneration) {
    mapClean(kFirst, kBox);
    EXPECT_NE(ledger_.generation(kFirst, kBox), 0U);
    EXPECT_EQ(ledger_.generation(kFirst, {100, 100, 50, 41}), 0U);
}

TEST_F(ResidueLedgerTest, ReparentedWindowHasAnySize) {
    ledger_.appearedAt(kFirst, 100, 100);
    ledger_.mapped(kFirst);
    EXPECT_NE(ledger_.generation(kFirst, kBox), 0U);
    ledger_.configured(kFirst, {100, 100, 51, 40});
    EXPECT_EQ(ledger_.generation(kFirst, kBox), 0U);
}

TEST_F(ResidueLedgerTest, AtTheBeginningAllOfEachMappedWindowIsUnknown) {
    ledger_.appeared(kFirst, kBox, true);
    ledger_.allBeginAnew();
    const auto areas = ledger_.residueIn(
        kFirst, [](ResidueLedger::Window window) { return window == ResidueLedger::kUnknown; });
    ASSERT_EQ(areas.size(), 1U);
    EXPECT_GE(areas.front().width, kBox.width);
}

TEST_F(ResidueLedgerTest, AllOfAWindowThatIsNotKnownCounts) {
    EXPECT_FALSE(secretIn(kFirst).empty());
}

TEST_F(ResidueLedgerTest, WhatAClosedWindowLeftIsNotTheNextOnesOfItsNumber) {
    mapClean(kSecond, kBox);
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    ASSERT_TRUE(secretIn(kFirst).empty());  // it has only the second one's
    ledger_.gone(kSecond);
    ledger_.appeared(kSecond, kBox, false);
    EXPECT_EQ(secretIn(kFirst), (std::vector{PixelRect{0, 0, 50, 40}}));
}

TEST_F(ResidueLedgerTest, WindowsThatComeAndGoDoNotAddUp) {
    for (ResidueLedger::Window window = 1000; window < 3000; ++window) {
        ledger_.appeared(window, kBox, false);
        ledger_.mapped(window);
        ledger_.gone(window);
    }
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    const auto ofAny = ledger_.residueIn(kFirst, [](ResidueLedger::Window) { return true; });
    EXPECT_EQ(ofAny, (std::vector{PixelRect{0, 0, 50, 40}}));
}

class ShownOnScreenTest : public ResidueLedgerTest {
  protected:
    std::vector<PixelRect> secretShown() const { return ledger_.shownOf(isSecret); }
};

TEST_F(ShownOnScreenTest, WindowIsShownWhereItIsMapped) {
    mapClean(kFirst, kBox);
    ledger_.appeared(kSecret, kBox, false);
    EXPECT_TRUE(secretShown().empty());
    ledger_.mapped(kSecret);
    EXPECT_EQ(secretShown(), (std::vector{kBox}));
}

TEST_F(ShownOnScreenTest, WindowThatTookPixelsOverShowsThemWhereItIs) {
    mapClean(kSecret, kBox);
    ledger_.appeared(kFirst, {120, 110, 100, 100}, false);
    ledger_.mapped(kFirst);
    ledger_.unmapped(kSecret);
    ledger_.endRound();
    ledger_.endRound();
    ledger_.configured(kFirst, {200, 200, 100, 100});
    EXPECT_EQ(secretShown(), (std::vector{PixelRect{200, 200, 30, 30}, {120, 110, 30, 30}}));
}

TEST_F(ShownOnScreenTest, PlaceThatWasLeftIsShownForTwoRounds) {
    mapClean(kSecret, kBox);
    ledger_.unmapped(kSecret);
    ledger_.endRound();
    EXPECT_EQ(secretShown(), (std::vector{kBox}));
    ledger_.endRound();
    EXPECT_TRUE(secretShown().empty());
}

TEST_F(ShownOnScreenTest, AfterglowIsShownAroundAndAfterwards) {
    using namespace std::chrono_literals;
    const ResidueLedger::Clock::time_point start{1h};
    ledger_.setAfterglow({100ms, 5});
    ledger_.advanceTo(start);
    mapClean(kSecret, kBox);
    ledger_.unmapped(kSecret);
    ledger_.advanceTo(start + 99ms);
    ledger_.endRound();
    ledger_.endRound();
    EXPECT_EQ(secretShown(), (std::vector{PixelRect{95, 95, 60, 50}}));
    ledger_.advanceTo(start + 100ms);
    ledger_.endRound();
    EXPECT_TRUE(secretShown().empty());
}

TEST_F(ResidueLedgerTest, WindowTakesOverTheAfterglowAroundAnother) {
    ledger_.setAfterglow({std::chrono::milliseconds(100), 5});
    mapClean(kSecret, {152, 100, 50, 40});
    ledger_.appeared(kFirst, kBox, false);
    ledger_.mapped(kFirst);
    EXPECT_EQ(secretIn(kFirst), (std::vector{PixelRect{47, 0, 3, 40}}));
}

}  // namespace
