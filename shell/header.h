// The header of a configuration: the command, the time of the display and when the configuration was saved.
#pragma once

#include <memory>
#include <string_view>

#include "shell/stages.h"

namespace shell {

// Whether a line, without its newline, is a blank line or one of those that change from one display to the next.
bool is_of_header(std::string_view line);

// Drop the header at the beginning of the text. `next` must outlive the result.
std::unique_ptr<Stage> without_header_before(Stage &next);

} // namespace shell
