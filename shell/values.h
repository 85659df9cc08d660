// The values that the slots of a command may have on a switch.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "shell/grammar.h"
#include "sim/switch.h"

namespace shell {

// "service": what messages call the value of a slot.
const char *name_of(Slot slot);

// All values of a slot that is a name; none for ranges and files.
std::vector<std::string> values_of(Slot slot, const sim::Switch &sw);

// The values that a word of this slot, of which `partial` is typed, can become. All begin with `partial`. Of a range,
// the last item is completed.
std::vector<std::string> completions_of(Slot slot, std::string_view partial, const sim::Switch &sw);

// Of these values, those that have the longest beginning in common with the word; all if none has one. Upper and lower
// case are the same.
std::vector<std::string> nearest_to(std::string_view word, std::vector<std::string> values);

// Without regard to upper and lower case.
bool begins_with(std::string_view text, std::string_view beginning);

// "Ethernet" of "Ethernet1/1", and all types of a switch, each once.
std::string_view type_of_interface(std::string_view name);
std::vector<std::string> types_of_interfaces(const sim::Switch &sw);

} // namespace shell
