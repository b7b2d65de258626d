/*
 * A client that arranges the outputs of a test's server.
 *
 * Outputs are named by their position in the server's list; each is fed by the CRTC of the same
 * position. A change is done when its call returns. Errors throw std::runtime_error.
 */
#pragma once

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <compare>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "painter.h"

struct ModeTiming {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint32_t dotClock = 0;  // pixels a second
    std::uint16_t horizontalTotal = 0;
    std::uint16_t verticalTotal = 0;
    std::uint32_t flags = 0;  // XCB_RANDR_MODE_FLAG_

    friend auto operator<=>(const ModeTiming&, const ModeTiming&) = default;
};

/* A mode of a size, with 50 refreshes a second. */
ModeTiming modeOfSize(std::uint16_t width, std::uint16_t height);

/* What an output shows of the root window. */
struct Placement {
    std::size_t output = 0;
    ModeTiming mode;
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t rotation = XCB_RANDR_ROTATION_ROTATE_0;
};

/* A monitor as a person sets it. Without a size it has that of its outputs. */
struct MonitorByHand {
    std::string name;
    Area area;
    std::vector<std::size_t> outputs;
    bool isPrimary = false;
};

class RandrClient {
  public:
    explicit RandrClient(const std::string& display);

    xcb_window_t root() const { return root_; }

    /* An output's identifier. */
    std::uint32_t output(std::size_t position = 0) const { return outputs_.at(position); }

    /* Switches off the outputs that are not named, and resizes the root window to what the others
     * show of it. Those that show what they are to show are left alone. */
    void arrange(const std::vector<Placement>& placements);

    /* Resizes the root window to a new mode's size, and has the first output alone show it. */
    void setMode(const ModeTiming& timing);

    /* The first output shows nothing any more; the root window stays. */
    void turnOff() { arrange({}); }

    /* Has the first output, which shows all of the root window, show it from another side. */
    void rotate(std::uint16_t rotation);

    /* Which output is the main one, if any. */
    void setPrimary(std::optional<std::size_t> position);

    void setMonitor(const MonitorByHand& monitor);
    void deleteMonitor(const std::string& name);

    /* Gives an output description data. */
    void setEdid(std::span<const std::uint8_t> edid, std::size_t position = 0);

    xcb_atom_t atom(const std::string& name) const;

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    struct CrtcState {
        std::uint32_t mode = XCB_NONE;
        std::int16_t x = 0;
        std::int16_t y = 0;
        std::uint16_t rotation = XCB_RANDR_ROTATION_ROTATE_0;

        friend bool operator==(const CrtcState&, const CrtcState&) = default;
    };

    void check(xcb_void_cookie_t cookie, const char* what) const;
    std::uint32_t modeFor(const ModeTiming& timing, std::size_t position);
    std::uint32_t createMode(const ModeTiming& timing) const;
    CrtcState crtcState(std::size_t position) const;
    void setCrtc(std::size_t position, const CrtcState& state) const;
    xcb_void_cookie_t sendMonitor(xcb_randr_monitor_info_t& info,
                                  std::vector<std::uint32_t>& outputs) const;
    void resizeRoot(std::uint16_t width, std::uint16_t height) const;

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    xcb_window_t root_ = 0;
    std::vector<std::uint32_t> outputs_;
    std::vector<std::uint32_t> crtcs_;
    std::map<ModeTiming, std::uint32_t> modes_;
    std::set<std::pair<std::uint32_t, std::size_t>> offered_;  // modes by outputs
};
