#include <fmt/format.h>

#include "commands.h"
#include "monitor_choice.h"
#include "table.h"

void monitorsCommand(Console& console) {
    using enum Table::Align;
    Table table({{"Index", Right},
                 {"Name", Left},
                 {"Position", Right},
                 {"Size", Right},
                 {"Hz", Right},
                 {"Bits", Right},
                 {"Primary", Left}});
    for (const CAP_MONITOR_INFO& monitor : listMonitors()) {
        table.add({fmt::format("{}", monitor.dwIndex), monitorName(monitor),
                   fmt::format("{},{}", monitor.rcMonitor.left, monitor.rcMonitor.top),
                   sizeText(monitorSize(monitor)), fmt::format("{}", monitor.dwFrequency),
                   fmt::format("{}", monitor.dwBitsPerPixel), monitor.bPrimary ? "yes" : "no"});
    }
    console.write(table.text(std::nullopt));
}
