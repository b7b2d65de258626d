#include "view_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
template <typename Reply>
using ReplyPtr = std::unique_ptr<Reply, Free>;

/* The picture in a window: as large as it goes in, in the middle. */
struct Place {
    double x;
    double y;
};
Place placeIn(double width, double height, const nlohmann::json& picture, Place point) {
    const double pictureWidth = picture.at("width");
    const double pictureHeight = picture.at("height");
    const double scale = std::min(width / pictureWidth, height / pictureHeight);
    return {(width - pictureWidth * scale) / 2 + point.x * scale,
            (height - pictureHeight * scale) / 2 + point.y * scale};
}

/* What the server has in a window; drawn there or not, nothing may cover it. */
Color colorIn(const std::string& display, xcb_window_t window, const nlohmann::json& picture,
              Place point) {
    const std::unique_ptr<xcb_connection_t, Disconnect> owner(
        xcb_connect(display.c_str(), nullptr));
    xcb_connection_t* const connection = owner.get();
    const ReplyPtr<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    if (size == nullptr) {
        return {};
    }
    const Place place = placeIn(size->width, size->height, picture, point);
    const ReplyPtr<xcb_get_image_reply_t> image(
        xcb_get_image_reply(connection,
                            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window,
                                          static_cast<std::int16_t>(place.x),
                                          static_cast<std::int16_t>(place.y), 1, 1, 0xFFFFFFFFU),
                            nullptr));
    if (image == nullptr) {
        return {};
    }
    const std::uint8_t* const pixel = xcb_get_image_data(image.get());
    return {pixel[2], pixel[1], pixel[0]};
}

}  // namespace

bool ViewerProgram::awaitState(const std::string& name, const nlohmann::json& value) {
    return child_.awaitOutput([&](const std::string& output) {
        const std::vector<std::string> lines = linesOf(output.substr(0, output.rfind('\n') + 1));
        for (; told_ < lines.size(); ++told_) {
            state_ = nlohmann::json::parse(lines[told_]);
            if (state_.at(name) == value) {
                return true;
            }
        }
        return false;
    });
}

ViewTest::ViewTest() {
    client->setRootColor(kScreen);
    window = client->open({.area = kArea, .color = kWindow});
    client->sync();
}

ChildSetup ViewTest::view(const std::vector<std::string>& arguments) const {
    ChildSetup setup = program("/usr/bin/env", server->display());
    setup.command.insert(setup.command.end(), environment.begin(), environment.end());
    setup.command.insert(setup.command.end(), {CAPMGR_PROGRAM, "view", "--json"});
    setup.command.insert(setup.command.end(), arguments.begin(), arguments.end());
    return setup;
}

void ViewTest::start(const std::vector<std::string>& arguments) {
    viewer = std::make_unique<ViewerProgram>(view(arguments));
    const bool isShown = viewer->awaitState("notice", "");
    ASSERT_TRUE(isShown) << viewer->process().finish().errors;
}

void ViewTest::type(const std::string& key) const {
    ChildSetup setup = program("/usr/bin/env", server->display());
    for (const std::string& argument :
         {std::string("xdotool"), std::string("mousemove"), std::string("--window"),
          std::to_string(ownWindow()), std::string("100"), std::string("100"), std::string("key"),
          key}) {
        setup.command.push_back(argument);
    }
    const ChildResult result = runToEnd(setup);
    EXPECT_EQ(result.status, 0) << result.errors;
}

bool ViewTest::awaitColor(std::int16_t x, std::int16_t y, Color color) const {
    const nlohmann::json monitor{{"width", 640}, {"height", 480}};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
        if (colorIn(server->display(), ownWindow(), monitor,
                    {static_cast<double>(x), static_cast<double>(y)}) == color) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}
