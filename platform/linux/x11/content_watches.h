/* Whether the windows were drawn to whose contents a picture was made from (DAMAGE). */
#pragma once

#include <map>
#include <vector>

#include "x11/connection.h"
#include "x11/damage_watch.h"
#include "x11/top_levels.h"

namespace qor::x11 {

class ContentWatches {
  public:
    explicit ContentWatches(Connection& connection) : connection_(connection) {}

    /* A picture is begun, of some of the given windows. What was used for the one before does not
     * count any more. */
    void beginPicture(const std::vector<TopLevel>& windows);

    /* A window's content is about to be drawn on the picture. generation tells its present pixmap
     * from earlier ones, and from those of windows that had the same identifier; 0 if it is not
     * known. */
    void use(xcb_window_t window, unsigned generation);

    /* Where a window that is used was drawn to since, or by what was told too late before that, in
     * its coordinates. Anywhere, if it is not known. */
    coregraphics::PixelRect drawnIn(xcb_window_t window) const;
    coregraphics::PixelRect missedIn(xcb_window_t window) const;

    /* Whether none of the contents was drawn to since it was used for the picture. */
    bool areUnchanged() const;

  private:
    struct Watched {
        Watched(Connection& connection, xcb_window_t window, unsigned madeIn)
            : generation(madeIn), damage(connection, window) {}

        unsigned generation;
        DamageWatch damage;
        bool isUsed = true;
    };

    Connection& connection_;
    std::map<xcb_window_t, Watched> watched_;
};

}  // namespace qor::x11
