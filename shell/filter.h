// One filter of a command line.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "shell/grammar.h"
#include "shell/pattern.h"

namespace shell {

struct Filter {
    FilterKind kind = FilterKind::kNone;
    std::shared_ptr<const Pattern> pattern; // of a filter with a regular expression
    std::size_t count = 0;                  // of "head"
    std::string file;                       // of "save"
};

} // namespace shell
