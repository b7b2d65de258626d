/*
 * Where a drawable was drawn to (DAMAGE).
 *
 * The server tells of the rectangle around all that was drawn since it was last told to forget it,
 * each time that this grows. What it told is taken in whenever anything is read from the
 * connection, so no request is needed to learn that nothing was drawn.
 */
#pragma once

#include <cstdint>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"

namespace qor::x11 {

/* As far as coordinates reach. */
inline constexpr coregraphics::PixelRect kEverything{-32768, -32768, 65535, 65535};

class DamageWatch final : public EventListener {
  public:
    /* All of the drawable counts as drawn to at first. Of a window that includes the windows in it
     * as far as they share its pixmap. The server has to offer DAMAGE. */
    DamageWatch(Connection& connection, xcb_drawable_t drawable);
    ~DamageWatch() override;
    DamageWatch(const DamageWatch&) = delete;
    DamageWatch& operator=(const DamageWatch&) = delete;

    /* The rectangle around all that was drawn to, as far as it was told, in the drawable's
     * coordinates. */
    const coregraphics::PixelRect& drawn() const { return drawn_; }

    /* Gives that and forgets it. What is read from the drawable by later requests has it. */
    coregraphics::PixelRect forget();

    /* What had been drawn before it was forgotten, and was told afterwards. */
    const coregraphics::PixelRect& missed() const { return missed_; }

    bool take(const xcb_generic_event_t& event) noexcept override;

  private:
    Connection& connection_;
    const std::uint32_t damage_;
    std::uint32_t forgotten_ = 0;  // the request's sequence number
    coregraphics::PixelRect drawn_;
    coregraphics::PixelRect missed_;
};

}  // namespace qor::x11
