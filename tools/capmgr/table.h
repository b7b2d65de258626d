/* Rows of cells as lines of text, one below the other in columns. */
#ifndef CAPMGR_TABLE_H
#define CAPMGR_TABLE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

class Table {
  public:
    enum class Align { Left, Right };
    struct Column {
        std::string title;
        Align align = Align::Left;
    };

    explicit Table(const std::vector<Column>& columns);

    /* One cell for each column. */
    void add(const std::vector<std::string>& cells);

    /* All lines, each with its end. In a line width, the last column is cut so that lines fit if
     * they can; without one it is whole. */
    std::string text(std::optional<std::size_t> lineWidth) const;

  private:
    using Row = std::vector<std::string>;

    std::vector<std::size_t> widths() const;
    std::string line(const Row& row, const std::vector<std::size_t>& widths) const;

    std::vector<Align> alignment_;
    std::vector<Row> rows_;  // the titles first
};

#endif
