/*
 * What is known of the windows while pictures are made of them: their list, and in the ledger whose
 * pixels may be where.
 *
 * From begin() on the server keeps each window's content (COMPOSITE), until the connection ends,
 * and its notices keep both up to date. They are taken in when takeNotices() is called, and at no
 * other time: what they told by then is what a picture is made from, and what they told since tells
 * whether it was right.
 */
#pragma once

#include <optional>

#include "x11/backdrop.h"
#include "x11/connection.h"
#include "x11/kept_windows.h"
#include "x11/residue_ledger.h"
#include "x11/top_levels.h"

namespace qor::x11 {

class KnownWindows {
  public:
    struct Atoms {
        ManagerAtoms manager;
        xcb_atom_t opacity = XCB_NONE;
        BackdropProperties backdrop;
    };

    explicit KnownWindows(Connection& connection) : connection_(connection), windows_(connection) {}

    /* All windows on screen and off, with what is known of them. Valid until the next call; null if
     * the server does not answer. */
    const WindowStack* list();

    /* Makes sure that pictures can be made. False if they cannot, or not at present. */
    bool begin();

    /* Takes in the notices that have come, which would pile up otherwise. */
    void takeNotices();

    /* Those below hold after begin(). */

    const Atoms& atoms() const { return *atoms_; }
    ResidueLedger& ledger() { return ledger_; }
    const ResidueLedger& ledger() const { return ledger_; }

    /* How often notices have told of a change of the list of windows, or of how they look. */
    unsigned changes() const { return changes_; }

    /* The same for what windows look like, wherever they are. */
    unsigned looks() const { return looks_; }

    /* Whether all such changes are told of. */
    bool tellsOfAllChanges() const { return connection_.link().hasSelectionNotices; }

    /* Whether the list that was given last may not tell rightly any more whose windows they are, or
     * who shows them. */
    bool isMistaken() const { return windows_.isMistaken(); }

    /* Whether a compositing manager was seen on this connection. */
    bool wasComposited() const { return wasComposited_; }

  private:
    bool findAtoms();
    bool isPossible();
    const WindowStack* listFirst();
    const WindowStack* noted(const WindowStack* stack);

    Connection& connection_;
    std::optional<Atoms> atoms_;
    KeptWindows windows_;
    std::optional<bool> isPossible_;  // null until it is known
    bool hasBegun_ = false;
    ResidueLedger ledger_;
    unsigned changes_ = 0;
    unsigned looks_ = 0;
    bool wasComposited_ = false;
};

}  // namespace qor::x11
