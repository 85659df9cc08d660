// Switch descriptions: a YAML file that lists the services, interfaces, port profiles and features of a switch and the
// answers of its services. docs/switch-descriptions.md documents the format.
#pragma once

#include <stdexcept>
#include <string>

#include "sim/switch.h"

namespace sim {

// what() is "FILE:LINE: reason", or "FILE: reason" when the file cannot be read.
class DescriptionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Fill a fresh switch, and replace the contents of the shell's tables and of the callback table. After an error the
// switch is half filled.
void load_description(Switch &sw, const std::string &path);
void load_description_text(Switch &sw, const std::string &text, const std::string &name);

} // namespace sim
