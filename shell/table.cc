#include "shell/table.h"

#include <algorithm>

namespace shell {
namespace {

using Row = std::vector<std::string>;

// A byte that goes on with a character of UTF-8 takes no column.
std::size_t columns(const std::string &text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, [](unsigned char c) { return (c & 0xc0) != 0x80; }));
}

std::vector<std::size_t> widths_of(const std::vector<Row> &rows) {
    std::vector<std::size_t> widths(rows[0].size());
    for (const Row &row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], columns(row[i]));
    return widths;
}

std::string printable(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
    return text;
}

} // namespace

std::string Table::text() const {
    std::string text;
    const std::vector<std::size_t> widths = widths_of(rows_);
    for (const Row &row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += printable(row[i]);
            line.append(widths[i] - columns(row[i]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

} // namespace shell
