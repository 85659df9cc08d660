#include <chrono>
#include <cstdio>
#include <set>
#include <string>

#include "shell/exit_code.h"
#include "shell/fleet/fleet.h"
#include "shell/fleet/member.h"
#include "shell/message.h"
#include "shell/registered.h"
#include "shell/run.h"
#include "shell/table.h"

namespace shell {
namespace {

struct Counts {
    std::string vdcs;
    std::size_t services = 0;
};

// A service of two VDCs counts twice.
Counts counts_of(const FleetSwitch &member) {
    Counts counts;
    std::set<std::string> vdcs;
    std::set<std::pair<std::string, uint32_t>> services;
    for (const nats::Registration &one : member.registered) {
        if (vdcs.insert(one.place.vdc).second) counts.vdcs += (counts.vdcs.empty() ? "" : ",") + one.place.vdc;
        services.emplace(one.place.vdc, one.sap);
    }
    counts.services = services.size();
    return counts;
}

} // namespace

int list_switches(const Options &options) {
    const std::vector<FleetSwitch> members = members_of(registered_at(access_of(options), {}, kPatienceForLists));
    Table table({{"Switch"}, {"VDCs"}, {"Services", true}});
    for (const FleetSwitch &member : members) {
        const Counts counts = counts_of(member);
        table.add({member.name, counts.vdcs, std::to_string(counts.services)});
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
