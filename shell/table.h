// A table for people, with columns that are as wide as their widest cell.
#pragma once

#include <string>
#include <vector>

namespace shell {

class Table {
  public:
    explicit Table(std::vector<std::string> heads) : rows_{std::move(heads)} {}

    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    // The lines of the table. Control characters in a cell are replaced.
    std::string text() const;

  private:
    std::vector<std::vector<std::string>> rows_; // the first one holds the heads
};

} // namespace shell
