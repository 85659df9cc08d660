// Switch descriptions: a YAML file that lists the services, interfaces, port profiles and features of a switch and the
// answers of its services. docs/switch-descriptions.md documents the format.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "sim/findings.h"
#include "sim/notation.h"
#include "sim/switch.h"

namespace sim {

// what() is "FILE:LINE: reason", or "FILE: reason" for an error of the file as a whole.
class DescriptionError : public std::runtime_error {
  public:
    DescriptionError(const std::string &file, Finding finding)
        : std::runtime_error(place(file, finding.line) + ": " + finding.message), finding_(std::move(finding)) {}

    const Finding &finding() const { return finding_; }

    // "FILE:LINE", or "FILE" for line 0.
    static std::string place(const std::string &file, uint32_t line) {
        return printable(file) + (line != 0 ? ':' + std::to_string(line) : "");
    }

  private:
    Finding finding_;
};

// Fill a fresh switch, and replace the contents of the shell's tables and of the callback table. After an error the
// switch is half filled.
void load_description(Switch &sw, const std::string &path);
void load_description_text(Switch &sw, const std::string &text, const std::string &name);

// The same for a check: all errors, instead of the first one. An item with an error is left out, or in part.
Findings errors_of_description(Switch &sw, const std::string &path);
Findings errors_of_description_text(Switch &sw, const std::string &text, const std::string &name);

} // namespace sim
