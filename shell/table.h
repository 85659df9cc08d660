// A table for people, with columns that are as wide as their widest cell.
#pragma once

#include <ctime>
#include <string>
#include <vector>

namespace shell {

class Table {
  public:
    struct Column {
        std::string head;
        bool is_number = false;
        bool is_list = false; // of numbers with commas, an array in JSON
    };
    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    // The lines of the table. Control characters in a cell are replaced.
    std::string text() const;
    // The rows as a JSON array of objects. A head is the name of a member, in small letters and with '_' for a blank. A
    // number that is not there is null.
    std::string json() const;

  private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

// The local time as a cell: "2026-11-22 23:30:02".
std::string time_text(std::time_t at);

} // namespace shell
