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
    return window == kSecret;
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

}  // namespace
