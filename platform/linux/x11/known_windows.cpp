#include "x11/known_windows.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "coregraphics/trace.h"
#include "x11/atoms.h"
#include "x11/window_content.h"
#include "x11/window_notices.h"

namespace qor::x11 {

using coregraphics::trace;

namespace {

// The shades and fades that compositing managers come with are shorter and narrower.
constexpr ResidueLedger::Afterglow kCompositedAfterglow{std::chrono::milliseconds(1000), 64};

}  // namespace

bool KnownWindows::findAtoms() {
    if (atoms_)
        return true;
    const std::string compositor = "_NET_WM_CM_S" + std::to_string(connection_.link().screenNumber);
    Atoms atoms;
    ManagerAtoms& manager = atoms.manager;
    const std::vector<std::pair<std::string_view, xcb_atom_t*>> wanted{
        {"WM_STATE", &manager.state},
        {"_NET_SUPPORTING_WM_CHECK", &manager.check},
        {"_XEMBED_INFO", &manager.embeddingInfo},
        {compositor, &manager.compositor},
        {"_NET_WM_STATE", &manager.netState},
        {"_NET_WM_STATE_HIDDEN", &manager.hidden},
        {"_NET_WM_STATE_SHADED", &manager.shaded},
        {"_NET_WM_WINDOW_OPACITY", &atoms.opacity},
        {"_XROOTPMAP_ID", &atoms.backdrop.usual},
        {"ESETROOT_PMAP_ID", &atoms.backdrop.older}};
    std::vector<std::string_view> names;
    names.reserve(wanted.size());
    for (const auto& [name, place] : wanted)
        names.push_back(name);
    const auto found = x11::findAtoms(connection_, names);
    if (!found)
        return false;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        *wanted[i].second = (*found)[i];
    atoms_ = atoms;
    return true;
}

const WindowStack* KnownWindows::list() {
    if (!findAtoms())
        return nullptr;
    if (!hasBegun_)
        windows_.endKeeping();
    return noted(windows_.list(atoms_->manager));
}

/* Keeps the list from now on. */
const WindowStack* KnownWindows::listFirst() {
    if (!findAtoms())
        return nullptr;
    windows_.beginKeeping(atoms_->manager, atoms_->opacity, atoms_->backdrop);
    return windows_.list(atoms_->manager);
}

bool KnownWindows::isPossible() {
    if (isPossible_)
        return *isPossible_;
    const Link& link = connection_.link();
    isPossible_ = false;
    if (!link.hasWindowContents)
        trace("no pictures of windows: the server has no COMPOSITE 0.2");
    else if (link.pictureFormats.argb == XCB_NONE)
        trace("no pictures of windows: the server has no RENDER 0.10 with colours");
    else if (!link.pictureFormats.byVisual.contains(connection_.screen().root_visual))
        trace("no pictures of windows: RENDER does not know the screen's pixels");
    else
        isPossible_ = true;
    return *isPossible_;
}

/* Notices are asked for before the windows are listed and kept, so that none is missed. */
bool KnownWindows::begin() {
    if (hasBegun_ || !isPossible())
        return hasBegun_;
    connection_.keepEvents(true);
    askForNotices(connection_);
    ledger_ = {};
    ++changes_;
    if (const WindowStack* stack = listFirst()) {
        for (const TopLevel& top : stack->windows)
            ledger_.appeared(top.window, top.box, top.isMapped);
        hasBegun_ = keepWindowContents(connection_);
    }
    if (!hasBegun_) {
        connection_.keepEvents(false);
        isPossible_ = !connection_.answers();  // a server that was busy may be asked again
        if (!*isPossible_)
            trace("no pictures of windows: the server does not keep their contents");
        return false;
    }
    takeNotices();
    ledger_.allBeginAnew();
    trace("pictures of windows: the server keeps their contents");
    return true;
}

void KnownWindows::takeNotices() {
    if (!hasBegun_)
        return;
    // Until all are in: without one that was lost because memory was short, the ledger is wrong,
    // and pictures have to begin anew.
    hasBegun_ = false;
    ledger_.advanceTo(ResidueLedger::Clock::now());
    for (const auto& event : connection_.takeEvents()) {
        const Change change = windows_.note(*event);
        const bool changesScreen = enter(*event, connection_.screen().root, ledger_);
        changes_ += change != Change::none || changesScreen ? 1U : 0U;
        looks_ += change > Change::place ? 1U : 0U;
    }
    hasBegun_ = true;
}

const WindowStack* KnownWindows::noted(const WindowStack* stack) {
    if (stack != nullptr && stack->isComposited) {
        wasComposited_ = true;
        ledger_.setAfterglow(kCompositedAfterglow);
    }
    return stack;
}

}  // namespace qor::x11
