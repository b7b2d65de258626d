/*
 * Applications that change a test's screen at random, in all the ways in which clients can.
 *
 * They draw in windows, in windows within windows and on the root window, change backgrounds,
 * borders, shapes and palettes, move windows about, also from one parent to another, mark them as
 * window managers do, and resize the screen. The same seed gives the same changes. Errors throw
 * std::runtime_error. Not to be shared between threads.
 */
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "painter.h"
#include "random_drawing.h"
#include "randr_client.h"

class ScreenChanges {
  public:
    struct Scope {
        bool drawsOnRoot = true;  // beside giving it other backgrounds
        bool resizesScreen = true;
        // Does as much to the first of the lasting windows as to all others together.
        bool favoursFirst = false;
    };

    ScreenChanges(const std::string& display, unsigned seed, Scope scope);

    /* Makes a few changes. The server has made them when this returns, and has sent all its clients
     * what it had to tell them about that. */
    void change();

    /* What the last call did. */
    const std::string& lastChange() const { return lastChange_; }

    /* One of two windows that are resized, unmapped and all that, but stay. */
    xcb_window_t lasting(std::size_t position) const { return windows_.at(position).id; }

    /* All of the screen, as it was at first. */
    Area screen() const { return {0, 0, screen_->width_in_pixels, screen_->height_in_pixels}; }

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;
    struct Window {
        xcb_window_t id = XCB_NONE;
        xcb_window_t child = XCB_NONE;
        bool isMapped = false;
    };

    static Connection connectTo(const std::string& display);
    xcb_atom_t atom(std::string_view name) const;
    Window& anyWindow();
    xcb_window_t anyTarget();
    void makeWindow(Window& window);
    std::string act();
    std::string draw();
    std::string changeWindow();
    std::string move(xcb_window_t window);
    std::string resize(xcb_window_t window);
    std::string restack(xcb_window_t window);
    std::string changeBackground(xcb_window_t window);
    std::string changeShape(xcb_window_t window);
    std::string replace(Window& window);
    std::string reparent(const Window& window);
    std::string mark(const Window& window);
    std::string toggleMapped(Window& window);
    std::string changeBackdrop();
    std::string resizeScreen();
    void roundTrip() const;

    const Scope scope_;
    const std::string display_;
    const Connection connection_;
    const xcb_screen_t* const screen_;
    std::optional<RandrClient> randr_;  // since the screen was resized
    std::mt19937 random_;
    RandomDrawing drawing_;
    xcb_pixmap_t backdrop_ = XCB_NONE;
    const xcb_atom_t backdropName_;
    const xcb_atom_t stateName_;
    std::vector<Window> windows_;
    std::string lastChange_;
};
