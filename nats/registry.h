// Who serves a switch: a JetStream key-value bucket in memory with one key per opcode and SAP. A registration that is
// not renewed ends by itself. A second bucket, on disk, is the roster of who should be registered: it keeps a service
// that died, so that its absence is noticed.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "nats/names.h"
#include "nats/objects.h"

namespace nats {

inline constexpr std::chrono::seconds kLifetime(10);    // of a registration
inline constexpr std::chrono::seconds kRenewalPause(3); // between two writes of one

inline constexpr std::chrono::hours kRosterLifetime(7 * 24); // of a service that is not seen any more
inline constexpr std::chrono::hours kRosterPause(1);         // between two writes for one that is

inline constexpr uint32_t kNoOpcode = 0; // of a service that is reached by its SAP only

// What a service sent last.
struct LastAnswer {
    uint64_t bytes = 0;        // of the reply
    uint64_t milliseconds = 0; // from the request to the last message
};

struct Registration {
    Place place = {};
    uint32_t opcode = 0, sap = 0;
    std::string name = {};
    uint32_t uuid = 0;
    std::string host = {};
    int64_t pid = 0;
    std::string machine = {}; // with `started` as in ProcessIdentity
    uint64_t started = 0;
    int64_t since = 0; // seconds of the epoch
    std::optional<LastAnswer> answer = {};
    bool is_registered = true; // false: it is in the roster only

    // What the registry sets for its own process.
    uint64_t revision = 0;                                                  // of its key; 0: it is not registered
    std::optional<std::chrono::steady_clock::time_point> in_roster_at = {}; // last write to the roster
};

inline constexpr uint32_t kLowestSap = 2, kHighestSap = 0xfffffffe; // of a service; others have meanings in a request

// The value of a registration's key: lines "KEY VALUE". An unknown line is skipped, and so is a bad number.
std::string value_of(const Registration &registration);
Registration registration_in(Key key, std::string_view value);

// Whether both are of the same process.
bool is_same_process(const Registration &one, const Registration &other);

// Whether its process was one of this machine, and has ended.
bool has_ended_here(const Registration &registration);

inline constexpr std::chrono::milliseconds kUsualPatience(5000); // for one answer of the server

// Every function throws Error. After a NoAnswer it has not waited again.
class Registry {
  public:
    // Whether a bucket that does not exist is made.
    enum class Missing : bool { kIsEmpty, kIsMade };
    // The connection must live longer.
    Registry(natsConnection *connection, Missing missing, std::chrono::milliseconds patience = kUsualPatience);

    // Register, also in the roster. Returns who has the key already; none: it is registered. A process of this
    // machine that has ended has nothing any more.
    std::optional<Registration> claim(Registration &registration);
    // Who has registered for the opcode with the SAP.
    std::optional<Registration> find(const Place &place, uint32_t opcode, uint32_t sap);
    // Returns whether it is still registered. If not, its time is over, and it has to be claimed again.
    bool renew(Registration &registration);
    // Its service ends in order, and is not expected any more.
    void remove(const Registration &registration);
    // Its process died. It is still expected, until it is claimed again or forgotten.
    void expire(const Registration &registration);

    // Who is registered, and who is in the roster although nobody has registered for its SAP. Ordered by place,
    // SAP and opcode.
    std::vector<Registration> list(const Place &place);
    std::vector<Registration> list_switch(const std::string &name);
    std::vector<Registration> list_all();
    // Who is registered only, which takes half the time.
    std::vector<Registration> list_registered(const Place &place);

  private:
    bool create(Registration &registration);
    void write_roster(Registration &registration);
    kvStore *roster();
    std::vector<Registration> list_keys(const std::string &keys);

    const Missing missing_;
    const std::chrono::milliseconds patience_;
    JetStream jetstream_;
    Bucket bucket_, roster_; // null: there is none yet
};

} // namespace nats
