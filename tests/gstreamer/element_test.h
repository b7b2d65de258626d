/* What the tests of the element share: a screen of the test's own, and GStreamer with the plugin.
 */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "painter.h"
#include "picture_pipeline.h"
#include "xvfb_server.h"

/* Waits, polling, until a condition holds. False if it does not within 20 s. */
template <typename Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

/* DISPLAY is the process's; each test sets it for its own server. */
void useDisplay(const std::string& display);

/* One server with a picture of many colours on it per test. */
class ElementTest : public testing::Test {
  protected:
    static constexpr int kWidth = 640;
    static constexpr int kHeight = 480;
    static constexpr Color kRed{255, 10, 20};  // like nothing else on the screen
    static constexpr Color kGreen{30, 180, 40};
    static constexpr Area kWindowArea{200, 150, 160, 120};

    ElementTest();

    const std::string& display() const { return display_; }
    const Painter& painter() const { return painter_; }

    /* A window on top of all others. */
    xcb_window_t openWindow(Color color) const;

  private:
    XvfbServer server_{"640x480x24"};
    std::string display_ = server_.display();
    PaintedScene scene_{display_};
    Painter painter_{display_};
};
