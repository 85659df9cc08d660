// What the outcome of a command means: what is missing, and the exit code.
#include "shell/verdict.h"

#include <qarncli/element.h>
#include <qarncli/element_store.h>
#include <qarncli/globals.h>
#include <qarncli/outcome.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>

#include "shell/exit_code.h"
#include "sim/notation.h"
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

std::string why_silent(const sim::Switch &sw, uint32_t sap) {
    if (sw.transport.was_interrupted) return "had sent no complete reply when the command was interrupted";
    const auto &carrier = sw.transport.carrier;
    const std::string why = carrier ? carrier->why_silent(sap) : "";
    return why.empty() ? "sent no complete reply in time" : why;
}

std::string reason(const sim::Switch &sw, const qarn_outcome_service &service) {
    switch (service.state) {
        case QARN_OUTCOME_SILENT:
            return why_silent(sw, service.sap);
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
        case QARN_OUTCOME_SKIPPED:
            return "only " + part("TLVs of its reply can be used", service.received, service.expected);
        default:
            return "its function answered nothing";
    }
}

std::string name_of_service(const sim::Switch &sw, uint32_t sap) {
    const auto found = std::ranges::find(sw.services, sap, &sim::Service::sap);
    return found != sw.services.end() ? sim::printable(found->name) : "";
}

Part missing_service(const sim::Switch &sw, uint32_t sap, const std::string &why) {
    if (sap == 0) return {.reason = "a function that belongs to no service: " + why};
    return {.service = name_of_service(sw, sap), .sap = sap, .reason = why};
}

Member member_of(const sim::Switch &sw, const qarn_outcome_element &element) {
    const auto is_owner = [&](const sim::Service &service) { return (service.uuid & 0xffff) == element.uuid; };
    const auto owner = std::ranges::find_if(sw.services, is_owner);
    const std::string name = owner != sw.services.end() ? sim::printable(owner->name) : std::to_string(element.uuid);
    return {name, element.elem_id};
}

