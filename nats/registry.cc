#include "nats/registry.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

#include "nats/process.h"

namespace nats {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr int64_t kLastSecond = 253402300799; // of the year 9999

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
    if (key == "machine") registration.machine = unescaped(value).value_or("");
    if (key == "started") set_number(registration.started, value);
    if (key == "since") set_number(registration.since, value);
    if (key != "answer-bytes" && key != "answer-ms") return;
    if (!registration.answer) registration.answer.emplace();
    set_number(key == "answer-ms" ? registration.answer->milliseconds : registration.answer->bytes, value);
}

[[noreturn]] void refuse(natsStatus status) {
    if (status == NATS_NO_RESPONDERS || status == NATS_NO_SERVER_SUPPORT)
        throw Error(
            "the NATS server has no JetStream, in which services register; start it with -js, or with "
            "jetstream {} in its configuration");
    const std::string text =
        std::string("the registry of services cannot be reached (") + natsStatus_GetText(status) +
        "); check that the server that keeps it is running, the link to it, and that this user may use it";
    if (status == NATS_TIMEOUT) throw NoAnswer(text);
    throw Error(text);
}

struct Kind {
    const char *name;
    nanoseconds lifetime; // of a key
    jsStorageType storage;
};
constexpr Kind kRegistrations = {kBucket, kLifetime, js_MemoryStorage};
constexpr Kind kExpected = {kRoster, kRosterLifetime, js_FileStorage};

// What the library makes for a bucket, but without roll-ups: by one, whoever may write one key could remove all others.
natsStatus add_stream(jsCtx *jetstream, const Kind &kind) {
    const std::string name = std::string("KV_") + kind.name, subjects = std::string("$KV.") + kind.name + ".>";
    const char *list[] = {subjects.c_str()};
    jsStreamConfig config;
    jsStreamConfig_Init(&config);
    config.Name = name.c_str();
    config.Subjects = list;
    config.SubjectsLen = 1;
    config.MaxMsgsPerSubject = 1;
    config.MaxAge = kind.lifetime.count();
    config.Discard = js_DiscardNew;
    config.Storage = kind.storage;
    config.DenyDelete = true;
    config.AllowDirect = true;
    return js_AddStream(nullptr, jetstream, &config, nullptr, nullptr);
}

natsStatus make_bucket(kvStore **bucket, jsCtx *jetstream, const Kind &kind) {
    const natsStatus made = add_stream(jetstream, kind), found = js_KeyValue(bucket, jetstream, kind.name);
    return found == NATS_NOT_FOUND ? made : found; // another one may have been faster
}

// Null: it does not exist, and is not made.
Bucket open_bucket(jsCtx *jetstream, const Kind &kind, Registry::Missing missing) {
    kvStore *bucket = nullptr;
    natsStatus status = js_KeyValue(&bucket, jetstream, kind.name);
    if (status == NATS_NOT_FOUND && missing == Registry::Missing::kIsMade)
        status = make_bucket(&bucket, jetstream, kind);
    Bucket owner(bucket);
    if (status != NATS_OK && status != NATS_NOT_FOUND) refuse(status);
    if (status != NATS_OK && missing == Registry::Missing::kIsMade) refuse(status);
    return owner;
}

// Whoever may write a key may write anything into it.
bool is_valid(const Registration &registration) {
    return registration.sap >= kLowestSap && registration.sap <= kHighestSap && registration.since >= 0 &&
           registration.since <= kLastSecond;
}

// None if the entry has none.
std::optional<Registration> registration_of(kvEntry *entry) {
    auto key = key_in(kvEntry_Key(entry));
    if (!key) return {};
    Registration registration = registration_in(std::move(*key), {static_cast<const char *>(kvEntry_Value(entry)),
                                                                  static_cast<std::size_t>(kvEntry_ValueLen(entry))});
    registration.revision = kvEntry_Revision(entry);
    if (!is_valid(registration)) return {};
    return registration;
}

