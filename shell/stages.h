// The stages that a text passes on its way out of a command: filters first, then what a terminal needs.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "shell/filter.h"

namespace shell {

class Stage {
  public:
    Stage() = default;
    virtual ~Stage() = default;
    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;

    // Take one or more whole lines. Only the last line of the text may lack its newline.
    virtual void take(std::string_view lines) = 0;
    // The text has ended.
    virtual void finish() = 0;
    // Whether no further line would change what comes out.
    virtual bool is_full() const { return false; }
};

// Put the filters before a stage, which must outlive the result. A block begins with a line that is not indented after
// so many columns of marks.
std::unique_ptr<Stage> filter_before(Stage &next, std::span<const Filter> filters, std::size_t marks);

// How a text is shown.
struct Looks {
    bool has_colors = false;
    bool shows_controls = false; // ^X for a control character
};
std::unique_ptr<Stage> looks_before(Stage &next, const Looks &looks);

} // namespace shell
