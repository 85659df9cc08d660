// The names of the errors, each with its advice. The rows have the order of the enumeration.
#include "sim/findings.h"

#include <cstddef>

#include "sim/notation.h"

namespace sim {
namespace {

struct Row {
    const char *name, *advice;
};
constexpr Row kErrors[] = {
    {"unreadable", "give the path of a switch description"},
    {"not-yaml", "write one YAML document"},
    {"unknown-key", "correct or remove the key"},
    {"missing-key", "add the key with a value"},
    {"wrong-type", "write a value of that type"},
    {"wrong-value", "write an allowed value"},
    {"out-of-range", "stay within the bounds"},
    {"duplicate", "remove or rename one of the two"},
    {"conflict", "change one of the two"},
    {"unknown-service", "correct the name, or describe the service"},
    {"unknown-interface", "correct the name, or list the interface under interfaces"},
    {"unknown-port-profile", "correct the name, or describe the profile under port_profiles"},
    {"waits-for-itself", "remove this dependency"},
};

} // namespace

Finding error_finding(Error error, uint32_t line, const std::string &message) {
    const Row &row = kErrors[static_cast<std::size_t>(error)];
    return {Severity::kError, row.name, line, printable(message), row.advice};
}

} // namespace sim
