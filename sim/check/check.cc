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

void append(Findings &findings, const Findings &added) {
    findings.insert(findings.end(), added.begin(), added.end());
}

Findings with_warnings(Findings findings, const Switch &sw) {
    append(findings, check_switch(sw, findings.empty()));
    sort_by_line(findings);
    return findings;
}

Findings check_libraries(const Switch &sw) {
    Report report(true);
    check_in_process(sw, report);
    return report.take();
}

} // namespace

Findings check_switch(const Switch &sw, bool is_whole) {
    Report report(is_whole);
    for (const auto check : {check_consumers, check_doubles, check_features, check_interfaces, check_key_strings,
                             check_keys, check_names, check_order, check_secrets})
        check(sw, report);
    Findings findings = report.take();
    sort_by_line(findings);
    return findings;
}

Findings check_description(const std::string &path) {
    Switch sw;
    Findings findings = with_warnings(errors_of_description(sw, path), sw);
    append(findings, check_libraries(sw));
    sort_by_line(findings);
    return findings;
}

Findings check_description_text(const std::string &text, const std::string &name) {
    Switch sw;
    return with_warnings(errors_of_description_text(sw, text, name), sw);
}

} // namespace sim
