/*
 * Real programs of a desktop on a test's X server: window manager, compositing manager, clients.
 *
 * Each one is ready when the call that starts it returns, and ends with the session. They read no
 * settings of the user's: their home is a directory of the session's own. Errors throw
 * std::runtime_error, with what the program said. Not to be shared between threads; to be started
 * from a thread that outlives the session's use.
 */
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "child_program.h"
#include "painter.h"

class DesktopSession {
  public:
    enum class Effects { none, fadesAndShadows };

    explicit DesktopSession(const std::string& display);
    ~DesktopSession();
    DesktopSession(const DesktopSession&) = delete;
    DesktopSession& operator=(const DesktopSession&) = delete;

    /* openbox, with two desktops, and with frames in which no colour has any red. */
    void startWindowManager();

    /* picom, which owns the screen's selection for compositing managers from then on. */
    void startCompositor(Effects effects);

    /* A client whose toolkit takes -name; its window, on screen, in its frame if it has one. */
    xcb_window_t startClient(std::vector<std::string> command);

    /* The windows that the window manager says it manages, in no particular order, and the lowest
     * first. */
    std::vector<xcb_window_t> managedWindows() const;
    std::vector<xcb_window_t> stackedWindows() const;

    /* The window by which the window manager is known, XCB_NONE if there is no manager. */
    xcb_window_t managersMark() const;

    /* What a window takes up on its screen, in its frame if it has one. */
    Area outerArea(xcb_window_t window) const;

    /* Ends the client that made a window. */
    void end(xcb_window_t window) const;

    void iconify(xcb_window_t window) const;
    void restore(xcb_window_t window) const;
    /* Asks its application to close it, as the button in its frame does. */
    void close(xcb_window_t window) const;
    void setFullscreen(xcb_window_t window, bool isFullscreen) const;
    void showDesktop(std::uint32_t desktop) const;
    void resizeManaged(xcb_window_t window, std::uint16_t width, std::uint16_t height) const;
    void moveManaged(xcb_window_t window, std::int16_t x, std::int16_t y) const;

    /* Returns when the window manager, if there is one, has done all that it was asked before, by
     * whomever. */
    void settle() const;

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    ChildProgram& start(std::vector<std::string> command);
    template <typename Condition>
    void await(ChildProgram& program, Condition isReady) const;
    std::vector<std::uint32_t> property(xcb_window_t window, const char* name) const;
    xcb_atom_t atom(const char* name) const;
    xcb_window_t ownerOf(const char* selection) const;
    bool isManaging() const;
    xcb_window_t findClient(xcb_window_t window, const std::string& name) const;
    bool isReadyClient(xcb_window_t window) const;
    void tell(xcb_window_t window, const char* message,
              const std::vector<std::uint32_t>& values) const;

    const std::string display_;
    std::string home_;
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    xcb_window_t root_ = 0;
    bool hasWindowManager_ = false;
    int clients_ = 0;
    std::list<ChildProgram> programs_;
};
