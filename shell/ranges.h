// Completion of ranges: ids such as "10-12,20", and names of interfaces such as "ethernet1/1-4,9".
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sim/switch.h"

namespace shell {

// What `typed` can become: its last item is completed, and everything before it stays as it was typed. After "10-"
// come the ids above 10.
std::vector<std::string> completed_ids(std::string_view typed, const std::set<uint32_t> &ids);

// The same of interfaces. The types may be abbreviated, and a number that follows a comma continues the name before it.
std::vector<std::string> completed_interfaces(std::string_view typed, const sim::Switch &sw);

// The names of all interfaces of this type, which may be abbreviated and stays as it was typed.
std::vector<std::string> names_of_type(std::string_view type, const sim::Switch &sw);

// Whether the last item continues a list or a range, so that a further item may follow without a blank.
bool continues_range(std::string_view typed);

} // namespace shell
