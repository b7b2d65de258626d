/* What images cost that show what others have shown before: nothing, or only what has changed. */
#include <gtest/gtest.h>

#include <ostream>
#include <set>

#include "display_relay.h"
#include "window_test.h"

namespace {

constexpr const char* kScreen = "640x400x24";
constexpr Area kAll{0, 0, 640, 400};
constexpr Area kBeneath{20, 30, 400, 300};
constexpr std::size_t kImageBytes = 640 * 400 * 4;
constexpr Color kRed{200, 10, 20};
constexpr Color kGreen{30, 180, 40};
constexpr Color kBlue{50, 60, 220};

enum class Picture { screen, screenPastTheEdges, withoutAWindow, oneWindow };
enum class Transport { sharedMemory, replies };

struct Setting {
    const char* name;
    Picture picture;
    Transport transport = Transport::sharedMemory;
};

void PrintTo(const Setting& setting, std::ostream* out) {
    *out << setting.name;
}

using Arguments = std::vector<std::string>;

/* A screen with windows on it, and what goes to and fro between the server and the images. What the
 * server tells of a change comes through the relay, so that images may lag behind it. */
class FrameCostTest : public testing::TestWithParam<Setting> {
  protected:
    FrameCostTest() {
        useDisplay(relay_.display());
        onlyDisplay();  // leaves an earlier test's connection
        toLeaveOut_ = client_.open({.area = {200, 50, 90, 80}, .color = kRed});
        beneath_ = client_.open({.area = kBeneath, .color = kGreen});
        client_.raise(toLeaveOut_);
        client_.sync();
        painter_.fill({0, 0, 10, 10}, kBlue);
        settle();
    }

    Image take() const {
        switch (GetParam().picture) {
            case Picture::oneWindow:
                return imageOfWindow(kAll, beneath_);
            case Picture::withoutAWindow: {
                Windows windows = windowsOnScreen();
                std::erase(windows, toLeaveOut_);
                return imageOfWindows(kAll, windows);
            }
            case Picture::screenPastTheEdges:
                return imageOf(-30, 50, kAll.width, kAll.height);
            case Picture::screen:
                break;
        }
        return imageOf(0, 0, kAll.width, kAll.height);
    }

    /* Until everything that is done once has been done. */
    void takeSome() const {
        for (int i = 0; i < 5; ++i)
            EXPECT_NE(take(), nullptr);
    }

    /* More than once: see ScreenChanges::change(). */
    void settle() const {
        for (int i = 0; i < 3; ++i) {
            painter_.sync();
            client_.sync();
        }
    }

    const XvfbServer server_{kScreen, GetParam().transport == Transport::replies
                                          ? Arguments{"-extension", "MIT-SHM"}
                                          : Arguments{}};
    DisplayRelay relay_{server_.socketPath()};
    const Painter painter_{server_.display()};
    const WindowClient client_{server_.display()};
    xcb_window_t toLeaveOut_ = XCB_NONE;
    xcb_window_t beneath_ = XCB_NONE;
};

TEST_P(FrameCostTest, UnchangedFramesAskTheServerForNothing) {
    takeSome();
    const std::size_t before = relay_.traffic().fromClients;
    for (int i = 0; i < 200; ++i)
        ASSERT_NE(take(), nullptr);
    EXPECT_EQ(relay_.traffic().fromClients, before);
    // Or nothing would show.
    client_.fill(beneath_, {5, 150, 10, 10}, kBlue);
    settle();
    EXPECT_TRUE(eventually([&] {
        EXPECT_NE(take(), nullptr);
        return relay_.traffic().fromClients > before;
    }));
}

TEST_P(FrameCostTest, UnchangedFramesAreTheSameInMemory) {
    takeSome();
    std::set<const void*> places;
    for (int i = 0; i < 50; ++i)
        places.insert(CFDataGetBytePtr(dataOf(take().get()).get()));
    EXPECT_EQ(places.size(), 1U);
}

TEST_P(FrameCostTest, UnchangedFramesThatAreHeldTakeNoMemory) {
    takeSome();
    std::set<const void*> places;
    std::vector<Image> held;
    for (int i = 0; i < 50; ++i) {
        held.push_back(take());
        places.insert(CFDataGetBytePtr(dataOf(held.back().get()).get()));
    }
    EXPECT_EQ(places.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Pictures, FrameCostTest,
                         testing::Values(Setting{"Screen", Picture::screen},
                                         Setting{"ScreenPastTheEdges", Picture::screenPastTheEdges},
                                         Setting{"ScreenInReplies", Picture::screen,
                                                 Transport::replies},
                                         Setting{"WithoutAWindow", Picture::withoutAWindow},
                                         Setting{"OneWindow", Picture::oneWindow}),
                         [](const auto& instance) { return instance.param.name; });

/* Other memory would have to be made first, which takes longer than a frame may. */
class DistrustCostTest : public FrameCostTest {};

TEST_P(DistrustCostTest, AllOfAnUnchangedWindowIsDrawnAnewInTheSameMemoryAfterAWhile) {
    takeSome();
    const std::size_t before = relay_.traffic().fromClients;
    std::set<const void*> places;
    EXPECT_TRUE(eventually(
        [&] {
            places.insert(CFDataGetBytePtr(dataOf(take().get()).get()));
            return relay_.traffic().fromClients > before;
        },
        std::chrono::seconds(20)));
    EXPECT_EQ(places.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Pictures, DistrustCostTest,
                         testing::Values(Setting{"OneWindow", Picture::oneWindow}),
                         [](const auto& instance) { return instance.param.name; });

/* Where all pixels come over the connection, so that they can be counted. */
class ChangeCostTest : public FrameCostTest {};

TEST_P(ChangeCostTest, ChangeOfAFewRowsBringsFewMoreBytesThanThey) {
    takeSome();
    for (std::int16_t row = 100; row < 228; row = static_cast<std::int16_t>(row + 32)) {
        const Color color{static_cast<std::uint8_t>(row), 70, 80};
        const auto rowInWindow = static_cast<std::int16_t>(row - kBeneath.y);
        painter_.fill({0, row, kAll.width, 16}, color);
        client_.fill(beneath_, {0, rowInWindow, kBeneath.width, 16}, color);
        settle();
        const std::size_t before = relay_.traffic().fromServer;
        Image image;
        EXPECT_TRUE(eventually([&] {
            image = take();
            return colorAt(image, 400, static_cast<std::size_t>(row + 15)) == color;
        }));
        EXPECT_LT(relay_.traffic().fromServer - before, kImageBytes / 8) << "row " << row;
        EXPECT_NE(colorAt(image, 400, static_cast<std::size_t>(row + 16)), color);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Pictures, ChangeCostTest,
    testing::Values(Setting{"Screen", Picture::screen, Transport::replies},
                    Setting{"WithoutAWindow", Picture::withoutAWindow, Transport::replies},
                    Setting{"OneWindow", Picture::oneWindow, Transport::replies}),
    [](const auto& instance) { return instance.param.name; });

}  // namespace
