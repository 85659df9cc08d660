// The subjects of the JetStream interface are those that libnats 3.4 publishes for the functions that the registry
// uses. Flow control comes with large buckets only.
#include "nats/permissions.h"

#include "nats/names.h"

namespace nats {
namespace {

const std::string kApi = "$JS.API.";

std::string stream_of(const char *bucket) {
    return std::string("KV_") + bucket;
}

std::string keys_of(const char *bucket) {
    return std::string("$KV.") + bucket + '.';
}

std::string inbox_of(std::string_view user) {
    return inbox_prefix(user) + ".>";
}

} // namespace

Permissions permissions_of(const ServiceUser &service) {
    const std::string name = escaped(service.switch_name), sap = std::to_string(service.sap);
    const std::string subjects = "qarn." + name + ".*.", keys = name + ".*.*." + sap;
    Permissions permissions{.publish = {subjects + "reply.*.*." + sap},
                            .subscribe = {inbox_of(service.user), subjects + "sap." + sap}};
    for (const char *bucket : {kBucket, kRoster})
        for (const std::string &subject : {keys_of(bucket) + keys, kApi + "STREAM.INFO." + stream_of(bucket),
                                           kApi + "STREAM.CREATE." + stream_of(bucket)})
            permissions.publish.push_back(subject);
    permissions.publish.push_back(kApi + "DIRECT.GET." + stream_of(kBucket) + '.' + keys_of(kBucket) + keys);
    for (const uint32_t opcode : service.opcodes)
        permissions.subscribe.push_back(subjects + "opcode." + std::to_string(opcode));
    return permissions;
}

Permissions permissions_of_shell(std::string_view user) {
    Permissions permissions{
        .publish = {"qarn.*.*.opcode.*", "qarn.*.*.sap.*", kApi + "STREAM.NAMES"},
        .subscribe = {inbox_of(user), "qarn.*.*.reply." + escaped(user) + ".>", keys_of(kBucket) + '>'}};
    for (const char *bucket : {kBucket, kRoster})
        for (const std::string &subject :
             {kApi + "STREAM.INFO." + stream_of(bucket), kApi + "CONSUMER.CREATE." + stream_of(bucket),
              kApi + "CONSUMER.DELETE." + stream_of(bucket) + ".*", "$JS.FC." + stream_of(bucket) + ".>"})
            permissions.publish.push_back(subject);
    return permissions;
}

} // namespace nats
