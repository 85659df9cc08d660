// One line for each thing that is missing. The library's own messages come before these lines.
#include "shell/report.h"

#include <string>
#include <string_view>

#include "shell/json.h"
#include "shell/message.h"

namespace shell {
namespace {

constexpr std::string_view kIncomplete = "incomplete: ", kAfterNumber = ": ";

std::string name_of(const Part &missing) {
    if (missing.sap == 0) return "";
    const std::string number = "SAP " + std::to_string(missing.sap);
    return missing.service.empty() ? number : missing.service + " (" + number + ")";
}

std::string text_of(const Part &missing) {
    const std::string name = name_of(missing);
    return std::string(kIncomplete) + (name.empty() ? "" : name + std::string(kAfterNumber)) + missing.reason;
}

std::string json_object(const Part &part) {
    std::string json;
    if (part.sap != 0) json = "\"service\": " + json_text(part.service) + ", \"sap\": " + std::to_string(part.sap);
    if (!part.reason.empty()) json += (json.empty() ? "" : ", ") + ("\"reason\": " + json_text(part.reason));
    return "{" + json + "}";
}

std::string json_list(const std::vector<Part> &parts) {
    std::vector<std::string> objects;
    objects.reserve(parts.size());
    for (const Part &part : parts)
        objects.push_back(json_object(part));
    return json_array(objects);
}

std::string name_of(const Member &member) {
    return member.service + "/" + std::to_string(member.element);
}

// Empty if there is no loop.
std::string chain_of(const std::vector<Member> &loop) {
    std::string chain;
    for (const Member &member : loop)
        chain += name_of(member) + " -> ";
    return loop.empty() ? "" : chain + name_of(loop[0]);
}

std::string json_loop(const std::vector<Member> &loop) {
    std::vector<std::string> members;
    members.reserve(loop.size());
    for (const Member &member : loop)
        members.push_back("{\"service\": " + json_text(member.service) +
                          ", \"element\": " + std::to_string(member.element) + "}");
    return json_array(members);
}

} // namespace

void report(const Verdict &verdict) {
    for (const Part &missing : verdict.missing)
        print_message("%s", text_of(missing).c_str());
    if (!verdict.loop.empty()) print_message("loop: %s", chain_of(verdict.loop).c_str());
    if (!verdict.refusal.empty()) print_message("nothing was shown: %s", verdict.refusal.c_str());
}

// What has no number, such as interfaces, is its whole text.
std::vector<std::string> missing_in(const std::vector<std::string> &messages) {
    std::vector<std::string> names;
    for (const std::string &message : messages) {
        if (!message.starts_with(kIncomplete)) continue;
        const std::string part = message.substr(kIncomplete.size());
        const std::size_t number = part.find("SAP ");
        names.push_back(number == std::string::npos ? part : part.substr(0, part.find(kAfterNumber, number)));
    }
    return names;
}

std::string json_members(const Verdict &verdict) {
    std::vector<Part> missing = verdict.missing;
    for (const std::string &problem : verdict.store_problems)
        missing.push_back({.reason = "store: " + problem});
    if (!verdict.refusal.empty()) missing.push_back({.reason = verdict.refusal});
    std::string json = "\"missing\": " + json_list(missing) + ",\n \"services\": " + json_list(verdict.answered);
    if (!verdict.loop.empty()) json += ",\n \"loop\": " + json_loop(verdict.loop);
    return json;
}

} // namespace shell
