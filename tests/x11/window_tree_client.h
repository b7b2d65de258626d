/*
 * What clients seldom do to windows, their own or others': move them to other parents, restack them
 * among given ones, take marks away, own selections. And what there is in the server.
 *
 * What was asked is done, and told to all who asked to be told, when sync() returns. Errors throw
 * std::runtime_error.
 */
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

class WindowTreeClient {
  public:
    explicit WindowTreeClient(const std::string& display);

    void reparent(xcb_window_t window, xcb_window_t parent) const;
    void stackAbove(xcb_window_t window, xcb_window_t sibling) const;
    /* Raises the lowest of the windows in one that another one covers. */
    void circulate(xcb_window_t parent) const;
    void deleteProperty(xcb_window_t window, const char* name) const;

    /* A window of this client owns the selection from now on; nobody does. */
    void takeSelection(const char* name) const;
    void releaseSelection(const char* name) const;
    bool hasOwner(const char* name) const;
    /* Destroys the window that owns selections. */
    void destroyOwner() const;

    /* All windows but the root window, with their parents. */
    std::map<xcb_window_t, xcb_window_t> parents() const;

    bool isForInputOnly(xcb_window_t window) const;

    /* What clients want to be told of a window, all together. */
    std::uint32_t eventsWantedOf(xcb_window_t window) const;

    xcb_window_t root() const { return root_; }

    void sync() const;

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    xcb_atom_t atom(const char* name) const;

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    xcb_window_t root_ = 0;
    xcb_window_t owner_ = 0;
};
