// One line for each thing that is missing. The library's own messages come before these lines.
#include "shell/report.h"

#include <string>

#include "shell/json.h"
#include "shell/message.h"

namespace shell {
namespace {

std::string name_of(const Part &missing) {
    if (missing.sap == 0) return "";
    const std::string number = "SAP " + std::to_string(missing.sap);
    return missing.service.empty() ? number + ": " : missing.service + " (" + number + "): ";
}

std::string json_object(const Part &part) {
    std::string json;
    if (part.sap != 0) json = "\"service\": " + json_text(part.service) + ", \"sap\": " + std::to_string(part.sap);
    if (!part.reason.empty()) json += (json.empty() ? "" : ", ") + ("\"reason\": " + json_text(part.reason));
    return "{" + json + "}";
}

std::string json_list(const std::vector<Part> &parts) {
    std::vector<std::string> objects;
    for (const Part &part : parts)
        objects.push_back(json_object(part));
    return json_array(objects);
}

} // namespace

void report(const Verdict &verdict) {
    for (const Part &missing : verdict.missing)
        print_message("incomplete: %s%s", name_of(missing).c_str(), missing.reason.c_str());
    if (!verdict.loop.empty()) print_message("loop: %s", verdict.loop.c_str());
    if (!verdict.refusal.empty()) print_message("nothing was shown: %s", verdict.refusal.c_str());
}

std::string json_members(const Verdict &verdict) {
    std::vector<Part> missing = verdict.missing;
    for (const std::string &what : {verdict.loop.empty() ? "" : "loop: " + verdict.loop, verdict.refusal})
        if (!what.empty()) missing.push_back({.reason = what});
    if (!verdict.has_whole_store) missing.push_back({.reason = "the saved configuration is not as it was saved"});
    return "\"missing\": " + json_list(missing) + ",\n \"services\": " + json_list(verdict.answered);
}

} // namespace shell
