#include "table.h"

#include <algorithm>
#include <numeric>

#include "display_text.h"

namespace {

constexpr std::size_t kGap = 2;

// Of the last column, however narrow the terminal is: lines that wrap are better than no title.
constexpr std::size_t kLeastCells = 12;

std::string aligned(const std::string& cell, std::size_t width, Table::Align align) {
    const std::string padding(width - displayWidth(cell), ' ');
    return align == Table::Align::Left ? cell + padding : padding + cell;
}

}  // namespace

Table::Table(const std::vector<Column>& columns) {
    Row titles;
    for (const Column& column : columns) {
        titles.push_back(column.title);
        alignment_.push_back(column.align);
    }
    add(titles, Style::Heading);
}

void Table::add(const std::vector<std::string>& cells, Style style) {
    styles_.push_back(style);
    Row& row = rows_.emplace_back();
    std::transform(cells.begin(), cells.end(), std::back_inserter(row),
                   [](const std::string& cell) { return printable(cell); });
}

std::vector<std::size_t> Table::widths() const {
    std::vector<std::size_t> widths(alignment_.size());
    for (const Row& row : rows_) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], displayWidth(row[column]));
        }
    }
    return widths;
}

void Table::write(Console& console) const {
    std::vector<std::size_t> widths = this->widths();
    if (const std::optional<std::size_t> lineWidth = console.lineWidth()) {
        const std::size_t others =
            std::accumulate(widths.begin(), widths.end() - 1, kGap * (widths.size() - 1));
        const std::size_t room = *lineWidth > others ? *lineWidth - others : 0;
        widths.back() = std::min(widths.back(), std::max(room, kLeastCells));
    }
    std::string text;
    for (std::size_t row = 0; row < rows_.size(); ++row) {
        text += console.styled(line(rows_[row], widths), styles_[row]) + "\n";
    }
    console.write(text);
}

std::string Table::line(const Row& row, const std::vector<std::size_t>& widths) const {
    std::string text;
    for (std::size_t column = 0; column < row.size(); ++column) {
        const std::string cell = cutToWidth(row[column], widths[column]);
        text += std::string(column == 0 ? 0 : kGap, ' ');
        text += aligned(cell, widths[column], alignment_[column]);
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
}
