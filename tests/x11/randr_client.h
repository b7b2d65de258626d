/*
 * A client that reconfigures the one output of a test's Xvfb server.
 *
 * A change is done when its call returns. Errors throw std::runtime_error.
 */
#pragma once

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

struct ModeTiming {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint32_t dotClock = 0;  // pixels a second
    std::uint16_t horizontalTotal = 0;
    std::uint16_t verticalTotal = 0;
    std::uint32_t flags = 0;  // XCB_RANDR_MODE_FLAG_
};

class RandrClient {
  public:
    explicit RandrClient(const std::string& display);

    /* The output's identifier. */
    std::uint32_t output() const { return output_; }

    /* Resizes the root window to a new mode's size, and shows it. */
    void setMode(const ModeTiming& timing);

    /* The output shows nothing any more; the root window stays. */
    void turnOff();

    /* Gives the output description data. */
    void setEdid(std::span<const std::uint8_t> edid);

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    void check(xcb_void_cookie_t cookie, const char* what) const;
    std::uint32_t createMode(const ModeTiming& timing);
    void setCrtc(std::uint32_t mode);
    void resizeRoot(std::uint16_t width, std::uint16_t height);

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    xcb_window_t root_ = 0;
    std::uint32_t output_ = 0;
    std::uint32_t crtc_ = 0;
};
