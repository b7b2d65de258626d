/* Rows of cells as lines of text, one below the other in columns. */
#ifndef CAPMGR_TABLE_H
#define CAPMGR_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

#include "console.h"

class Table {
  public:
    enum class Align { Left, Right };
    struct Column {
        std::string title;
        Align align = Align::Left;
    };

    explicit Table(const std::vector<Column>& columns);

    /* One cell for each column. */
    void add(const std::vector<std::string>& cells, Style style = Style::Plain);

    /* Writes all lines. Where lines have a width, the last column is cut so that they fit if they
     * can; elsewhere it is whole. */
    void write(Console& console) const;

  private:
    using Row = std::vector<std::string>;

    std::vector<std::size_t> widths() const;
    std::string line(const Row& row, const std::vector<std::size_t>& widths) const;

    std::vector<Align> alignment_;
    std::vector<Row> rows_;  // the titles first
    std::vector<Style> styles_;
};

#endif
