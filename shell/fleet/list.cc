#include <chrono>
#include <cstdio>
#include <set>
#include <string>

#include "shell/exit_code.h"
#include "shell/fleet/fleet.h"
#include "shell/fleet/member.h"
#include "shell/message.h"
#include "shell/registered.h"
#include "shell/remote.h"
#include "shell/run.h"
#include "shell/table.h"

namespace shell {
namespace {

struct Counts {
    std::string vdcs;
    std::size_t expected = 0, registered = 0; // services
};

std::string list_of_vdcs(const KnownSwitch &member) {
    std::string list;
    for (const uint16_t vdc : vdcs_in(member.registered))
        list.append(list.empty() ? "" : ",").append(std::to_string(vdc));
    return list;
}

// A service of two VDCs counts twice.
Counts counts_of(const KnownSwitch &member) {
    Counts counts = {.vdcs = list_of_vdcs(member)};
    std::set<std::pair<std::string, uint32_t>> expected, registered;
    for (const nats::Registration &one : member.registered) {
        expected.emplace(one.place.vdc, one.sap);
        if (one.is_registered) registered.emplace(one.place.vdc, one.sap);
    }
    counts.expected = expected.size();
    counts.registered = registered.size();
    return counts;
}

} // namespace

int list_switches(const Options &options) {
    const std::vector<KnownSwitch> members = members_of(registered_at(access_of(options), {}, kPatienceForLists));
    Table table({{"Switch"}, {"VDCs", false, true}, {"Expected", true}, {"Registered", true}});
    for (const KnownSwitch &member : members) {
        const Counts counts = counts_of(member);
        table.add({member.name, counts.vdcs, std::to_string(counts.expected), std::to_string(counts.registered)});
    }
    if (options.json) {
        std::printf("{\"version\": 1, \"rows\": %s}\n", table.json().c_str());
    } else if (members.empty()) {
        print_message("no switch is registered at %s", options.connect->c_str());
    } else {
        std::fputs(table.text().c_str(), stdout);
    }
    return flush_output() ? kExitComplete : kExitFailure;
}

} // namespace shell
