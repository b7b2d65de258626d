/* The sheet of small pictures that 'capmgr thumbs' writes. */
#include <nlohmann/json.hpp>

#include "capmgr_fixture.h"
#include "painter.h"
#include "randr_client.h"
#include "window_client.h"
#include "xvfb_server.h"

namespace {

using testing::HasSubstr;
using testing::SizeIs;

constexpr Color kLeft{200, 40, 40};
constexpr Color kRight{40, 40, 200};
constexpr Color kMark{80, 200, 80};

/* Two monitors of different height, each of a colour of its own with a black corner. */
class ThumbsTest : public CapmgrTest {
  protected:
    void SetUp() override {
        RandrClient randr(server.display());
        randr.setMonitor({"wide", {0, 0, 600, 480}, {0}, true});
        randr.setMonitor({"small", {600, 0, 200, 200}, {}, false});
        painter.fill({0, 0, 800, 480}, {0, 0, 0});
        painter.fill({0, 40, 600, 440}, kLeft);
        painter.fill({600, 40, 200, 440}, kRight);
        painter.sync();
    }

    nlohmann::json sheet(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"thumbs", "--json", "sheet.png"});
        const ChildResult result = runCapmgr(server.display(), options);
        EXPECT_EQ(result.status, 0) << result.errors;
        return nlohmann::json::parse(result.output);
    }

    static Color middleOf(const Picture& picture, const nlohmann::json& monitor) {
        return colorAt(picture,
                       monitor["left"].get<unsigned>() + monitor["width"].get<unsigned>() / 2,
                       monitor["top"].get<unsigned>() + monitor["height"].get<unsigned>() / 2);
    }

    const XvfbServer server{"800x480x24"};
    const Painter painter{server.display()};
};

TEST_F(ThumbsTest, EachMonitorHasItsPictureInItsOwnShape) {
    const nlohmann::json document = sheet();
    const Picture picture = readPicture(file("sheet.png"));
    ASSERT_THAT(document["monitors"], SizeIs(2));
    const auto& wide = document["monitors"][0];
    const auto& small = document["monitors"][1];
    EXPECT_EQ(middleOf(picture, wide), kLeft);
    EXPECT_EQ(middleOf(picture, small), kRight);
    EXPECT_EQ(wide["width"], 320);
    EXPECT_EQ(wide["height"], 256);
    EXPECT_EQ(small["width"], 200);  // it is not enlarged
    EXPECT_EQ(small["height"], 200);
    EXPECT_EQ(picture.width, document["width"]);
    EXPECT_EQ(picture.height, document["height"]);
}

TEST_F(ThumbsTest, PrimaryMonitorAloneHasABorder) {
    const nlohmann::json document = sheet();
    const Picture picture = readPicture(file("sheet.png"));
    for (const auto& monitor : document["monitors"]) {
        const Color beside = colorAt(picture, monitor["left"].get<unsigned>() - 1,
                                     monitor["top"].get<unsigned>() + 5);
        EXPECT_EQ(beside == kMark, monitor["primary"].get<bool>());
    }
}

TEST_F(ThumbsTest, EachMonitorHasACaptionBelow) {
    const nlohmann::json document = sheet();
    const Picture picture = readPicture(file("sheet.png"));
    for (const auto& monitor : document["monitors"]) {
        bool hasText = false;
        const auto below = monitor["top"].get<unsigned>() + monitor["height"].get<unsigned>() + 8;
        for (unsigned y = below; y < below + 30; ++y) {
            for (unsigned x = monitor["left"]; x < monitor["left"].get<unsigned>() + 150; ++x) {
                hasText = hasText || colorAt(picture, x, y).green > 200;
            }
        }
        EXPECT_TRUE(hasText) << monitor;
    }
}

TEST_F(ThumbsTest, WindowsCanBeLeftOut) {
    const WindowClient client(server.display());
    const xcb_window_t window = client.open({.area = {100, 100, 400, 300}, .color = {1, 250, 2}});
    client.sync();
    sheet();
    EXPECT_TRUE(shows(readPicture(file("sheet.png")), {1, 250, 2}));
    sheet({"--exclude", std::to_string(window)});
    EXPECT_FALSE(shows(readPicture(file("sheet.png")), {1, 250, 2}));
}

TEST_F(ThumbsTest, WidthOfThePicturesCanBeChosen) {
    EXPECT_EQ(sheet({"--width", "100"})["monitors"][0]["width"], 100);
    const ChildResult result = runCapmgr(server.display(), {"thumbs", "--width=100", "b.png"});
    EXPECT_THAT(result.output, HasSubstr("/b.png  248x"));
}

}  // namespace
