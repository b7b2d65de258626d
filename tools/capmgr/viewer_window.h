/*
 * The viewer's window: shows a picture as large as it goes in, under its texts, and hands out what
 * happens to it. For one thread, but for wake.
 */
#ifndef CAPMGR_VIEWER_WINDOW_H
#define CAPMGR_VIEWER_WINDOW_H

#include <SDL.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "CaptureManager.h"
#include "frame.h"
#include "viewer_overlay.h"

class ViewerWindow {
  public:
    using Clock = std::chrono::steady_clock;

    /* Opens on screen, for pictures of that size. Throws Failure. */
    ViewerWindow(const std::string& title, CAP_SIZE picture, Console& errors);

    /* The next event, once it comes; none when the deadline passed first. */
    std::optional<SDL_Event> await(Clock::time_point deadline);

    /* Has await return soon. Any thread. */
    void wake();

    /* Throws Failure. */
    void setPicture(const Frame& frame);
    void setTitle(const std::string& title);
    void setFullscreen(bool wanted);
    ViewerOverlay& overlay() { return *overlay_; }

    /* Draws all of it. */
    void draw();

    /* Its number in the list of windows; none where that cannot be told. */
    std::optional<std::uint32_t> number() const;

  private:
    struct Library {
        Library();
        ~Library();
        Library(const Library&) = delete;
        Library& operator=(const Library&) = delete;
    };
    struct Destroy {
        void operator()(SDL_Window* window) const { SDL_DestroyWindow(window); }
        void operator()(SDL_Renderer* renderer) const { SDL_DestroyRenderer(renderer); }
    };

    void makeTexture(const Frame& frame);

    Library library_;
    std::unique_ptr<SDL_Window, Destroy> window_;
    std::unique_ptr<SDL_Renderer, Destroy> renderer_;
    std::optional<ViewerOverlay> overlay_;
    Texture picture_;
    SDL_Point pictureSize_{};
    Uint32 wakeEvent_ = 0;
    std::atomic<bool> isAwake_{false};  // a wake event waits to be taken
};

#endif
