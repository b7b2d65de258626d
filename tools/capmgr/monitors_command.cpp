#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "json_output.h"
#include "monitors.h"
#include "table.h"

namespace {

nlohmann::ordered_json describe(const CAP_MONITOR_INFO& monitor) {
    const CAP_SIZE size = monitorSize(monitor);
    return {{"index", monitor.dwIndex},
            {"name", monitor.cstrName},
            {"left", monitor.rcMonitor.left},
            {"top", monitor.rcMonitor.top},
            {"width", size.dwWidth},
            {"height", size.dwHeight},
            {"refresh_hz", monitor.dwFrequency},
            {"bits_per_pixel", monitor.dwBitsPerPixel},
            {"primary", monitor.bPrimary}};
}

void printMonitors(Console& console) {
    auto document = nlohmann::ordered_json::array();
    for (const CAP_MONITOR_INFO& monitor : listMonitors()) {
        document.push_back(describe(monitor));
    }
    writeJson(console, document);
}

void showMonitors(Console& console) {
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
                   fmt::format("{}", monitor.dwBitsPerPixel), monitor.bPrimary ? "yes" : "no"},
                  monitor.bPrimary ? Style::Good : Style::Plain);
    }
    table.write(console);
}

}  // namespace

void addMonitorsCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& monitors = *app.add_subcommand("monitors", "list the monitors");
    const auto json = std::make_shared<bool>(false);
    addJsonOption(monitors, *json);
    monitors.callback([json, &invocation] {
        invocation.command = [json](const Environment& environment) {
            *json ? printMonitors(environment.console) : showMonitors(environment.console);
        };
    });
}
