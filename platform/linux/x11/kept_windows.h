/*
 * The list of windows, made anew only after something that it was made from has changed, other than
 * the places of windows, which are taken over.
 *
 * It is kept from beginKeeping() on, where the server can tell of all such changes; before, and
 * where it cannot, each list is made anew. A kept list is as new as the notices that have been
 * taken in: while a picture is made from it, those that come until the picture has been read tell
 * whether it was right.
 */
#pragma once

#include <optional>

#include "x11/connection.h"
#include "x11/top_levels.h"
#include "x11/window_watch.h"

namespace qor::x11 {

class KeptWindows {
  public:
    explicit KeptWindows(Connection& connection) : connection_(connection), watch_(connection) {}

    /* From now on events are kept, and each is told to note(). opacityProperty is the atom
     * _NET_WM_WINDOW_OPACITY. */
    void beginKeeping(const ManagerAtoms& manager, xcb_atom_t opacityProperty,
                      const BackdropProperties& backdrop);

    /* From now on events are not kept, or some were lost. */
    void endKeeping() noexcept;

    /* The windows, valid until the next call; null if the server does not answer. */
    const WindowStack* list(const ManagerAtoms& manager);

    /* Takes an event in, and says what it tells of. */
    Change note(const xcb_generic_event_t& event) noexcept;

    /* Whether the list that was given last may not tell rightly any more whose windows they are, or
     * who shows them. */
    bool isMistaken() const { return isMistaken_; }

  private:
    std::optional<Change> takeOver(const xcb_generic_event_t& event) noexcept;

    Connection& connection_;
    WindowWatch watch_;
    std::optional<WindowStack> stack_;
    bool isKeeping_ = false;
    bool isPresent_ = false;  // nothing has changed since it was made
    bool isMistaken_ = false;
};

}  // namespace qor::x11
