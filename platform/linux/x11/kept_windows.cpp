#include "x11/kept_windows.h"

#include <algorithm>
#include <iterator>

#include "x11/desktop_image.h"
#include "x11/notice.h"

namespace qor::x11 {

void KeptWindows::beginKeeping(const ManagerAtoms& manager, xcb_atom_t opacityProperty,
                               const BackdropProperties& backdrop) {
    endKeeping();
    if (!watch_.isPossible())
        return;
    watch_.begin(manager, opacityProperty, backdrop);
    isKeeping_ = true;
}

void KeptWindows::endKeeping() noexcept {
    isKeeping_ = false;
    isPresent_ = false;
    isMistaken_ = false;
}

const WindowStack* KeptWindows::list(const ManagerAtoms& manager) {
    if (isPresent_)
        return &*stack_;
    isMistaken_ = false;
    if (isKeeping_)
        watch_.beginList();
    stack_ = listTopLevels(connection_, manager, isKeeping_ ? &watch_ : nullptr);
    isPresent_ = isKeeping_ && stack_.has_value();
    return stack_ ? &*stack_ : nullptr;
}

Change KeptWindows::note(const xcb_generic_event_t& event) noexcept {
    if (!isKeeping_)
        return Change::none;
    const Change change = watch_.changeBy(event);
    if (change == Change::meaning)
        isMistaken_ = true;
    if (change < Change::list)
        return change;
    const auto entered = isPresent_ ? takeOver(event) : std::nullopt;
    isPresent_ = entered.has_value();
    return entered.value_or(change);
}

/* Enters where a window is now, how large, and on which one it lies. Null if that is not all that
 * the event changes in the list. */
std::optional<Change> KeptWindows::takeOver(const xcb_generic_event_t& event) noexcept {
    const auto about = childNoticeIn(event);
    // Where a compositing manager runs, what a window covers tells which ones can be seen.
    if (event.response_type != XCB_CONFIGURE_NOTIFY || !about ||
        about->parent != connection_.screen().root || stack_->isComposited)
        return std::nullopt;
    const auto& notice = as<xcb_configure_notify_event_t>(event);
    auto& windows = stack_->windows;
    const auto window = std::ranges::find(windows, notice.window, &TopLevel::window);
    const auto below = std::ranges::find(windows, notice.above_sibling, &TopLevel::window);
    const bool isLowest = notice.above_sibling == XCB_NONE;
    if (window == windows.end() || window == below || (below == windows.end() && !isLowest))
        return std::nullopt;
    const auto box = boxIn(notice);
    const bool isAsLarge = box.width == window->box.width && box.height == window->box.height &&
                           notice.border_width == window->border;
    window->box = box;
    window->border = notice.border_width;
    window->isBesideScreen = intersection(window->box, stack_->root).empty();
    const auto place = isLowest ? windows.begin() : std::next(below);
    if (place <= window)
        std::rotate(place, window, std::next(window));
    else
        std::rotate(window, std::next(window), place);
    return isAsLarge ? Change::place : Change::look;
}

}  // namespace qor::x11
