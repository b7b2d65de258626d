/* Displays of servers with monitors that somebody has set by hand. */
#include <gmock/gmock.h>

#include "randr_client.h"
#include "randr_version_relay.h"
#include "screen_test.h"
#include "shown_displays.h"
#include "xorg_server.h"

namespace {

using testing::ElementsAre;

constexpr ModeTiming kSmall{400, 300, 30'000'000, 500, 600, 0};    // 100 a second
constexpr ModeTiming kMiddle{640, 480, 30'000'000, 1000, 500, 0};  // 60 a second

class MonitorsTest : public testing::Test {
  protected:
    MonitorsTest() { useDisplay(server_.display()); }

    CGDirectDisplayID id(std::size_t position) const { return randr_.output(position); }
    CGDirectDisplayID idByHand(const std::string& name) const {
        return 0x80000000U | randr_.atom(name);
    }

    XorgServer server_;
    RandrClient randr_{server_.display()};
};

TEST_F(MonitorsTest, SplitByHandIsTwoDisplays) {
    randr_.arrange({{0, kMiddle}});
    randr_.setMonitor({"left", {0, 0, 300, 480}, {0}});
    randr_.setMonitor({"right", {300, 0, 340, 480}, {}});
    EXPECT_THAT(shownDisplays(), ElementsAre(Shown{idByHand("left"), 0, 0, 300, 480},
                                             Shown{idByHand("right"), 300, 0, 340, 480}));
    EXPECT_EQ(CGDisplayBounds(id(0)).size.width, 0);
}

TEST_F(MonitorsTest, JoinedByHandAreOneDisplayBesideTheOthers) {
    randr_.arrange({{0, kSmall}, {1, kSmall, 400, 0}, {2, kMiddle, 800, 0}});
    randr_.setMonitor({"wall", {}, {0, 1}});
    randr_.setPrimary(std::nullopt);
    EXPECT_THAT(shownDisplays(), ElementsAre(Shown{idByHand("wall"), 0, 0, 800, 300},
                                             Shown{id(2), 800, 0, 640, 480}));
}

TEST_F(MonitorsTest, MainOneAmongJoinedOnesMakesThemMain) {
    randr_.arrange({{0, kMiddle, 800, 0}, {1, kSmall}, {2, kSmall, 400, 0}});
    randr_.setMonitor({"other", {800, 0, 10, 10}, {}});
    randr_.setMonitor({"wall", {}, {1, 2}});
    randr_.setPrimary(2);
    EXPECT_EQ(CGMainDisplayID(), idByHand("wall"));
    EXPECT_EQ(activeDisplays().size(), 3U);
}

TEST_F(MonitorsTest, MonitorMadeMainByHandComesFirst) {
    randr_.arrange({{0, kSmall}, {1, kMiddle, 400, 0}});
    randr_.setPrimary(0);
    randr_.setMonitor({"left", {400, 0, 300, 480}, {1}});
    randr_.setMonitor({"right", {700, 0, 340, 480}, {}, true});
    EXPECT_THAT(activeDisplays(), ElementsAre(idByHand("right"), idByHand("left"), id(0)));
}

TEST_F(MonitorsTest, MonitorByHandHasItsGivenNameAndItsFirstOutputsRate) {
    randr_.arrange({{0, kMiddle}, {1, kSmall, 640, 0}});
    randr_.setEdid(edidNamed("Desk 27"), 1);
    randr_.setMonitor({"links: \xc3\xbc", {}, {1}});
    randr_.setMonitor({"rechts", {0, 0, 100, 100}, {}});
    EXPECT_EQ(productName(idByHand("links: \xc3\xbc")), "links: \xc3\xbc");
    EXPECT_DOUBLE_EQ(refreshRate(idByHand("links: \xc3\xbc")), 100);
    EXPECT_DOUBLE_EQ(refreshRate(idByHand("rechts")), 0);
}

TEST_F(MonitorsTest, NameByHandThatIsNoTextIsMadeOne) {
    randr_.setMonitor({"a\xff\xc3z\n", {0, 0, 100, 100}, {}});
    EXPECT_EQ(productName(idByHand("a\xff\xc3z\n")), "a\xef\xbf\xbd\xef\xbf\xbdz ");
}

TEST_F(MonitorsTest, MonitorByHandIsTheSameOneWhenSetAgain) {
    randr_.arrange({{0, kSmall}});
    randr_.setMonitor({"left", {0, 0, 200, 300}, {0}});
    const auto before = shownDisplays();
    randr_.deleteMonitor("left");
    ASSERT_THAT(activeDisplays(), ElementsAre(id(0)));
    randr_.setMonitor({"left", {0, 0, 200, 300}, {0}});
    EXPECT_EQ(shownDisplays(), before);
}

TEST_F(MonitorsTest, MonitorByHandIsCutToTheScreen) {
    randr_.arrange({{0, kSmall}});
    randr_.setMonitor({"far", {400, 300, 100, 100}, {}});
    randr_.setMonitor({"large", {-20, 200, 65535, 65535}, {0}});
    EXPECT_THAT(shownDisplays(), ElementsAre(Shown{idByHand("large"), 0, 200, 400, 100}));
    const Image image(CGDisplayCreateImage(idByHand("large")));
    EXPECT_EQ(CGImageGetHeight(image.get()), 100U);
}

TEST_F(MonitorsTest, MonitorByHandRemainsWhenNoOutputIsLeft) {
    randr_.setMonitor({"left", {0, 0, 200, 300}, {}});
    randr_.arrange({});
    EXPECT_THAT(activeDisplays(), ElementsAre(idByHand("left")));
}

/* A server of one output that somebody has split by hand. */
class OlderServerTest : public testing::Test {
  protected:
    OlderServerTest() { randr_.setMonitor({"left", {0, 0, 320, 480}, {0}}); }

    std::vector<Shown> shownByVersion(std::uint8_t minor) const {
        const RandrVersionRelay relay(server_.socketPath(), minor);
        useDisplay(relay.display());
        return shownDisplays();
    }

    XvfbServer server_{"640x480x24"};
    RandrClient randr_{server_.display()};
};

TEST_F(OlderServerTest, MonitorsAreTheDisplaysFromVersion15On) {
    EXPECT_THAT(shownByVersion(5),
                ElementsAre(Shown{0x80000000U | randr_.atom("left"), 0, 0, 320, 480}));
}

TEST_F(OlderServerTest, OutputsAreTheDisplaysBefore) {
    EXPECT_THAT(shownByVersion(4), ElementsAre(Shown{randr_.output(), 0, 0, 640, 480}));
    EXPECT_THAT(shownByVersion(3), ElementsAre(Shown{randr_.output(), 0, 0, 640, 480}));
}

TEST_F(OlderServerTest, ScreenIsTheOneDisplayBeforeVersion13) {
    EXPECT_THAT(shownByVersion(2), ElementsAre(Shown{randr_.root(), 0, 0, 640, 480}));
}

}  // namespace
