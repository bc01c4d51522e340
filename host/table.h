// A table for people: columns as wide as their widest cell is on the screen.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace host {

class table_t {
  public:
    struct column_t {
        std::string heading;
        bool to_the_right = false;
    };

    explicit table_t(std::vector<column_t> columns);

    /// As many cells as columns, UTF-8; an empty one is shown as "-".
    void add(std::vector<std::string> cells);
    /// An empty line, title, headings and rows; nothing at all where there is no row.
    void print(std::ostream& stream, const std::string& title) const;

  private:
    void print_row(std::ostream& stream, const std::vector<std::string>& cells) const;

    std::vector<column_t> m_columns;
    std::vector<std::size_t> m_widths;
    std::vector<std::vector<std::string>> m_rows;
};

}  // namespace host
