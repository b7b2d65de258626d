/* What the tests of windows share: a server with an application's windows on it. */
#pragma once

#include <initializer_list>
#include <vector>

#include "screen_test.h"
#include "window_client.h"

using Windows = std::vector<CGWindowID>;

/* The listed windows, front to back. Fails the test if there is no list. */
Windows windowsOnScreen();

/* Pictures of an area of the root window. */
Image imageOfWindows(const Area& area, const Windows& windows);
Image imageOfWindow(const Area& area, CGWindowID window);

/* An image's colour; a failure and black if there is no image. */
Color colorAt(const Image& image, std::size_t x, std::size_t y);

/* Whether any pixel of an image has a colour. */
bool shows(const Image& image, Color color);

/* One server with windows per test. */
class WindowTest : public testing::Test {
  protected:
    void SetUp() override { start({}); }

    void start(std::vector<std::string> arguments);

    static constexpr Area kScreen{0, 0, 320, 200};
    static constexpr Color kRed{200, 10, 20};
    static constexpr Color kGreen{30, 180, 40};
    static constexpr Color kBlue{50, 60, 220};
    static constexpr Color kBlack{0, 0, 0};

    const WindowClient& client() const { return *client_; }
    XvfbServer& server() const { return *server_; }

    /* Opens a window and waits for it. */
    xcb_window_t open(const Look& look) const;

    std::unique_ptr<XvfbServer> server_;
    std::unique_ptr<WindowClient> client_;
};
