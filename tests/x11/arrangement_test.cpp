/* Displays out of outputs and monitors that no real server here has. */
#include "x11/arrangement.h"

#include <gtest/gtest.h>

#include <ostream>

namespace qor::coregraphics {

bool operator==(const Display& a, const Display& b) {
    return a.id == b.id && a.bounds == b.bounds && a.refreshRate == b.refreshRate &&
           a.depth == b.depth;
}

void PrintTo(const Display& display, std::ostream* out) {
    *out << display.id << ": " << display.bounds.width << "x" << display.bounds.height << " at "
         << display.bounds.x << "," << display.bounds.y << ", " << display.refreshRate << " Hz";
}

}  // namespace qor::coregraphics

namespace {

using qor::coregraphics::Display;
using qor::x11::Arrangement;
using qor::x11::displaysIn;
using qor::x11::Monitor;
using qor::x11::monitorNameIn;
using qor::x11::Output;

using Displays = std::vector<Display>;
using Ids = std::vector<std::uint32_t>;

constexpr std::uint32_t kRootId = 7;
constexpr std::uint32_t kByHand = 0x80000000;

/* A root window of 1000 x 800 with the given outputs and monitors. */
Arrangement arrangement(std::vector<Output> outputs, std::vector<Monitor> monitors = {}) {
    Arrangement result;
    result.rootId = kRootId;
    result.root = {0, 0, 1000, 800};
    result.depth = 24;
    result.hasOutputs = !outputs.empty();
    result.outputs = std::move(outputs);
    result.monitors = std::move(monitors);
    return result;
}

Ids idsIn(const Arrangement& arrangement) {
    Ids ids;
    for (const Display& display : displaysIn(arrangement))
        ids.push_back(display.id);
    return ids;
}

Monitor automatic(std::vector<std::uint32_t> outputs) {
    return {1, true, false, {0, 0, 500, 800}, std::move(outputs)};
}

Monitor byHand(std::uint32_t name, std::vector<std::uint32_t> outputs = {}) {
    return {name, false, false, {0, 0, 500, 800}, std::move(outputs)};
}

const Output kLeft{40, {0, 0, 500, 800}, 60};
const Output kRight{41, {500, 0, 500, 800}, 75};

TEST(ArrangementTest, ServerWithoutOutputsIsItsRootWindow) {
    EXPECT_EQ(displaysIn(arrangement({})), (Displays{{kRootId, {0, 0, 1000, 800}, 0, 24}}));
}

TEST(ArrangementTest, ServerWithoutOutputsIsItsMonitorsWhereThereAreSome) {
    EXPECT_EQ(idsIn(arrangement({}, {byHand(5)})), (Ids{kByHand | 5}));
}

TEST(ArrangementTest, ServerWithoutOutputsWhoseMonitorsAreEmptyIsItsRootWindow) {
    Monitor empty = byHand(5);
    empty.area = {10, 10, 0, 100};
    EXPECT_EQ(idsIn(arrangement({}, {empty})), (Ids{kRootId}));
}

TEST(ArrangementTest, OutputsThatShowNothingAreNoDisplay) {
    Arrangement dark = arrangement({});
    dark.hasOutputs = true;
    EXPECT_TRUE(displaysIn(dark).empty());
}

TEST(ArrangementTest, AutomaticMonitorsChangeNothing) {
    EXPECT_EQ(displaysIn(arrangement({kLeft, kRight}, {automatic({41}), automatic({40})})),
              (Displays{{40, kLeft.area, 60, 24}, {41, kRight.area, 75, 24}}));
}

TEST(ArrangementTest, MonitorByHandStandsBeforeTheOutputsThatRemain) {
    EXPECT_EQ(displaysIn(arrangement({kLeft, kRight}, {automatic({40}), byHand(5, {41})})),
              (Displays{{kByHand | 5, {0, 0, 500, 800}, 75, 24}, {40, kLeft.area, 60, 24}}));
}

TEST(ArrangementTest, OutputsOfOneSourceAreOneDisplay) {
    const Output clone{42, kLeft.area, 60};
    EXPECT_EQ(idsIn(arrangement({kLeft, clone, kRight}, {automatic({40, 42}), byHand(5, {41})})),
              (Ids{kByHand | 5, 40}));
}

TEST(ArrangementTest, MirrorOfAnOutputThatAMonitorTookRemains) {
    const Output mirror{42, kLeft.area, 60};
    EXPECT_EQ(idsIn(arrangement({kLeft, mirror}, {byHand(5, {40}), automatic({42})})),
              (Ids{kByHand | 5, 42}));
}

TEST(ArrangementTest, MainOutputThatShowsNothingChangesNoOrder) {
    Arrangement absent = arrangement({kLeft, kRight});
    absent.mainOutput = 99;
    EXPECT_EQ(idsIn(absent), (Ids{40, 41}));
}

TEST(ArrangementTest, MonitorMadeMainComesBeforeTheMainOutput) {
    Monitor primary = byHand(6);
    primary.isPrimary = true;
    Arrangement chosen = arrangement({kLeft, kRight}, {byHand(5, {41}), primary, automatic({40})});
    chosen.mainOutput = 40;
    EXPECT_EQ(idsIn(chosen), (Ids{kByHand | 6, kByHand | 5, 40}));
}

TEST(ArrangementTest, MonitorMadeMainOutsideTheScreenLeavesTheMainOutput) {
    Monitor outside = byHand(6);
    outside.isPrimary = true;
    outside.area = {5000, -5000, 100, 100};
    Arrangement chosen = arrangement({kLeft, kRight}, {outside, automatic({40}), automatic({41})});
    chosen.mainOutput = 41;
    EXPECT_EQ(idsIn(chosen), (Ids{41, 40}));
}

TEST(ArrangementTest, MonitorIsCutToTheRootWindow) {
    Monitor large = byHand(5);
    large.area = {-32768, 700, 65535, 65535};
    EXPECT_EQ(displaysIn(arrangement({}, {large})),
              (Displays{{kByHand | 5, {0, 700, 1000, 100}, 0, 24}}));
}

TEST(ArrangementTest, MonitorOfAnUnknownOutputHasNoRate) {
    EXPECT_EQ(displaysIn(arrangement({kLeft}, {byHand(5, {99, 40})})),
              (Displays{{kByHand | 5, {0, 0, 500, 800}, 0, 24}}));
}

TEST(ArrangementTest, NameIsFoundInTheIdentityOfMonitorsByHandAlone) {
    EXPECT_EQ(monitorNameIn(kByHand | 5), 5U);
    EXPECT_EQ(monitorNameIn(40), 0U);
}

}  // namespace