std::string key_of(const Registration &registration) {
    return key(registration.place, registration.opcode, registration.sap);
}

void erase(kvStore *bucket, const Registration &registration) {
    const natsStatus status = kvStore_Delete(bucket, key_of(registration).c_str());
    if (status != NATS_OK && status != NATS_NOT_FOUND) refuse(status);
}

// The entries of a bucket, which may be null.
std::vector<Registration> entries_of(kvStore *bucket, const std::string &keys, milliseconds patience) {
    std::vector<Registration> all;
    if (bucket == nullptr) return all;
    kvWatchOptions options;
    kvWatchOptions_Init(&options);
    options.IgnoreDeletes = true;
    kvWatcher *opened = nullptr;
    if (const natsStatus status = kvStore_Watch(&opened, bucket, keys.c_str(), &options)) refuse(status);
    const Watcher watcher(opened);
    for (;;) {
        kvEntry *next = nullptr;
        if (const natsStatus status = kvWatcher_Next(&next, watcher.get(), patience.count())) refuse(status);
        const Entry entry(next);
        if (!entry) return all; // that was all
        if (auto registration = registration_of(entry.get())) all.push_back(std::move(*registration));
    }
}

void sort(std::vector<Registration> &registrations) {
    const auto order = [](const Registration &one) { return std::tie(one.place, one.sap, one.opcode); };
    std::ranges::sort(registrations, {}, order);
}

// Add those for whose SAP nobody is registered.
void add_missing(std::vector<Registration> &registered, std::vector<Registration> expected) {
    const auto owner = [](const Registration &one) { return key(one.place, kNoOpcode, one.sap); };
    std::set<std::string> present;
    for (const Registration &one : registered)
        present.insert(owner(one));
    for (Registration &one : expected) {
        if (present.contains(owner(one))) continue;
        one.is_registered = false;
        one.revision = 0;
        registered.push_back(std::move(one));
    }
}

} // namespace

std::string value_of(const Registration &registration) {
    std::string value = "name " + escaped(registration.name) + "\nuuid " + std::to_string(registration.uuid) +
                        "\nhost " + escaped(registration.host) + "\npid " + std::to_string(registration.pid) +
                        "\nmachine " + escaped(registration.machine) + "\nstarted " +
                        std::to_string(registration.started) + "\nsince " + std::to_string(registration.since) + "\n";
    if (registration.answer)
        value += "answer-bytes " + std::to_string(registration.answer->bytes) + "\nanswer-ms " +
                 std::to_string(registration.answer->milliseconds) + "\n";
    return value;
}

Registration registration_in(Key key, std::string_view value) {
    Registration registration{.place = std::move(key.place), .opcode = key.opcode, .sap = key.sap};
    while (!value.empty()) {
        const std::string_view line = value.substr(0, value.find('\n'));
        value.remove_prefix(std::min(line.size() + 1, value.size()));
        const std::size_t blank = line.find(' ');
        if (blank != std::string_view::npos) set(registration, line.substr(0, blank), line.substr(blank + 1));
    }
    return registration;
}

bool is_same_process(const Registration &one, const Registration &other) {
    const auto identity = [](const Registration &of) {
        return std::tie(of.host, of.machine, of.pid, of.started, of.since);
    };
    return identity(one) == identity(other);
}

bool has_ended_here(const Registration &registration) {
    return has_ended_here(
        ProcessIdentity{.machine = registration.machine, .pid = registration.pid, .started = registration.started});
}

Registry::Registry(natsConnection *connection, Missing missing, milliseconds patience)
    : missing_(missing), patience_(patience) {
    jsOptions options;
    check(jsOptions_Init(&options), "JetStream");
    options.Wait = patience_.count();
    jetstream_ = made<JetStream>("JetStream", natsConnection_JetStream, connection, &options);
    bucket_ = open_bucket(jetstream_.get(), kRegistrations, missing_);
}

