#include "plug_board.h"

#include <CaptureManager.h>

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <utility>

static bool showSameArea(const Placement& a, const Placement& b) {
    return a.x == b.x && a.y == b.y && a.mode == b.mode;
}

void PrintTo(const Seen& seen, std::ostream* out) {
    *out << seen.index << ": " << seen.name << " [" << seen.left << "," << seen.top << " "
         << seen.right << "," << seen.bottom << "]" << (seen.isPrimary ? " primary " : " ")
         << seen.frequency << " Hz";
}

std::vector<Seen> seenMonitors() {
    std::vector<Seen> monitors;
    for (unsigned i = 0; i < CapMgr_GetMonitorCount(); ++i) {
        CAP_MONITOR_INFO info{};
        if (!CapMgr_GetMonitorInfo(i, &info))
            throw std::runtime_error("a monitor that is counted is not described");
        const tagCaptureRect& area = info.rcMonitor;
        monitors.push_back({info.dwIndex, info.cstrName, area.left, area.top, area.right,
                            area.bottom, info.bPrimary, info.dwFrequency});
    }
    return monitors;
}

void PlugBoard::plugIn(const Placement& placement) {
    placements_.push_back(placement);
    std::ranges::sort(placements_, {}, &Placement::output);
}

std::string PlugBoard::change() {
    const std::size_t kind = below(6);
    if (kind == 0)
        return chooseMain();
    if (placements_.empty() || (kind <= 2 && placements_.size() < kOutputs))
        return kind == 1 && unplugged_ ? plugInAgain() : plugInAnother();
    const std::size_t which = below(placements_.size());
    const std::string name = "output " + std::to_string(placements_[which].output);
    if (kind == 3) {
        unplugged_ = placements_[which];
        std::erase_if(placements_, [this](const Placement& placement) {
            return placement.output == unplugged_->output;
        });
        return name + " switched off";
    }
    Placement& changed = placements_[which];
    if (kind == 4) {
        changed.mode = modeOfSize(changed.mode.height, changed.mode.width);
        return name + " turned on its side";
    }
    move(changed);
    return name + " moved";
}

std::vector<Seen> PlugBoard::expectedMonitors() const {
    std::vector<Placement> order = placements_;
    std::stable_partition(order.begin(), order.end(), [this](const Placement& placement) {
        return placement.output == primary_;
    });
    std::vector<Placement> shown;
    for (const Placement& placement : order)
        if (std::ranges::none_of(
                shown, [&](const Placement& other) { return showSameArea(placement, other); }))
            shown.push_back(placement);
    std::vector<Seen> monitors;
    for (const Placement& placement : shown)
        monitors.push_back({static_cast<unsigned>(monitors.size()),
                            "DUMMY" + std::to_string(placement.output), placement.x, placement.y,
                            placement.x + placement.mode.width, placement.y + placement.mode.height,
                            monitors.empty(), 50});
    return monitors;
}

bool PlugBoard::isPluggedIn(std::size_t output) const {
    return std::ranges::count(placements_, output, &Placement::output) > 0;
}

void PlugBoard::move(Placement& placement) {
    placement.x = static_cast<std::int16_t>(below(kColumns) * kColumnWidth);
    placement.y = static_cast<std::int16_t>(below(kRows) * kRowHeight);
}

std::string PlugBoard::chooseMain() {
    const std::size_t output = below(kOutputs + 1);
    primary_ = output == kOutputs ? std::nullopt : std::optional(output);
    return primary_ ? "output " + std::to_string(output) + " made main" : "none made main";
}

std::string PlugBoard::plugInAnother() {
    Placement added;
    while (isPluggedIn(added.output))
        ++added.output;
    added.mode = below(2) == 0 ? modeOfSize(320, 240) : modeOfSize(480, 360);
    move(added);
    plugIn(added);
    return "output " + std::to_string(added.output) + " plugged in";
}

std::string PlugBoard::plugInAgain() {
    const Placement placement = *std::exchange(unplugged_, std::nullopt);
    if (isPluggedIn(placement.output))
        return plugInAnother();
    plugIn(placement);
    return "output " + std::to_string(placement.output) + " plugged in as it was";
}
