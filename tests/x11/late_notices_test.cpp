/*
 * What the server tells of late: something is drawn while the requests of an image are on their way
 * to it, and the notice of that reaches the reader at once with the replies.
 */
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "sendings.h"
#include "window_test.h"
#include "xvfb_server.h"

namespace {

enum class Picture { screen, oneWindow, withoutAWindow };

struct Setting {
    const char* name;
    Picture picture;
    std::vector<std::string> arguments = {};
};

void PrintTo(const Setting& setting, std::ostream* out) {
    *out << setting.name;
}

class LateNoticesTest : public WindowTest, public testing::WithParamInterface<Setting> {
  protected:
    void SetUp() override {
        start(GetParam().arguments);
        window_ = open({.area = kScreen, .color = kBlue});
        open({.area = {100, 100, 50, 50}, .color = kRed});
    }

    Image take() const {
        switch (GetParam().picture) {
            case Picture::oneWindow:
                return imageOfWindow(kScreen, window_);
            case Picture::withoutAWindow:
                return imageOfWindows(kScreen, {window_});
            case Picture::screen:
                break;
        }
        return imageOf(kScreen.x, kScreen.y, kScreen.width, kScreen.height);
    }

    void draw(const Area& area, Color color) const {
        client().fill(window_, area, color);
        client().sync();
    }

    /* Takes an image of what was drawn, and draws before one of its sendings; false if there are
     * fewer. */
    bool takeWhileDrawing(int sending, const Area& area, Color color) const {
        sendings::interrupt(sending, [=, this] { draw(area, color); });
        take();
        return sendings::wasInterrupted();
    }

    xcb_window_t window_ = 0;
};

TEST_P(LateNoticesTest, AreTakenInWithTheRepliesThatTheyComeWith) {
    constexpr Area kEarly{20, 30, 16, 16};
    constexpr Area kLate{280, 150, 16, 16};
    // Until what is kept from one image to the next is there.
    for (const Color color : {kBlue, kRed, kGreen}) {
        draw(kEarly, color);
        ASSERT_EQ(colorAt(take(), 25, 35), color);
    }
    int sending = 1;
    for (Color color = kGreen;; ++sending, color.red += 40) {
        draw(kEarly, color);
        if (!takeWhileDrawing(sending, kLate, color))
            break;
        const Image next = take();
        EXPECT_EQ(colorAt(next, 25, 35), color) << "drawn before sending " << sending;
        EXPECT_EQ(colorAt(next, 285, 155), color) << "drawn before sending " << sending;
    }
    EXPECT_GT(sending, 1) << "nothing was sent for an image";
}

const std::vector<std::string> kNoRender{"-extension", "RENDER"};
const std::vector<std::string> kNoSharedMemory{"-extension", "MIT-SHM"};

const Setting kSettings[]{
    {"Screen", Picture::screen},
    {"ScreenWithoutRender", Picture::screen, kNoRender},
    {"ScreenInReplies", Picture::screen, kNoSharedMemory},
    {"OneWindow", Picture::oneWindow},
    {"OneWindowInReplies", Picture::oneWindow, kNoSharedMemory},
    {"WithoutAWindow", Picture::withoutAWindow},
};

INSTANTIATE_TEST_SUITE_P(Settings, LateNoticesTest, testing::ValuesIn(kSettings),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