// Opened when it is needed, which a look for who is registered does not do.
kvStore *Registry::roster() {
    if (!roster_) roster_ = open_bucket(jetstream_.get(), kExpected, missing_);
    return roster_.get();
}

// kvStore_Create, which also takes the key of one that was removed, would wait twice for a server that does not answer.
bool Registry::create(Registration &registration) {
    const std::string name = key_of(registration), value = value_of(registration);
    const auto size = static_cast<int>(value.size());
    natsStatus status = kvStore_Update(&registration.revision, bucket_.get(), name.c_str(), value.data(), size, 0);
    if (status != NATS_OK && status != NATS_TIMEOUT)
        status = kvStore_Create(&registration.revision, bucket_.get(), name.c_str(), value.data(), size);
    if (status == NATS_TIMEOUT) refuse(status);
    return status == NATS_OK;
}

std::optional<Registration> Registry::find(const Place &place, uint32_t opcode, uint32_t sap) {
    kvEntry *found = nullptr;
    const natsStatus status = kvStore_Get(&found, bucket_.get(), key(place, opcode, sap).c_str());
    const Entry entry(found);
    if (status == NATS_NOT_FOUND) return {};
    if (status != NATS_OK) refuse(status);
    return registration_of(entry.get());
}

std::optional<Registration> Registry::claim(Registration &registration) {
    registration.revision = 0;
    if (!create(registration)) {
        auto owner = find(registration.place, registration.opcode, registration.sap);
        if (owner && !has_ended_here(*owner)) return owner;
        if (owner) expire(*owner);
        if (!create(registration)) refuse(NATS_ERR);
    }
    write_roster(registration);
    return {};
}

void Registry::write_roster(Registration &registration) {
    const std::string name = key_of(registration), value = value_of(registration);
    const natsStatus status =
        kvStore_Put(nullptr, roster(), name.c_str(), value.data(), static_cast<int>(value.size()));
    if (status != NATS_OK) refuse(status);
    registration.in_roster_at = std::chrono::steady_clock::now();
}

bool Registry::renew(Registration &registration) {
    const std::string name = key_of(registration), value = value_of(registration);
    const natsStatus status = kvStore_Update(&registration.revision, bucket_.get(), name.c_str(), value.data(),
                                             static_cast<int>(value.size()), registration.revision);
    if (status == NATS_TIMEOUT) refuse(status);
    if (status != NATS_OK) {
        const auto owner = find(registration.place, registration.opcode, registration.sap);
        if (!owner || !is_same_process(*owner, registration)) return false;
        registration.revision = owner->revision; // the server's answer to an earlier renewal was lost
    }
    const auto now = std::chrono::steady_clock::now();
    if (!registration.in_roster_at || now - *registration.in_roster_at > kRosterPause) write_roster(registration);
    return true;
}

// In this order nobody sees a service that ends in order as one that is missing.
void Registry::remove(const Registration &registration) {
    erase(roster(), registration);
    erase(bucket_.get(), registration);
}

void Registry::expire(const Registration &registration) {
    erase(bucket_.get(), registration);
}

std::vector<Registration> Registry::list(const Place &place) {
    return list_keys(all_keys(place));
}

std::vector<Registration> Registry::list_switch(const std::string &name) {
    return list_keys(escaped(name) + ".>");
}

std::vector<Registration> Registry::list_all() {
    return list_keys(">");
}

std::vector<Registration> Registry::list_registered(const Place &place) {
    auto all = entries_of(bucket_.get(), all_keys(place), patience_);
    sort(all);
    return all;
}

// The roster first: a service that registers meanwhile is not reported as missing.
std::vector<Registration> Registry::list_keys(const std::string &keys) {
    auto expected = entries_of(roster(), keys, patience_);
    auto all = entries_of(bucket_.get(), keys, patience_);
    add_missing(all, std::move(expected));
    sort(all);
    return all;
}

} // namespace nats
