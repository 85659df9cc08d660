// What is wrong with a switch description: errors, because of which it is refused, and warnings, because of which a
// part of it has no effect. docs/description-checks.md has a row for each name.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sim {

enum class Severity { kError, kWarning };

struct Finding {
    Severity severity;
    const char *name; // the same in every version
    uint32_t line;    // 0: the finding concerns the file as a whole
    std::string message;
    std::string advice;
};
using Findings = std::vector<Finding>;

enum class Error {
    kUnreadable,
    kNotYaml,
    kUnknownKey,
    kMissingKey,
    kWrongType,
    kWrongValue,
    kOutOfRange,
    kDuplicate,
    kConflict,
    kUnknownService,
    kUnknownInterface,
    kUnknownPortProfile,
    kWaitsForItself,
};

Finding error_finding(Error error, uint32_t line, const std::string &message);

} // namespace sim
