/*
 * What the screen shows: all windows as they are seen, and what is around them.
 *
 * The image made last is kept. While nothing was drawn in its area (DAMAGE) it is handed out again,
 * without a word to the server. Where something was drawn, that part is read anew, into the same
 * memory if nobody else holds the image. Now and then all of it is read all the same, and should
 * that show that the server did not tell of everything, all is read each time from then on.
 *
 * Whoever puts other pixels over parts of the image, before anybody gets it, has those parts left
 * out of all this.
 */
#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "coregraphics/image.h"
#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/damage_watch.h"
#include "x11/screen_reader.h"

namespace qor::x11 {

/* How long a change may go unseen that the server did not tell of. */
inline constexpr std::chrono::seconds kLongestTrust{10};

class ScreenContent {
  public:
    ScreenContent(Connection& connection, ScreenReader& reader)
        : connection_(connection), reader_(reader) {}

    using Parts = std::vector<coregraphics::PixelRect>;

    /* Whether update() would have nothing to do. */
    bool isUpToDate(const coregraphics::PixelRect& area, const Parts& covered = {}) const;

    /* Makes the image show the present pixels of an area of the root window, zero where it reaches
     * past it; anything in the covered parts where it is read anew. Gives the part that is, empty
     * if none; null if the pixels cannot be had. Throws std::bad_alloc. */
    std::optional<coregraphics::PixelRect> update(const coregraphics::PixelRect& area,
                                                  const Parts& covered = {});

    /* The image, to be handed out; and its memory, for who covers parts of it while it is free.
     * Only after a successful update(). */
    coregraphics::ImageReference image() const { return coregraphics::share(last_->image); }
    const ImageMemory& memory() const { return last_->frame.memory; }
    const coregraphics::PixelRect& area() const { return last_->frame.area; }

    /* Whether nobody holds the image, or any part of it. */
    bool isFree() const { return !last_ || coregraphics::isHeldOnce(last_->image); }

    /* Forgets the image, so that all of the next one is read anew. */
    void forget() noexcept { last_.reset(); }

  private:
    using Clock = std::chrono::steady_clock;
    using Outcome = ScreenReader::Outcome;
    using PixelRect = coregraphics::PixelRect;

    struct Kept {
        ScreenFrame frame;
        coregraphics::ImageReference image;
    };

    bool isLastOf(const PixelRect& area) const;
    bool isTrusted() const { return Clock::now() < trustedUntil_; }
    void watch();
    Outcome bringUpToDate(const Parts& covered, PixelRect& part);
    Outcome readDrawn(ScreenFrame& frame, const Parts& covered, PixelRect& part);
    Outcome makeAnew(const PixelRect& area, PixelRect& part);
    Outcome read(ScreenFrame& frame, PixelRect& part);
    Outcome check(ScreenFrame& frame, const Parts& covered, PixelRect& part);

    Connection& connection_;
    ScreenReader& reader_;
    std::optional<Kept> last_;
    std::optional<DamageWatch> damage_;  // null before an area was asked for twice in a row
    bool isDamageTrusted_ = true;
    Clock::time_point trustedUntil_;
};

}  // namespace qor::x11
