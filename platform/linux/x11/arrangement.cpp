#include "x11/arrangement.h"

#include <algorithm>

#include "x11/desktop_image.h"

namespace qor::x11 {
namespace {

using coregraphics::Display;
using Displays = std::vector<Display>;
using Monitors = std::vector<Monitor>;
using Outputs = std::vector<Output>;

// The server's identifiers and atoms leave the three highest bits clear. So a monitor that is known
// by its name is never taken for an output, nor for the root window.
constexpr std::uint32_t kSetByHand = 0x80000000;

bool has(const Monitor& monitor, std::uint32_t output) {
    return std::ranges::count(monitor.outputs, output) > 0;
}

Monitors monitorsSetByHand(const Arrangement& arrangement) {
    Monitors monitors;
    for (Monitor monitor : arrangement.monitors) {
        monitor.area = intersection(monitor.area, arrangement.root);
        if (!monitor.isAutomatic && !monitor.area.empty())
            monitors.push_back(std::move(monitor));
    }
    return monitors;
}

double refreshRate(const Monitor& monitor, const Outputs& outputs) {
    if (monitor.outputs.empty())
        return 0;
    const auto first = std::ranges::find(outputs, monitor.outputs.front(), &Output::id);
    return first == outputs.end() ? 0 : first->refreshRate;
}

/* The outputs whose place no monitor set by hand has taken. Which those are, the server says, by
 * making monitors of the others. */
Outputs ownOutputs(const Arrangement& arrangement) {
    Outputs outputs = arrangement.outputs;
    const Monitors& monitors = arrangement.monitors;
    if (std::ranges::all_of(monitors, &Monitor::isAutomatic))
        return outputs;
    std::erase_if(outputs, [&](const Output& output) {
        return std::ranges::none_of(monitors, [&](const Monitor& monitor) {
            return monitor.isAutomatic && has(monitor, output.id);
        });
    });
    return outputs;
}

/* Moves what is named to the front; nothing if it is not there. */
template <typename Item>
void putFirst(std::vector<Item>& items, std::uint32_t id) {
    const auto item = std::ranges::find(items, id, &Item::id);
    if (item != items.end())
        std::rotate(items.begin(), item, item + 1);
}

/* The outputs without those that only repeat what one before them shows. */
Outputs withoutMirrors(const Outputs& outputs) {
    Outputs different;
    for (const Output& output : outputs)
        if (std::ranges::count(different, output.area, &Output::area) == 0)
            different.push_back(output);
    return different;
}

/* Which display was chosen as the main one; 0 if none was. */
std::uint32_t chosenDisplay(const Monitors& setByHand, const Outputs& outputs,
                            std::uint32_t mainOutput) {
    const auto flagged = std::ranges::find_if(setByHand, &Monitor::isPrimary);
    if (flagged != setByHand.end())
        return kSetByHand | flagged->name;
    if (std::ranges::count(outputs, mainOutput, &Output::id) > 0)
        return mainOutput;
    const auto holder = std::ranges::find_if(
        setByHand, [&](const Monitor& monitor) { return has(monitor, mainOutput); });
    return holder == setByHand.end() ? 0 : kSetByHand | holder->name;
}

}  // namespace

Displays displaysIn(const Arrangement& arrangement) {
    const Monitors setByHand = monitorsSetByHand(arrangement);
    if (setByHand.empty() && !arrangement.hasOutputs)
        return {{arrangement.rootId, arrangement.root, 0, arrangement.depth}};
    Outputs outputs = ownOutputs(arrangement);
    putFirst(outputs, arrangement.mainOutput);
    outputs = withoutMirrors(outputs);

    Displays displays;
    for (const Monitor& monitor : setByHand)
        displays.push_back({kSetByHand | monitor.name, monitor.area,
                            refreshRate(monitor, arrangement.outputs), arrangement.depth});
    for (const Output& output : outputs)
        displays.push_back({output.id, output.area, output.refreshRate, arrangement.depth});
    putFirst(displays, chosenDisplay(setByHand, outputs, arrangement.mainOutput));
    return displays;
}

std::uint32_t monitorNameIn(std::uint32_t displayId) {
    return (displayId & kSetByHand) == 0 ? 0 : displayId & ~kSetByHand;
}

}  // namespace qor::x11
