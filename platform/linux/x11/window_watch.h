/*
 * What a list of windows was made from, and which of the server's notices tell that it changed.
 *
 * Beyond the children of the root window that is: the root window's size, which client is the
 * window manager, whether a compositing manager runs, and of each window that was searched for the
 * application's its marks and, where it was looked into, the windows in it and their order. How
 * visible windows look is watched too, as far as pictures depend on it: shapes, opacities, the
 * background.
 *
 * Each window is asked to tell before it is asked about, so that no change is missed. It is asked
 * once, and is known until it is told that it went to another parent or was destroyed: by that time
 * its identifier may be another window's, which has to be asked itself.
 */
#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <span>
#include <unordered_map>
#include <unordered_set>

#include "x11/backdrop.h"
#include "x11/connection.h"
#include "x11/top_levels.h"

namespace qor::x11 {

/* What changed, the later ones being more. */
enum class Change : std::uint8_t {
    none,
    place,    // where a window is, or on which one it lies
    look,     // how something in the list looks
    list,     // the list itself
    meaning,  // the list, and maybe whose window it is that is known by a number
};

class WindowWatch {
  public:
    explicit WindowWatch(Connection& connection) : connection_(connection) {}

    /* Without XFIXES nobody tells whether a compositing manager runs. */
    bool isPossible() const { return connection_.link().hasSelectionNotices; }

    /* Begins, or begins anew after notices were lost. Those about the root window are asked for by
     * askForNotices(). opacityProperty is the atom _NET_WM_WINDOW_OPACITY. */
    void begin(const ManagerAtoms& manager, xcb_atom_t opacityProperty,
               const BackdropProperties& backdrop);

    /* What is told from now on is what the next list is made from; the last one's is forgotten. */
    void beginList();

    /* A window is about to be asked about. */
    void add(xcb_window_t window);
    void addTopLevel(xcb_window_t window);

    /* A window was looked into. The lowest child first. */
    void addChildren(xcb_window_t parent, std::span<const xcb_window_t> children);

    /* What an event tells. All that the server sent has to go through here, in its order. */
    Change changeBy(const xcb_generic_event_t& event) noexcept;

  private:
    bool isOwn(xcb_window_t window) const;
    bool askOnce(xcb_window_t window);
    Change changeOfChild(const xcb_generic_event_t& event) noexcept;
    Change changeOfProperty(const xcb_property_notify_event_t& notice) const noexcept;
    bool changesOrder(const xcb_configure_notify_event_t& notice) const noexcept;

    Connection& connection_;
    ManagerAtoms manager_;
    std::array<xcb_atom_t, 3> lookProperties_{};
    std::uint8_t selectionNotice_ = 0;
    std::uint8_t shapeNotice_ = 0;  // 0 without SHAPE
    std::set<xcb_window_t> asked_;
    std::unordered_set<xcb_window_t> added_;
    std::unordered_set<xcb_window_t> lookedInto_;
    std::unordered_map<xcb_window_t, xcb_window_t> below_;  // the next lower in the same parent
};

}  // namespace qor::x11
