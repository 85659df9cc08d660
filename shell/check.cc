// The findings of a check, as lines for people and compilers' tools ("FILE:LINE: error: ..."), or as JSON.
#include "shell/check.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "shell/exit_code.h"
#include "shell/json.h"
#include "shell/run.h"
#include "sim/check/check.h"
#include "sim/description.h"
#include "sim/notation.h"
#include "sim/visible.h"

namespace shell {
namespace {

using sim::Finding;
using sim::Findings;
using sim::Severity;

constexpr int kNothingFound = 0, kOnlyWarnings = 1, kErrors = 2;

const char *word_of(Severity severity) {
    return severity == Severity::kError ? "error" : "warning";
}

std::string count_of(const Findings &findings, Severity severity) {
    const auto count = std::ranges::count(findings, severity, &Finding::severity);
    return std::to_string(count) + " " + word_of(severity) + (count == 1 ? "" : "s");
}

void print_lines(const std::string &path, const Findings &findings) {
    const std::string shown = isatty(STDOUT_FILENO) != 0 ? sim::visible(path) : path;
    for (const Finding &finding : findings) {
        const std::string place = sim::DescriptionError::place(shown, finding.line);
        std::printf("%s: %s: %s: %s; %s\n", place.c_str(), word_of(finding.severity), finding.name,
                    finding.message.c_str(), finding.advice.c_str());
    }
}

void print_counts(const std::string &path, const Findings &findings) {
    if (findings.empty()) return;
    std::fprintf(stderr, "%s: %s, %s\n", sim::printable(path).c_str(), count_of(findings, Severity::kError).c_str(),
                 count_of(findings, Severity::kWarning).c_str());
}

void print_json(const std::string &path, const Findings &findings) {
    std::printf("{\"version\": 1, \"file\": %s, \"findings\": [", json_text(path).c_str());
    const char *separator = "\n";
    for (const Finding &finding : findings) {
        std::printf("%s  {\"severity\": \"%s\", \"name\": \"%s\", \"line\": %u, \"message\": %s, \"advice\": %s}",
                    separator, word_of(finding.severity), finding.name, finding.line,
                    json_text(finding.message).c_str(), json_text(finding.advice).c_str());
        separator = ",\n";
    }
    std::printf("%s]}\n", findings.empty() ? "" : "\n");
}

int status_of(const Findings &findings) {
    if (findings.empty()) return kNothingFound;
    const bool has_errors = std::ranges::find(findings, Severity::kError, &Finding::severity) != findings.end();
    return has_errors ? kErrors : kOnlyWarnings;
}

} // namespace

int check_file(const std::string &path, bool as_json) {
    const Findings findings = sim::check_description(path);
    as_json ? print_json(path, findings) : print_lines(path, findings);
    const bool is_written = flush_output();
    print_counts(path, findings);
    return is_written ? status_of(findings) : kErrors;
}

} // namespace shell
