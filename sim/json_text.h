// Texts in JSON output.
#pragma once

#include <string>
#include <string_view>

namespace sim {

// The text in quotes, with escapes. A byte that is not UTF-8 becomes U+FFFD.
std::string json_text(std::string_view text);

} // namespace sim
