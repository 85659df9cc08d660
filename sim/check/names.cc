// Names that no command can address, and VDCs that cannot be entered.
#include <algorithm>
#include <filesystem>

#include "sim/check/subjects.h"
#include "sim/notation.h"

namespace sim {
namespace {

// The shell splits a command at blanks.
bool is_word(const std::string &name) {
    return !name.empty() && std::ranges::none_of(name, [](unsigned char c) { return c <= ' ' || c == 0x7f; });
}

void check_name(const Name &name, Report &report) {
    if (is_word(name.name)) return;
    report.warn("name-not-word", name.line,
                "the name of " + std::string(name.owner) + ", " + shown(name.name) +
                    ", is not a word; no command can contain it",
                "use a name without blanks and control characters");
}

void check_description_of(const Vdc &vdc, Report &report) {
    std::error_code error;
    if (vdc.switch_file.empty() || std::filesystem::exists(vdc.switch_file, error)) return;
    report.warn("vdc-file-missing", vdc.line,
                "the description of VDC " + sim::quoted(vdc.name) + " does not exist: " + vdc.switch_file +
                    "; the VDC cannot be entered",
                "correct the path, or write the description");
}

} // namespace

void check_names(const Switch &sw, Report &report) {
    for (const Name &name : sw.names)
        check_name(name, report);
    for (const Vdc &vdc : sw.vdcs)
        check_description_of(vdc, report);
}

} // namespace sim
