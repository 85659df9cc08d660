// What is wrong with the command line, found after it was read.
#pragma once

#include <stdexcept>

namespace switchd {

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace switchd
