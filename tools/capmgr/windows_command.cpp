#include <fmt/format.h>

#include <string>

#include "commands.h"
#include "monitor_choice.h"
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

}  // namespace

void windowsCommand(Console& console) {
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
    console.write(table.text(console.lineWidth()));
}
