#include "shell/table.h"

#include <algorithm>
#include <cctype>

#include "shell/json.h"

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

std::string name_of_member(const std::string &head) {
    std::string name;
    for (const char c : head)
        name += c == ' ' ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name;
}

std::string json_value(const std::string &cell, const Table::Column &column) {
    if (column.is_list) return "[" + cell + "]";
    if (!column.is_number) return json_text(cell);
    return cell.empty() ? "null" : cell;
}

std::string line_of(const Row &row, const std::vector<std::size_t> &widths) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        line += printable(row[i]);
        line.append(widths[i] - columns(row[i]) + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + '\n';
}

} // namespace

std::string time_text(std::time_t at) {
    std::tm local = {};
    char text[32];
    if (localtime_r(&at, &local) == nullptr) return "";
    return std::strftime(text, sizeof text, "%F %T", &local) != 0 ? text : "";
}

std::string Table::json() const {
    std::vector<std::string> rows;
    for (const Row &row : rows_) {
        std::string members;
        for (std::size_t i = 0; i < row.size(); ++i) {
            members += (i == 0 ? "" : ", ") + json_text(name_of_member(columns_[i].head)) + ": ";
            members += json_value(row[i], columns_[i]);
        }
        rows.push_back("{" + members + "}");
    }
    return json_array(rows);
}

std::string Table::text() const {
    std::vector<Row> rows(1);
    for (const Column &column : columns_)
        rows[0].push_back(column.head);
    rows.insert(rows.end(), rows_.begin(), rows_.end());
    const std::vector<std::size_t> widths = widths_of(rows);
    std::string text;
    for (const Row &row : rows)
        text += line_of(row, widths);
    return text;
}

} // namespace shell
