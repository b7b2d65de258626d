#include "x11/content_watches.h"

#include <algorithm>

namespace qor::x11 {

using coregraphics::PixelRect;

void ContentWatches::beginPicture(const std::vector<TopLevel>& windows) {
    std::erase_if(watched_, [&windows](const auto& entry) {
        return std::ranges::count(windows, entry.first, &TopLevel::window) == 0;
    });
    for (auto& [window, watched] : watched_)
        watched.isUsed = false;
}

void ContentWatches::use(xcb_window_t window, unsigned generation) {
    if (connection_.link().damageNotice == 0)
        return;
    const auto found = watched_.find(window);
    if (found != watched_.end() && (generation == 0 || found->second.generation != generation))
        watched_.erase(found);
    const auto [entry, isNew] = watched_.try_emplace(window, connection_, window, generation);
    entry->second.isUsed = true;
    entry->second.damage.forget();
}

PixelRect ContentWatches::drawnIn(xcb_window_t window) const {
    const auto found = watched_.find(window);
    return found == watched_.end() ? kEverything : found->second.damage.drawn();
}

PixelRect ContentWatches::missedIn(xcb_window_t window) const {
    const auto found = watched_.find(window);
    return found == watched_.end() ? PixelRect{} : found->second.damage.missed();
}

bool ContentWatches::areUnchanged() const {
    if (connection_.link().damageNotice == 0)
        return false;
    return std::ranges::all_of(watched_, [](const auto& entry) {
        return !entry.second.isUsed || entry.second.damage.drawn().empty();
    });
}

}  // namespace qor::x11
