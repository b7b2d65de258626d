/*
 * A desktop of windows that do at random what windows do, some of them secret, and of clocks.
 *
 * Each window is of one colour, a new one's of another than those of the windows there are. The
 * clocks are in front of all windows and show one time, from which a picture tells when it was
 * taken. The scene knows what it looks like. The same seed makes the same changes. Errors throw
 * std::runtime_error.
 */
#pragma once

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "picture.h"
#include "window_client.h"

class Scene {
  public:
    struct Window {
        xcb_window_t id = 0;
        Area area = {};
        Color color = {};
        bool isSecret = false;
        bool isMapped = true;
    };

    /* The screen's size in pixels. */
    struct Size {
        std::uint16_t width = 0;
        std::uint16_t height = 0;
    };

    /* The clocks begin after a time. */
    Scene(const std::string& display, unsigned seed, Size screen, unsigned time = 0);

    /* Makes one change, and tells which. It is done when this returns. */
    std::string change();

    /* Puts the clocks on. */
    void tick();
    unsigned time() const { return time_; }

    void setScreen(Size screen) { screen_ = screen; }

    /* Paints what the server asks for. */
    void paintExposed();
    /* Paints all windows, so that none holds pixels any more of those that were closed before. */
    void paintAll();

    /* The lowest first. */
    const std::vector<Window>& windows() const { return windows_; }
    /* Null when it was closed. */
    const Window* find(xcb_window_t window) const;

    /* What an area of the screen shows without some of the windows. */
    Picture desktop(const Area& area, const std::set<xcb_window_t>& without) const;
    /* A window at its place, beyond the screen too, and nothing else. */
    Picture alone(const Area& area, xcb_window_t window) const;

    /* The most red in any pixel there can be, without some of the windows. Those that were closed
     * after everything was last painted count in: what they left may still be seen. */
    unsigned mostRed(const std::set<xcb_window_t>& without) const;
    /* The time after that painting. */
    unsigned paintedAt() const { return paintedAt_; }

  private:
    unsigned below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
    bool oneIn(unsigned count) { return below(count) == 0; }
    Area anyArea();
    Area onScreen(const Area& area) const;
    std::string open();
    std::string close(std::size_t position);
    std::string restack(std::size_t position, bool isRaised);
    std::string toggleMapped(Window& window);
    std::string move(Window& window);
    std::string resize(Window& window);
    std::string changeBackground();
    void paint(const Window& window);
    void paintClocks();
    static std::vector<Area> clockAreas();

    WindowClient client_;
    std::mt19937 random_;
    Size screen_;
    std::vector<Window> windows_;
    std::vector<Window> closed_;        // since everything was painted
    std::vector<xcb_window_t> clocks_;  // the lowest first
    unsigned time_;
    unsigned paintedAt_ = 0;
    unsigned opened_ = 0;
    Color background_;
};
