#include "tools/qarn-tlv/report.h"

#include <cstdio>

#include "explain/check/stream_rules.h"
#include "sim/json_text.h"
#include "sim/notation.h"

namespace tlv {
namespace {

std::string line_of(const std::string &file, const Finding &finding) {
    std::string line = file + ": byte " + std::to_string(finding.at) + ": " + finding.rule->name + ": ";
    if (finding.element) line += "element " + text_of(*finding.element) + ": ";
    return sim::printable(line + finding.text);
}

std::string json_of(const Finding &finding) {
    std::string json =
        std::string("{\"rule\": \"") + finding.rule->name + "\", \"byte\": " + std::to_string(finding.at);
    if (finding.element)
        json +=
            ", \"uuid\": " + std::to_string(finding.element->uuid) + ", \"id\": " + std::to_string(finding.element->id);
    return json + ", \"message\": " + sim::json_text(finding.text) + "}";
}

} // namespace

void print_lines(const std::string &file, const std::vector<Finding> &findings) {
    for (const Finding &finding : findings)
        std::puts(line_of(file, finding).c_str());
}

void print_json(const std::string &file, const std::vector<Finding> &findings) {
    std::printf("{\"version\": 1, \"file\": %s, \"findings\": [", sim::json_text(file).c_str());
    const char *separator = "\n";
    for (const Finding &finding : findings) {
        std::printf("%s  %s", separator, json_of(finding).c_str());
        separator = ",\n";
    }
    std::printf("%s]}\n", findings.empty() ? "" : "\n");
}

void print_rules() {
    for (const explain::CheckRule &rule : explain::stream_rules())
        std::printf("%-30s %s\n", rule.name, rule.meaning);
}

} // namespace tlv
