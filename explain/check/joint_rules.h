// The check of what the services of a command have sent together.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "explain/check/rule.h"
#include "explain/origins.h"
#include "explain/subject.h"

namespace explain {

// Those that need more than one reply, in the order of their names.
std::span<const CheckRule> joint_rules();
// One of them, or of those of a single reply; null: there is none with this name.
const CheckRule *find_rule(std::string_view name);

// What is wrong with the replies and with the text that was made of them, by service. To be called after the command,
// in its process.
std::vector<Finding> check_replies(const Subject &subject, const Origins &origins);

} // namespace explain
