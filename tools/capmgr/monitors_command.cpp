#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>

#include "commands.h"
#include "monitor_choice.h"

namespace {

constexpr std::size_t kColumns = 7;
using Row = std::array<std::string, kColumns>;

// Numbers to the right, words to the left.
constexpr std::array<char, kColumns> kAlignment{'>', '<', '>', '>', '>', '>', '<'};

Row rowOf(const CAP_MONITOR_INFO& monitor) {
    return {fmt::format("{}", monitor.dwIndex),
            monitorName(monitor),
            fmt::format("{},{}", monitor.rcMonitor.left, monitor.rcMonitor.top),
            sizeText(monitorSize(monitor)),
            fmt::format("{}", monitor.dwFrequency),
            fmt::format("{}", monitor.dwBitsPerPixel),
            monitor.bPrimary ? "yes" : "no"};
}

// A name may hold more bytes than characters: UTF-8 continuation bytes take no place of their own.
std::size_t displayWidth(const std::string& text) {
    const auto isCharacter = [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isCharacter));
}

std::string aligned(const std::string& cell, std::size_t width, char alignment) {
    const std::string padding(width - displayWidth(cell), ' ');
    return alignment == '<' ? cell + padding : padding + cell;
}

std::string line(const Row& row, const std::array<std::size_t, kColumns>& widths) {
    std::string text;
    for (std::size_t column = 0; column < kColumns; ++column) {
        text += column == 0 ? "" : "  ";
        text += aligned(row[column], widths[column], kAlignment[column]);
    }
    return text.substr(0, text.find_last_not_of(' ') + 1) + "\n";
}

}  // namespace

void monitorsCommand(Console& console) {
    std::vector<Row> rows{{"Index", "Name", "Position", "Size", "Hz", "Bits", "Primary"}};
    for (const CAP_MONITOR_INFO& monitor : listMonitors()) {
        rows.push_back(rowOf(monitor));
    }
    std::array<std::size_t, kColumns> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < kColumns; ++column) {
            widths[column] = std::max(widths[column], displayWidth(row[column]));
        }
    }
    for (const Row& row : rows) {
        console.write(line(row, widths));
    }
}
