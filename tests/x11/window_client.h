/*
 * An application with windows on a test's X server, and what a window manager would do to them.
 *
 * Coordinates are pixels: of the root window for a window's area, inside the border for what is
 * painted in it. What was asked is done when sync() returns. The windows go with the client. Errors
 * throw std::runtime_error.
 */
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "painter.h"

/* How a new window is to be. */
struct Look {
    Area area;
    Color color = {};  // of its background
    enum class Background { color, none } background = Background::color;
    std::uint16_t border = 0;
    Color borderColor = {};
    bool isOverrideRedirect = false;
    bool isInputOnly = false;
    xcb_window_t parent = 0;  // 0: the root window
};

class WindowClient {
  public:
    explicit WindowClient(const std::string& display);

    xcb_window_t create(const Look& look) const;
    /* One with an alpha channel, whose background is a premultiplied 0xAARRGGBB. */
    xcb_window_t createTranslucent(const Area& area, std::uint32_t background) const;
    /* The same, and mapped. */
    xcb_window_t open(const Look& look) const;

    void map(xcb_window_t window) const;
    void unmap(xcb_window_t window) const;
    void destroy(xcb_window_t window) const;
    void raise(xcb_window_t window) const;
    void lower(xcb_window_t window) const;
    /* Right beneath another one. */
    void placeBelow(xcb_window_t window, xcb_window_t other) const;
    void move(xcb_window_t window, std::int16_t x, std::int16_t y) const;
    void resize(xcb_window_t window, std::uint16_t width, std::uint16_t height) const;
    void fill(xcb_window_t window, const Area& area, Color color) const;

    /* Marks an application's window as a window manager does. */
    enum class Management { normal, iconic };
    void setManaged(xcb_window_t window, Management management = Management::normal) const;
    /* Names of states, as in _NET_WM_STATE. */
    void setStates(xcb_window_t window, const std::vector<const char*>& states) const;
    /* Names of types, as in _NET_WM_WINDOW_TYPE. */
    void setTypes(xcb_window_t window, const std::vector<const char*>& types) const;
    void setTitle(xcb_window_t window, std::string_view utf8) const;
    void setClass(xcb_window_t window, std::string_view instance, std::string_view className) const;
    /* Any bytes under any name, as of a type of that name; and any numbers. */
    void setBytes(xcb_window_t window, const char* name, const char* type,
                  std::string_view bytes) const;
    void setProperty(xcb_window_t window, const char* name, xcb_atom_t type,
                     const std::vector<std::uint32_t>& values) const;
    /* A property's numbers; empty if it has none. */
    std::vector<std::uint32_t> numbersIn(xcb_window_t window, const char* name) const;
    /* Marks a window as a part of another client's. */
    void setEmbedded(xcb_window_t window) const;
    /* 0 to 1. */
    void setOpacity(xcb_window_t window, double opacity) const;
    void setShape(xcb_window_t window, const std::vector<Area>& parts) const;
    /* Asks the window manager never to give a window the keyboard focus. */
    void setUnfocusable(xcb_window_t window) const;
    /* Marks a window as a dialog of another one. */
    void setDialogOf(xcb_window_t window, xcb_window_t owner) const;
    /* A background of two colours in squares, as desktops leave it: it is the root window's own,
     * and told to compositing managers. */
    void setBackdrop(Color even, Color odd, std::uint16_t square) const;
    void setRootColor(Color color) const;
    void setRootProperty(const char* name, xcb_atom_t type, std::uint32_t value) const;

    /* Takes it on to show the windows on screen, as a compositing manager does, by drawing on the
     * server's window for that, which is filled with a colour here. */
    void compositeOn(Color color) const;

    /* Returns when the server has done all that was asked. */
    void sync() const;

    /* Whether the server has asked for some of the window to be painted, since the last call. The
     * window paints nothing but its background by itself. */
    bool takeExposure(xcb_window_t window) const;

    xcb_window_t root() const { return screen_->root; }
    /* That of one of the server's screens, which are counted from 0. */
    xcb_window_t root(int screen) const;

    /* Whether the server has an extension. */
    bool offers(const char* extension) const;

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    void configure(xcb_window_t window, std::uint16_t mask,
                   const std::vector<std::uint32_t>& values) const;
    xcb_atom_t atom(const char* name) const;
    xcb_visualid_t translucentVisual() const;
    void fillDrawable(xcb_drawable_t drawable, const Area& area, Color color) const;

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    const xcb_screen_t* screen_ = nullptr;
    xcb_gcontext_t context_ = 0;
    mutable std::set<xcb_window_t> exposed_;
};

/* The server serves nobody else while it lives. */
class ServerGrab {
  public:
    explicit ServerGrab(const std::string& display);
    ~ServerGrab();
    ServerGrab(const ServerGrab&) = delete;
    ServerGrab& operator=(const ServerGrab&) = delete;

  private:
    xcb_connection_t* connection_;
};
