#include "nats/registry.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <tuple>

namespace nats {
namespace {

using std::chrono::duration_cast;
using std::chrono::nanoseconds;

constexpr int64_t kPatience = 5000; // milliseconds, for one answer of the server

template <typename Number>
void set_number(Number &number, std::string_view text) {
    Number read = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
    if (error == std::errc() && end == text.data() + text.size()) number = read;
}

void set(Registration &registration, std::string_view key, std::string_view value) {
    if (key == "name") registration.name = unescaped(value).value_or("");
    if (key == "host") registration.host = unescaped(value).value_or("");
    if (key == "uuid") set_number(registration.uuid, value);
    if (key == "pid") set_number(registration.pid, value);
    if (key == "since") set_number(registration.since, value);
}

[[noreturn]] void refuse(natsStatus status) {
    if (status == NATS_NO_RESPONDERS || status == NATS_NO_SERVER_SUPPORT)
        throw Error("the NATS server has no JetStream, in which services register; start it with -js, or with "
                    "jetstream {} in its configuration");
    throw Error(std::string("the registry of services cannot be used: ") + natsStatus_GetText(status));
}

natsStatus make_bucket(kvStore **bucket, jsCtx *jetstream) {
    kvConfig config;
    kvConfig_Init(&config);
    config.Bucket = kBucket;
    config.History = 1;
    config.TTL = duration_cast<nanoseconds>(kLifetime).count();
    config.StorageType = js_MemoryStorage;
    const natsStatus status = js_CreateKeyValue(bucket, jetstream, &config);
    return status == NATS_OK ? status : js_KeyValue(bucket, jetstream, kBucket); // another one may have been faster
}

std::optional<Registration> registration_of(kvEntry *entry) {
    const std::string_view key = kvEntry_Key(entry);
    const auto opcode = last_number_but_one(key), sap = last_number(key);
    if (!opcode || !sap) return {};
    return registration_in(*opcode, *sap,
                           {static_cast<const char *>(kvEntry_Value(entry)),
                            static_cast<std::size_t>(kvEntry_ValueLen(entry))});
}

} // namespace

std::string value_of(const Registration &registration) {
    return "name " + escaped(registration.name) + "\nuuid " + std::to_string(registration.uuid) + "\nhost " +
           escaped(registration.host) + "\npid " + std::to_string(registration.pid) + "\nsince " +
           std::to_string(registration.since) + "\n";
}

Registration registration_in(uint32_t opcode, uint32_t sap, std::string_view value) {
    Registration registration{.opcode = opcode, .sap = sap};
    while (!value.empty()) {
        const std::string_view line = value.substr(0, value.find('\n'));
        value.remove_prefix(std::min(line.size() + 1, value.size()));
        const std::size_t blank = line.find(' ');
        if (blank != std::string_view::npos) set(registration, line.substr(0, blank), line.substr(blank + 1));
    }
    return registration;
}

Registry::Registry(natsConnection *connection, Missing missing) {
    jsOptions options;
    check(jsOptions_Init(&options), "JetStream");
    options.Wait = kPatience;
    jetstream_ = made<JetStream>("JetStream", natsConnection_JetStream, connection, &options);
    kvStore *bucket = nullptr;
    natsStatus status = js_KeyValue(&bucket, jetstream_.get(), kBucket);
    if (status == NATS_NOT_FOUND && missing == Missing::kIsMade) status = make_bucket(&bucket, jetstream_.get());
    bucket_.reset(bucket);
    if (status != NATS_OK && status != NATS_NOT_FOUND) refuse(status);
    if (status != NATS_OK && missing == Missing::kIsMade) refuse(status);
}

std::optional<Registration> Registry::claim(const Place &place, const Registration &registration) {
    const std::string name = key(place, registration.opcode, registration.sap), value = value_of(registration);
    const auto length = static_cast<int>(value.size());
    const natsStatus status = kvStore_Create(nullptr, bucket_.get(), name.c_str(), value.data(), length);
    if (status == NATS_OK) return {};
    kvEntry *found = nullptr;
    const natsStatus read = kvStore_Get(&found, bucket_.get(), name.c_str());
    const Entry entry(found);
    if (read != NATS_OK) refuse(status);
    return registration_of(entry.get());
}

void Registry::renew(const Place &place, const Registration &registration) {
    const std::string name = key(place, registration.opcode, registration.sap), value = value_of(registration);
    const auto length = static_cast<int>(value.size());
    const natsStatus status = kvStore_Put(nullptr, bucket_.get(), name.c_str(), value.data(), length);
    if (status != NATS_OK) refuse(status);
}

void Registry::remove(const Place &place, uint32_t opcode, uint32_t sap) {
    const natsStatus status = kvStore_Delete(bucket_.get(), key(place, opcode, sap).c_str());
    if (status != NATS_OK && status != NATS_NOT_FOUND) refuse(status);
}

std::vector<Registration> Registry::list(const Place &place) {
    std::vector<Registration> all;
    if (!bucket_) return all;
    kvWatchOptions options;
    kvWatchOptions_Init(&options);
    options.IgnoreDeletes = true;
    const std::string keys = all_keys(place);
    const auto watcher =
        made<Watcher>("the registry of services", kvStore_Watch, bucket_.get(), keys.c_str(), &options);
    for (;;) {
        kvEntry *next = nullptr;
        check(kvWatcher_Next(&next, watcher.get(), kPatience), "the registry of services");
        const Entry entry(next);
        if (!entry) break; // that was all
        if (const auto registration = registration_of(entry.get())) all.push_back(*registration);
    }
    std::ranges::sort(all, {}, [](const Registration &one) { return std::tuple(one.sap, one.opcode); });
    return all;
}

} // namespace nats
