// Runs the checks of all subjects and sorts what they found.
#include "sim/check/check.h"

#include <algorithm>

#include "sim/check/subjects.h"
#include "sim/description.h"

namespace sim {
namespace {

void sort_by_line(Findings &findings) {
    std::ranges::stable_sort(findings, {}, &Finding::line);
}

Findings with_warnings(Findings findings, const Switch &sw) {
    const Findings warnings = check_switch(sw, findings.empty());
    findings.insert(findings.end(), warnings.begin(), warnings.end());
    sort_by_line(findings);
    return findings;
}

} // namespace

Findings check_switch(const Switch &sw, bool is_whole) {
    Report report(is_whole);
    for (const auto check :
         {check_consumers, check_in_process, check_interfaces, check_key_strings, check_keys, check_order})
        check(sw, report);
    Findings findings = report.take();
    sort_by_line(findings);
    return findings;
}

Findings check_description(const std::string &path) {
    Switch sw;
    return with_warnings(errors_of_description(sw, path), sw);
}

Findings check_description_text(const std::string &text, const std::string &name) {
    Switch sw;
    return with_warnings(errors_of_description_text(sw, text, name), sw);
}

} // namespace sim
