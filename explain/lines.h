// The lines of a text with their origins.
#pragma once

#include <functional>
#include <string_view>

#include "explain/origins.h"

namespace explain {

// Call `visit` with each line, without its newline, and the piece in which it begins.
void for_each_line(const Observation &observation, const Origins &origins,
                   const std::function<void(std::string_view line, const Piece &piece)> &visit);

} // namespace explain
