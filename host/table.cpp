#include "host/table.h"

#include <algorithm>
#include <ostream>

#include "host/text.h"

namespace host {

table_t::table_t(std::vector<column_t> columns) : m_columns(std::move(columns)) {
    for (const column_t& column : m_columns) {
        m_widths.push_back(display_width(column.heading));
    }
}

void table_t::add(std::vector<std::string> cells) {
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        cells[i] = cells[i].empty() ? "-" : to_one_line(cells[i]);
        m_widths[i] = std::max(m_widths[i], display_width(cells[i]));
    }
    m_rows.push_back(std::move(cells));
}

void table_t::print(std::ostream& stream, const std::string& title) const {
    if (m_rows.empty()) {
        return;
    }
    std::vector<std::string> headings;
    for (const column_t& column : m_columns) {
        headings.push_back(column.heading);
    }
    stream << "\n" << title << "\n";
    print_row(stream, headings);
    for (const auto& row : m_rows) {
        print_row(stream, row);
    }
}

void table_t::print_row(std::ostream& stream, const std::vector<std::string>& cells) const {
    std::string line;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const std::string padding(m_widths[i] - display_width(cells[i]), ' ');
        line += "  " + (m_columns[i].to_the_right ? padding + cells[i] : cells[i] + padding);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    stream << line << "\n";
}

}  // namespace host