std::string counted(uint32_t count, const char *what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

// The services that the library had no room for: the last ones of the list.
void add_left_out(const sim::Switch &sw, uint32_t count, std::vector<Part> &missing) {
    constexpr uint32_t kMostNamed = 20;
    std::vector<const sim::Service *> consumers;
    for (const sim::Service &service : sw.services)
        if (service.consumer) consumers.push_back(&service);
    const std::size_t first = consumers.size() - std::min<std::size_t>(count, consumers.size());
    for (std::size_t at = first; at < std::min(first + kMostNamed, consumers.size()); ++at)
        missing.push_back(
            missing_service(sw, consumers[at]->sap, "was not asked, because 256 services come before it"));
    if (count > kMostNamed)
        missing.push_back({.reason = counted(count - kMostNamed, "more service") + ": not asked either"});
}

constexpr char kRefusedText[] =
    "the store has only a text, in which --mask cannot find secrets; save the configuration again with \"copy "
    "running-config startup-config\"";

struct Reason {
    uint32_t refusal;
    const char *text;
    bool has_status = false;
};
constexpr Reason kReasons[] = {
    {QARN_OUTCOME_INVALID_REQUEST, "the library does not accept the request"},
    {QARN_OUTCOME_INVALID_SAP, "the request names no service"},
    {QARN_OUTCOME_NOT_SUPPORTED, "the switch does not have this display"},
    {QARN_OUTCOME_NO_CONSUMERS, "the transport did not list the services"},
    {QARN_OUTCOME_NO_INTERFACES, "the interface manager failed", true},
    {QARN_OUTCOME_NO_SERVICES, "there is no service to ask"},
    {QARN_OUTCOME_NO_STARTUP,
     "there is no startup configuration; save one with \"copy running-config startup-config\""},
    {QARN_OUTCOME_NO_BINARY_STARTUP,
     "the store has only a text, in which nothing can be selected; save the configuration again with \"copy "
     "running-config startup-config\""},
    {QARN_OUTCOME_STORE_REFUSED, "releasing the startup store failed", true},
    {QARN_OUTCOME_NO_MEMORY, "memory ran out"},
    {QARN_OUTCOME_TRANSPORT, "the transport failed", true},
    {QARN_OUTCOME_NO_SWITCH_PROFILE, "the configuration-sync manager gave no switch profile"},
    {QARN_OUTCOME_FINAL_CALLBACK, "the final callback failed", true},
    {QARN_OUTCOME_NO_VDCS, "the VDC manager failed", true},
    {QARN_OUTCOME_PROGRAM, "the program that prints the text failed"},
    {QARN_OUTCOME_NOT_RENDERED, "a command of an interface could not be rendered"},
    {QARN_OUTCOME_NOT_MERGED, "an interface could not be merged with its port profile"},
    {QARN_OUTCOME_NO_MEMBERS, "the port-channel manager failed", true},
};

// Where nothing can be saved. None for another refusal.
const char *advice_for_other_processes(uint32_t refusal) {
    switch (refusal) {
        case QARN_OUTCOME_NO_STARTUP:
            return "there is no startup configuration in the store of this shell; name the folder of a saved one with "
                   "--store";
        case QARN_OUTCOME_NO_BINARY_STARTUP:
            return "the store has only a text, in which nothing can be selected; name the folder of a whole store with "
                   "--store, or show all of the text";
        default:
            return nullptr;
    }
}

// The store itself reports why it cannot be locked, and each shell what its VDC lacks.
bool is_reported_elsewhere(const sim::Switch &sw, const qarn_outcome &outcome) {
    if (outcome.refusal == QARN_OUTCOME_STORE_REFUSED) return outcome.verdict == QARN_OUTCOME_NOTHING;
    return outcome.refusal == QARN_OUTCOME_PROGRAM && !sw.shell_results.empty();
}

// Why a command was refused, or what else than a service is missing; empty if there is nothing to add.
std::string reason(const sim::Switch &sw, const qarn_outcome &outcome) {
    const bool is_unreadable = access(sw.ascii_startup_dir.c_str(), R_OK | X_OK) != 0 && errno == EACCES;
    if (outcome.refusal == QARN_OUTCOME_NO_STARTUP && is_unreadable) return "the startup configuration cannot be read";
    if (outcome.refusal == QARN_OUTCOME_NO_MEMBERS && outcome.status == 0)
        return "a port channel has more than 36 members";
    const auto &carrier = sw.transport.carrier;
    if (outcome.refusal == QARN_OUTCOME_TRANSPORT && carrier && !carrier->why_not_sent().empty())
        return carrier->why_not_sent();
    const bool is_remote = carrier && !sw.facts;
    if (const char *const advice = is_remote ? advice_for_other_processes(outcome.refusal) : nullptr) return advice;
    const auto *row = std::ranges::find(kReasons, outcome.refusal, &Reason::refusal);
    if (row == std::end(kReasons) || is_reported_elsewhere(sw, outcome)) return "";
    return row->has_status ? with_status(sw, row->text, outcome.status) : row->text;
}

// The VDCs whose shells did not show all. Returns the worst exit code of these shells; kExitIncomplete if all showed
// theirs, because something else is missing then.
int add_vdcs(const sim::Switch &sw, std::vector<Part> &missing) {
    int worst = kExitIncomplete; // no other failure is better
    for (const auto &[vdc, result] : sw.shell_results) {
        if (result == 0) continue;
        missing.push_back({.reason = "the display of VDC " + vdc + " ended with " + std::to_string(result)});
        const bool has_started = result > 0;
        worst = worse_of(worst, has_started ? result : static_cast<int>(kExitFailure));
    }
    return worst;
}

void add_services(const sim::Switch &sw, const qarn_outcome &outcome, Verdict &verdict) {
    for (uint32_t i = 0; i < outcome.num_services; ++i) {
        const qarn_outcome_service &service = outcome.services[i];
        if (service.state == QARN_OUTCOME_ANSWERED) {
            verdict.answered.push_back({.service = name_of_service(sw, service.sap), .sap = service.sap});
        } else {
            verdict.missing.push_back(missing_service(sw, service.sap, reason(sw, service)));
        }
    }
}

// Whether a service has configured interfaces.
bool has_interface_elements() {
    const auto is_one = [](void *, void *value, void *) -> gboolean {
        const qarn_elem &element = *static_cast<qarn_merge_val *>(value)->elem;
        const bool is_of_interfaces =
            (element.uuid & 0xffff) == QARN_UUID_INTERFACE || (element.property & QARN_PROP_INTF) != 0;
        return is_of_interfaces && (element.property & QARN_PROP_DUMMY) == 0;
    };
    return merge_elem_table_p != nullptr && g_hash_table_find(merge_elem_table_p, is_one, nullptr) != nullptr;
}

Verdict verdict_on_services(const sim::Switch &sw) {
    const qarn_outcome &outcome = *qarn_outcome_last();
    Verdict verdict;
    if (sw.has_refused_a_text) {
        verdict.refusal = kRefusedText;
        verdict.code = kExitFailure;
        return verdict;
    }
    add_services(sw, outcome, verdict);
    verdict.store_problems = sim::saved_config_problems();
    if (outcome.verdict == QARN_OUTCOME_COMPLETE) {
        verdict.code = verdict.store_problems.empty() ? kExitComplete : kExitIncomplete;
        return verdict;
    }
    add_left_out(sw, outcome.consumers_left_out, verdict.missing);
    if (outcome.interfaces_left_out > 0) {
        verdict.missing.push_back(
            {.reason = counted(outcome.interfaces_left_out, "interface") + " beyond the first 20000: without text"});
    }
    for (uint32_t i = 0; i < outcome.num_loop_elements; ++i)
        verdict.loop.push_back(member_of(sw, outcome.loop[i]));
    const std::string why = reason(sw, outcome);
    if (outcome.verdict == QARN_OUTCOME_INCOMPLETE) {
        if (!why.empty()) verdict.missing.push_back({.reason = why});
        verdict.code = add_vdcs(sw, verdict.missing);
    } else {
        verdict.refusal = why;
        verdict.code = outcome.loop_pass != 0 ? kExitLoop : kExitFailure;
    }
    return verdict;
}

} // namespace

Verdict verdict_on(const sim::Switch &sw) {
    Verdict verdict = verdict_on_services(sw);
    const bool has_text = verdict.code == kExitComplete || verdict.code == kExitIncomplete;
    if (!sw.has_unknown_interfaces || !has_text || !has_interface_elements()) return verdict;
    verdict.missing.push_back(
        {.reason = "the interfaces of " + sim::quoted(sw.name) + " are not known; name its description with -s"});
    verdict.code = kExitIncomplete;
    return verdict;
}

} // namespace shell
