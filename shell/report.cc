// One line for each thing that is missing. The library's own messages come before these lines.
#include "shell/report.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>

#include "sim/saved_config.h"

namespace shell {
namespace {

std::string with_status(const sim::Switch &sw, const char *text, uint32_t status) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%x", status);
    return std::string(text) + " with status " + code + " (" + sw.error_text(status) + ")";
}

std::string part(const char *what, uint32_t received, uint32_t expected) {
    return std::to_string(received) + " of " + std::to_string(expected) + " " + what;
}

std::string reason(const sim::Switch &sw, const qarn_outcome_service &service) {
    switch (service.state) {
        case QARN_OUTCOME_SILENT:
            return "did not answer in time";
        case QARN_OUTCOME_FAILED:
            return with_status(sw, "failed", service.status);
        case QARN_OUTCOME_NOT_EXTRACTABLE:
            return "the parts of its reply do not fit together";
        case QARN_OUTCOME_CUT_SHORT:
            return "only " + part("bytes of its reply arrived", service.received, service.expected);
        case QARN_OUTCOME_MISCOUNTED:
            return "its reply announced " + std::to_string(service.expected) + " TLVs and " +
                   (service.received > service.expected ? "has more" : "has " + std::to_string(service.received));
        case QARN_OUTCOME_BROKEN:
            return "its reply cannot be read from byte " + part("on", service.received, service.expected);
        case QARN_OUTCOME_NOT_LOADED:
            return "its function in a shared library cannot be loaded";
        case QARN_OUTCOME_CALL_FAILED:
            return with_status(sw, "its function failed", service.status);
        case QARN_OUTCOME_ANSWERED_TWICE:
            return "answered twice, and its texts are doubled";
        default:
            return "its function answered nothing";
    }
}

std::string name_of_service(const sim::Switch &sw, uint32_t sap) {
    const std::string number = "SAP " + std::to_string(sap);
    const auto found = std::ranges::find(sw.services, sap, &sim::Service::sap);
    return found != sw.services.end() ? found->name + " (" + number + ")" : number;
}

std::string name_of_element(const sim::Switch &sw, const qarn_outcome_element &element) {
    const auto is_owner = [&](const sim::Service &service) { return (service.uuid & 0xffff) == element.uuid; };
    const auto owner = std::ranges::find_if(sw.services, is_owner);
    const std::string name = owner != sw.services.end() ? owner->name : std::to_string(element.uuid);
    return name + "/" + std::to_string(element.elem_id);
}

void report_missing(const std::string &what) {
    std::fprintf(stderr, "vsh: incomplete: %s\n", what.c_str());
}

std::string counted(uint32_t count, const char *what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

void report_loop(const sim::Switch &sw, const qarn_outcome &outcome) {
    std::string loop;
    for (uint32_t i = 0; i < outcome.num_loop_elements; ++i)
        loop += name_of_element(sw, outcome.loop[i]) + " -> ";
    if (loop.empty()) return;
    std::fprintf(stderr, "vsh: loop: %s%s\n", loop.c_str(), name_of_element(sw, outcome.loop[0]).c_str());
}

// Refusals after which a part was printed.
void report_refusal(const sim::Switch &sw, const qarn_outcome &outcome) {
    switch (outcome.refusal) {
        case QARN_OUTCOME_NO_INTERFACES:
            return report_missing(with_status(sw, "the interface manager failed", outcome.status));
        case QARN_OUTCOME_STORE_REFUSED:
            return report_missing(with_status(sw, "releasing the startup store failed", outcome.status));
        case QARN_OUTCOME_TRANSPORT:
            return report_missing("the functions of shared libraries were not called");
        case QARN_OUTCOME_NO_SWITCH_PROFILE:
            return report_missing("the configuration-sync manager gave no switch profile");
        case QARN_OUTCOME_FINAL_CALLBACK:
            return report_missing(with_status(sw, "the final callback failed", outcome.status));
        case QARN_OUTCOME_PROGRAM:
            return report_missing("a program that prints a part ended with " + std::to_string(outcome.status));
        case QARN_OUTCOME_NO_MEMORY:
            return report_missing("memory ran out");
        case QARN_OUTCOME_NOT_RENDERED:
            return report_missing("a command of an interface could not be rendered");
        case QARN_OUTCOME_NOT_MERGED:
            return report_missing("an interface could not be merged with its port profile");
        case QARN_OUTCOME_NO_MEMBERS:
            return report_missing(with_status(sw, "the port-channel manager failed", outcome.status));
        default:
            return;
    }
}

} // namespace

int worse_of(int code, int other) {
    // Interruptions lie between what was not done and what was done in part.
    const auto rank = [](int of) {
        constexpr int kAscending[] = {kExitComplete, kExitIncomplete, kExitLoop};
        const auto *found = std::find(std::begin(kAscending), std::end(kAscending), of);
        if (found != std::end(kAscending)) return static_cast<int>(found - kAscending);
        return of == kExitUsage ? 5 : of == kExitFailure ? 4 : 3;
    };
    return rank(other) > rank(code) ? other : code;
}

int report_outcome(const sim::Switch &sw) {
    const qarn_outcome &outcome = *qarn_outcome_last();
    if (outcome.verdict == QARN_OUTCOME_COMPLETE) return sim::is_saved_config_whole() ? kExitComplete : kExitIncomplete;
    for (uint32_t i = 0; i < outcome.num_services; ++i) {
        const qarn_outcome_service &service = outcome.services[i];
        if (service.state == QARN_OUTCOME_ANSWERED) continue;
        report_missing(name_of_service(sw, service.sap) + ": " + reason(sw, service));
    }
    if (outcome.consumers_left_out > 0) {
        report_missing(counted(outcome.consumers_left_out, "service") + " beyond the first 256: not asked");
    }
    if (outcome.interfaces_left_out > 0) {
        report_missing(counted(outcome.interfaces_left_out, "interface") + " beyond the first 20000: not shown");
    }
    report_loop(sw, outcome);
    if (outcome.verdict == QARN_OUTCOME_INCOMPLETE) {
        report_refusal(sw, outcome);
        return kExitIncomplete;
    }
    return outcome.refusal == QARN_OUTCOME_LOOP ? kExitLoop : kExitFailure;
}

} // namespace shell
