// A reply as YAML, from which `encode` makes the same bytes again.
#pragma once

#include <string>
#include <string_view>

namespace tlv {

std::string decode(std::string_view reply);

} // namespace tlv
