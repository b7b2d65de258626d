/*
 * Pictures of chosen windows, each with its own content, whatever covers it.
 *
 * Where the server itself shows the windows and little is left out, the screen is read, and only
 * what a left-out window may have on it is drawn. Where a compositing manager shows them, all is
 * drawn: what that puts on the screen, and where, cannot be known.
 *
 * A picture shows no pixel of a window that was not chosen: if anything changed while it was made
 * that this depends on, it is dropped and made again. While nothing changed since it was made,
 * neither the windows nor what is drawn in those that are in it, it is handed out again.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "coregraphics/image.h"
#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/image_memory.h"
#include "x11/image_transport.h"
#include "x11/known_windows.h"
#include "x11/screen_content.h"
#include "x11/window_composer.h"

namespace qor::x11 {

class WindowPictures {
  public:
    WindowPictures(Connection& connection, ImageTransport& transport, ScreenReader& reader)
        : connection_(connection),
          transport_(transport),
          screen_(connection, reader),
          windows_(connection),
          composer_(connection, transport, windows_) {}

    /* All windows on screen and off, with what is known of them. Valid until the next call that
     * lists windows or takes a picture; null if the server does not answer. */
    const WindowStack* listWindows() { return windows_.list(); }

    /* The windows on screen, by number, front to back. */
    std::optional<std::vector<std::uint32_t>> numbersOnScreen();

    /* An area of the root window with the given windows, the first one on top, and no others; null
     * if that cannot be had. Throws std::bad_alloc, as do the others. */
    coregraphics::ImageReference desktopOf(const std::vector<std::uint32_t>& numbers,
                                           const coregraphics::PixelRect& area);

    /* An area of the root window, zero but for one window. While that is not on screen, but still
     * there, its last picture, if that was of the same area; null if there is none. */
    coregraphics::ImageReference aloneIn(const coregraphics::PixelRect& area, std::uint32_t number);

    /* Takes in the notices that have come, which would pile up otherwise. */
    void takeNotices() { windows_.takeNotices(); }

  private:
    using Clock = std::chrono::steady_clock;
    using PixelRect = coregraphics::PixelRect;

    enum class Kind { desktop, alone };
    /* What a picture was made of. */
    struct Subject {
        Kind kind = Kind::desktop;
        std::vector<std::uint32_t> numbers;
        PixelRect area;

        friend bool operator==(const Subject&, const Subject&) = default;
    };
    /* The picture made last, if it may be handed out again. */
    struct Last {
        Subject subject;
        unsigned changes = 0;        // that had been told of before it was made
        Clock::time_point end = {};  // of being trusted, but for one with patches
        // If it is the screen's image, what is patched on it.
        std::optional<std::vector<PixelRect>> patches = std::nullopt;
        coregraphics::ImageReference image = nullptr;  // of the desktop, if it was all drawn
    };
    struct LastAlone {
        std::uint32_t number = 0;
        PixelRect area;
        ImageMemory memory;
        coregraphics::ImageReference image;
    };

    bool isUpToDate(const Subject& subject) const;
    bool isUnchanged(const Last& picture) const;
    coregraphics::ImageReference lastImage() const;
    Scene sceneOf(const std::vector<std::uint32_t>& numbers, const WindowStack& stack) const;
    bool isPatchable(const WindowStack& stack, const Scene& scene);
    Outcome makeDesktop(const WindowStack& stack, bool mayPatch, const std::optional<Last>& before,
                        Last& picture);
    Outcome compose(Scene scene, Last& picture);
    Outcome patch(Scene scene, const std::optional<Last>& before, Last& picture);
    Outcome drawPatches(const Scene& scene);
    Outcome makeAlone(Scene scene, const std::optional<Last>& before, Last& picture);
    Outcome updateAlone(Scene scene, const Last& before, Last& picture);
    std::optional<ImageMemory> lend(const PixelRect& area, bool isAllDrawn);
    coregraphics::ImageReference lastAloneOf(const PixelRect& area, std::uint32_t number);

    Connection& connection_;
    ImageTransport& transport_;
    ScreenContent screen_;  // with patches
    KnownWindows windows_;
    WindowComposer composer_;
    std::optional<Last> last_;
    std::optional<LastAlone> lastAlone_;
};

}  // namespace qor::x11
