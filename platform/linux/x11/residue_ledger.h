/*
 * Where in a window's content other windows' pixels may be. No protocol in here.
 *
 * When a window is mapped or resized, and when the server begins to keep its content, it gets a
 * fresh pixmap, and the server fills that with what is on screen there. A window without a
 * background keeps it until its application has painted. So a window may hold pixels of those that
 * overlapped it at that moment, and of those whose pixels they held in turn. This is a record of
 * them, kept from the server's notices of what becomes of each window.
 *
 * The screen may lag behind: what a window has left is still on screen until the server has painted
 * over it. So places that were left count as long as two rounds, which is when the server has
 * answered a request that came after; longer where a compositing manager paints the screen.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "coregraphics/pixel_buffer.h"

namespace qor::x11 {

class ResidueLedger {
  public:
    using Window = std::uint32_t;
    using PixelRect = coregraphics::PixelRect;
    using Predicate = std::function<bool(Window)>;

    using Clock = std::chrono::steady_clock;

    static constexpr Window kUnknown = 0;

    /* What a compositing manager may do beyond the windows' boxes and after they have gone: shades
     * around them, and fades. */
    struct Afterglow {
        std::chrono::milliseconds time{0};
        std::uint32_t margin = 0;  // pixels on each side
    };

    /* Holds for what happens from now on. */
    void setAfterglow(const Afterglow& afterglow) { afterglow_ = afterglow; }

    /* The time of what is told next. It does not go backwards. */
    void advanceTo(Clock::time_point now) { now_ = now; }

    /* A window exists at box, in pixels of the root window, border included. */
    void appeared(Window window, const PixelRect& box, bool isMapped);
    /* The same for one whose size is not told, and which is not mapped. */
    void appearedAt(Window window, std::int32_t x, std::int32_t y);
    void configured(Window window, const PixelRect& box);
    void mapped(Window window);
    void unmapped(Window window);
    /* What is left of it counts as kUnknown's from now on: its identifier may become another
     * window's, and windows that come and go would add up. */
    void gone(Window window);

    /* Each mapped window gets a fresh pixmap now. What they show on screen at present goes into it;
     * and where an application has not come to paint yet what a window that was moved away or
     * closed had covered, that is the other window's. So all of it counts as kUnknown's. */
    void allBeginAnew();

    /* Whether nothing may be on screen any more but where windows are. */
    bool isSettled() const { return trails_.empty(); }

    /* A round of requests to the server has been answered. */
    void endRound();

    /* Areas from a window's box's corner, in its present pixmap and those that it had since it was
     * cleaned, that may hold pixels of windows for which the predicate holds. They may reach past
     * the box. All of a window that is not known. */
    std::vector<PixelRect> residueIn(Window window, const Predicate& isLeftOut) const;

    /* Areas of the root window where the screen may show pixels of windows for which the predicate
     * holds. */
    std::vector<PixelRect> shownOf(const Predicate& isLeftOut) const;

    /* Tells the present pixmap of a window that is as large as box from its earlier ones; 0 if the
     * window has another size. */
    unsigned generation(Window window, const PixelRect& box) const;

    /* In the pixmap of that generation those areas hold none any more. That says nothing of a later
     * one, which may have got its pixels before the areas were cleaned. */
    void cleaned(Window window, unsigned generation, const Predicate& isLeftOut);

  private:
    struct Place {
        PixelRect box;
        bool isMapped = false;
        bool hasSize = true;
        unsigned generation = 0;
        // Whose pixels, and the area around all of them from the box's corner.
        std::map<Window, PixelRect> residue = {};
    };
    struct Trail {
        PixelRect area;  // of the root window
        int roundsLeft = 0;
        Clock::time_point end = {};
    };

    static void join(std::map<Window, PixelRect>& residue, const PixelRect& area);
    static void join(std::map<Window, Trail>& trails, const Trail& trail);
    void leave(Window window, const Place& place);
    void leaveTrail(Window window, const PixelRect& area);
    void beginAnew(Window window, Place& place);
    PixelRect withAfterglow(const PixelRect& area) const;
    static void addResidue(Place& place, Window from, const PixelRect& onRoot);

    Afterglow afterglow_;
    Clock::time_point now_;
    std::map<Window, Place> places_;
    unsigned generations_ = 0;
    std::map<Window, Trail> trails_;  // where windows' pixels may still be on screen
};

}  // namespace qor::x11
