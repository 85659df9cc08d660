// The check of one reply: what a service should not send, whatever the others send.
#pragma once

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "explain/check/rule.h"

namespace explain {

using KeyNames = std::set<std::string, std::less<>>;

// In the order of their names.
std::span<const CheckRule> stream_rules();

// The names under which a display finds the key strings that it prints: those of the keys, and the lines of VLANs.
KeyNames key_names_of(std::string_view reply);

// What is wrong with a reply, in the order of its bytes. `key_names` are those of all replies that are printed
// together; null: there is only this one.
std::vector<Finding> check_stream(std::string_view reply, const std::string &service = "",
                                  const KeyNames *key_names = nullptr);

} // namespace explain
