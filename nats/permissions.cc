// The subjects of the JetStream interface are those that libnats 3.4 publishes for the functions that the registry
// uses. Flow control comes with large buckets only.
#include "nats/permissions.h"

#include "nats/names.h"

namespace nats {
namespace {

const std::string kApi = "$JS.API.";
const std::string kStream = std::string("KV_") + kBucket;
const std::string kKeys = std::string("$KV.") + kBucket + '.';

std::string inbox_of(std::string_view user) {
    return inbox_prefix(user) + ".>";
}

} // namespace

Permissions permissions_of(const ServiceUser &service) {
    const std::string name = escaped(service.switch_name), sap = std::to_string(service.sap);
    const std::string subjects = "qarn." + name + ".*.", keys = kKeys + name + ".*.*." + sap;
    Permissions permissions{
        .publish = {subjects + "reply.*.*." + sap, keys, kApi + "STREAM.INFO." + kStream,
                    kApi + "STREAM.CREATE." + kStream, kApi + "DIRECT.GET." + kStream + '.' + keys},
        .subscribe = {inbox_of(service.user), subjects + "sap." + sap},
    };
    for (const uint32_t opcode : service.opcodes)
        permissions.subscribe.push_back(subjects + "opcode." + std::to_string(opcode));
    return permissions;
}

Permissions permissions_of_shell(std::string_view user) {
    return {
        .publish = {"qarn.*.*.opcode.*", "qarn.*.*.sap.*", kApi + "STREAM.INFO." + kStream, kApi + "STREAM.NAMES",
                    kApi + "CONSUMER.CREATE." + kStream, kApi + "CONSUMER.DELETE." + kStream + ".*",
                    "$JS.FC." + kStream + ".>"},
        .subscribe = {inbox_of(user), "qarn.*.*.reply." + escaped(user) + ".>", kKeys + '>'},
    };
}

} // namespace nats
