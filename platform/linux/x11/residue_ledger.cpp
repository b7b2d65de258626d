#include "x11/residue_ledger.h"

#include <algorithm>
#include <utility>

#include "x11/desktop_image.h"

namespace qor::x11 {
namespace {

using coregraphics::PixelRect;

constexpr int kRoundsOnScreen = 2;
// The largest that a window can be.
constexpr std::uint32_t kWhole = 32767;

PixelRect movedBy(const PixelRect& rect, std::int32_t x, std::int32_t y) {
    return {rect.x + x, rect.y + y, rect.width, rect.height};
}

}  // namespace

void ResidueLedger::join(std::map<Window, PixelRect>& residue, const PixelRect& area) {
    const auto [entry, isNew] = residue.try_emplace(kUnknown, area);
    if (!isNew)
        entry->second = around(entry->second, area);
}

void ResidueLedger::join(std::map<Window, Trail>& trails, const Trail& trail) {
    const auto [entry, isNew] = trails.try_emplace(kUnknown, trail);
    if (isNew)
        return;
    Trail& joined = entry->second;
    joined = {around(joined.area, trail.area), std::max(joined.roundsLeft, trail.roundsLeft),
              std::max(joined.end, trail.end)};
}

void ResidueLedger::appeared(Window window, const PixelRect& box, bool isMapped) {
    places_[window] = Place{box, isMapped};
}

void ResidueLedger::appearedAt(Window window, std::int32_t x, std::int32_t y) {
    places_[window] = Place{{x, y, kWhole, kWhole}, false, false};
}

void ResidueLedger::configured(Window window, const PixelRect& box) {
    const auto found = places_.find(window);
    if (found == places_.end())
        return appeared(window, box, false);
    Place& place = found->second;
    if (place.isMapped && place.box != box)
        leave(window, place);
    const PixelRect before = std::exchange(place.box, box);
    place.hasSize = true;
    if (place.isMapped && (before.width != box.width || before.height != box.height))
        beginAnew(window, place);
}

void ResidueLedger::mapped(Window window) {
    const auto found = places_.find(window);
    if (found == places_.end())
        return;
    Place& place = found->second;
    place.isMapped = true;
    beginAnew(window, place);
}

void ResidueLedger::unmapped(Window window) {
    const auto found = places_.find(window);
    if (found == places_.end() || !found->second.isMapped)
        return;
    leave(window, found->second);
    found->second.isMapped = false;
}

void ResidueLedger::gone(Window window) {
    unmapped(window);
    places_.erase(window);
    for (auto& [other, place] : places_) {
        if (const auto old = place.residue.extract(window))
            join(place.residue, old.mapped());
    }
    if (const auto old = trails_.extract(window))
        join(trails_, old.mapped());
}

void ResidueLedger::allBeginAnew() {
    for (auto& [window, place] : places_) {
        if (!place.isMapped)
            continue;
        beginAnew(window, place);
        place.residue[kUnknown] = {0, 0, kWhole, kWhole};
    }
}

void ResidueLedger::endRound() {
    for (auto& [window, trail] : trails_)
        --trail.roundsLeft;
    std::erase_if(trails_, [this](const auto& entry) {
        return entry.second.roundsLeft <= 0 && entry.second.end <= now_;
    });
}

std::vector<PixelRect> ResidueLedger::residueIn(Window window, const Predicate& isLeftOut) const {
    const auto found = places_.find(window);
    if (found == places_.end())
        return {{0, 0, kWhole, kWhole}};
    std::vector<PixelRect> areas;
    for (const auto& [from, area] : found->second.residue) {
        if (isLeftOut(from))
            areas.push_back(area);
    }
    return areas;
}

std::vector<PixelRect> ResidueLedger::shownOf(const Predicate& isLeftOut) const {
    std::vector<PixelRect> areas;
    for (const auto& [window, place] : places_) {
        if (!place.isMapped)
            continue;
        if (isLeftOut(window))
            areas.push_back(place.box);
        for (const auto& [from, area] : place.residue) {
            if (isLeftOut(from))
                areas.push_back(intersection(movedBy(area, place.box.x, place.box.y), place.box));
        }
    }
    for (const auto& [window, trail] : trails_) {
        if (isLeftOut(window))
            areas.push_back(trail.area);
    }
    return areas;
}

unsigned ResidueLedger::generation(Window window, const PixelRect& box) const {
    const auto found = places_.find(window);
    if (found == places_.end())
        return 0;
    const Place& place = found->second;
    const bool mayBeAsLarge =
        !place.hasSize || (place.box.width == box.width && place.box.height == box.height);
    return mayBeAsLarge ? place.generation : 0;
}

void ResidueLedger::cleaned(Window window, unsigned generation, const Predicate& isLeftOut) {
    const auto found = places_.find(window);
    if (found == places_.end() || found->second.generation != generation)
        return;
    std::erase_if(found->second.residue,
                  [&isLeftOut](const auto& entry) { return isLeftOut(entry.first); });
}

/* What a window shows, its residue included, stays on screen for a while where it was. */
void ResidueLedger::leave(Window window, const Place& place) {
    leaveTrail(window, place.box);
    for (const auto& [from, area] : place.residue)
        leaveTrail(from, intersection(movedBy(area, place.box.x, place.box.y), place.box));
}

void ResidueLedger::leaveTrail(Window window, const PixelRect& area) {
    const auto [entry, isNew] = trails_.try_emplace(window);
    Trail& trail = entry->second;
    const PixelRect seen = withAfterglow(area);
    trail.area = isNew ? seen : around(trail.area, seen);
    trail.roundsLeft = kRoundsOnScreen;
    trail.end = now_ + afterglow_.time;
}

void ResidueLedger::beginAnew(Window window, Place& place) {
    place.generation = ++generations_;
    // What was in the old pixmap is moved into the new one if the window is resized. And a picture
    // may be under way that shows the old one, so until that is cleaned it counts all the same.
    for (auto& [from, area] : place.residue)
        area = {0, 0, kWhole, kWhole};
    for (const auto& [other, source] : places_) {
        if (other == window || !source.isMapped)
            continue;
        addResidue(place, other, withAfterglow(source.box));
        for (const auto& [from, area] : source.residue)
            addResidue(place, from, movedBy(area, source.box.x, source.box.y));
    }
    for (const auto& [from, trail] : trails_)
        addResidue(place, from, trail.area);
    place.residue.erase(window);  // its own pixels
}

PixelRect ResidueLedger::withAfterglow(const PixelRect& area) const {
    const auto margin = static_cast<std::int32_t>(afterglow_.margin);
    return {area.x - margin, area.y - margin, area.width + 2 * afterglow_.margin,
            area.height + 2 * afterglow_.margin};
}

void ResidueLedger::addResidue(Place& place, Window from, const PixelRect& onRoot) {
    const PixelRect overlap = intersection(onRoot, place.box);
    if (overlap.empty())
        return;
    const PixelRect area = movedBy(overlap, -place.box.x, -place.box.y);
    const auto [entry, isNew] = place.residue.try_emplace(from, area);
    if (!isNew)
        entry->second = around(entry->second, area);
}

}  // namespace qor::x11
