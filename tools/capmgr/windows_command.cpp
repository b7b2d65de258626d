#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "commands.h"
#include "json_output.h"
#include "monitors.h"
#include "table.h"
#include "window_list.h"

namespace {

/* What the layers that windows are on most often stand for. */
std::string kindOf(std::int32_t layer) {
    switch (layer) {
        case 0:
            return "normal";
        case 3:
            return "floating";
        case 20:
            return "panel";
        case 101:
            return "menu";
        case -2147483623:
            return "desktop";
        default:
            return fmt::format("layer {}", layer);
    }
}

std::string known(const std::string& name) {
    return name.empty() ? "-" : name;
}

nlohmann::ordered_json describe(const Window& window) {
    return {{"number", window.number},
            {"layer", window.layer},
            {"kind", kindOf(window.layer)},
            {"left", window.left},
            {"top", window.top},
            {"width", window.width},
            {"height", window.height},
            {"application", window.application},
            {"title", window.title}};
}

void printWindows(Console& console) {
    auto document = nlohmann::ordered_json::array();
    for (const Window& window : listWindows()) {
        document.push_back(describe(window));
    }
    writeJson(console, document);
}

void showWindows(Console& console) {
    const std::vector<Window> windows = listWindows();
    if (windows.empty()) {
        console.write("There are no windows on screen.\n");
        return;
    }
    using enum Table::Align;
    Table table({{"Stack", Right},
                 {"Window", Right},
                 {"Hex", Right},
                 {"Kind", Left},
                 {"Position", Right},
                 {"Size", Right},
                 {"Application", Left},
                 {"Title", Left}});
    std::size_t stack = 0;
    for (const Window& window : windows) {
        stack += 1;
        table.add({fmt::format("{}", stack), fmt::format("{}", window.number),
                   fmt::format("{:#x}", window.number), kindOf(window.layer),
                   fmt::format("{},{}", window.left, window.top),
                   sizeText({window.width, window.height}), known(window.application),
                   known(window.title)});
    }
    table.write(console);
}

}  // namespace

void addWindowsCommand(CLI::App& app, Invocation& invocation) {
    CLI::App& windows = *app.add_subcommand("windows", "list the windows on screen, front to back");
    const auto json = std::make_shared<bool>(false);
    addJsonOption(windows, *json);
    windows.callback([json, &invocation] {
        invocation.command = [json](const Environment& environment) {
            *json ? printWindows(environment.console) : showWindows(environment.console);
        };
    });
}
