#include "shell/remote_services.h"

#include <qarncli/message.h>

#include <map>
#include <string>
#include <vector>

#include "shell/answer.h"
#include "shell/exit_code.h"
#include "shell/table.h"

namespace shell {
namespace {

using Registered = std::map<uint32_t, const nats::Registration *>; // by SAP

// A service has one registration for each opcode that it consumes. That for requests says the most.
Registered by_sap(const transport::Registrations &registrations) {
    Registered registered;
    for (const nats::Registration &one : registrations) {
        const nats::Registration *&kept = registered[one.sap];
        if (kept == nullptr || one.opcode == QARN_OPC_REQUEST) kept = &one;
    }
    return registered;
}

// One that is not registered keeps the host where it was last.
std::vector<std::string> row_of(const nats::Registration &one) {
    if (!one.is_registered)
        return {one.name, std::to_string(one.sap), std::to_string(one.uuid), one.host, "", "", "",
                "",       "not registered"};
    const auto &answer = one.answer;
    return {one.name,
            std::to_string(one.sap),
            std::to_string(one.uuid),
            one.host,
            std::to_string(one.pid),
            time_text(one.since),
            answer ? std::to_string(answer->bytes) : "",
            answer ? std::to_string(answer->milliseconds) : "",
            one.opcode == QARN_OPC_REQUEST ? "registered" : "registered, only when asked by name"};
}

std::vector<std::string> row_of(const sim::Service &service) {
    return {service.name,    std::to_string(service.sap), std::to_string(service.uuid), "", "", "", "", "",
            "not registered"};
}

} // namespace

int show_registered_services(Session &session, const Line &line) {
    session.remote()->list_services(session.current());
    const Registered registered = by_sap(session.remote()->registered());
    Table table({{"Service"},
                 {"SAP", true},
                 {"UUID", true},
                 {"Host"},
                 {"PID", true},
                 {"Since"},
                 {"Bytes", true},
                 {"Milliseconds", true},
                 {"State"}});
    for (const sim::Service &service : session.current().services) {
        const auto found = registered.find(service.sap);
        table.add(found != registered.end() ? row_of(*found->second) : row_of(service));
    }
    return show_table(session, line, table, {}, kExitComplete);
}

} // namespace shell
