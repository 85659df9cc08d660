// Switch descriptions: a YAML file that says which services, interfaces, VLANs, port profiles and features a switch
// has, and what its services answer. The form of the file is told at the top of switches/leaf.yaml.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "sim/switch.h"

namespace sim {

// what() is "FILE:LINE: reason", or "FILE: reason" when the file cannot be read.
class DescriptionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Fill a fresh switch, and in place of what they held, the shell's tables and the callback table. After an error the
// switch is half filled.
void load_description(Switch &sw, const std::string &path);
void load_description_text(Switch &sw, const std::string &text, const std::string &name);

} // namespace sim
