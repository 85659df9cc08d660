// Who serves a switch: a JetStream key-value bucket in memory with one key per opcode and SAP. A registration that is
// not renewed ends by itself.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "nats/names.h"
#include "nats/objects.h"

namespace nats {

inline constexpr std::chrono::seconds kLifetime(10);   // of a registration
inline constexpr std::chrono::seconds kRenewalPause(3); // between two writes of one

struct Registration {
    uint32_t opcode = 0, sap = 0;
    std::string name = {};
    uint32_t uuid = 0;
    std::string host = {};
    int64_t pid = 0;
    int64_t since = 0; // seconds of the epoch
};

// The value of a registration's key: lines "KEY VALUE". An unknown line is skipped, and so is a bad number.
std::string value_of(const Registration &registration);
Registration registration_in(uint32_t opcode, uint32_t sap, std::string_view value);

class Registry {
  public:
    // Whether a bucket that does not exist is made.
    enum class Missing : bool { kIsEmpty, kIsMade };
    // The connection must live longer. Throws Error.
    Registry(natsConnection *connection, Missing missing);

    // Register for the first time. Returns who has the key already; none: the registration is written.
    std::optional<Registration> claim(const Place &place, const Registration &registration);
    void renew(const Place &place, const Registration &registration);
    void remove(const Place &place, uint32_t opcode, uint32_t sap);
    // Ordered by SAP and opcode.
    std::vector<Registration> list(const Place &place);

  private:
    JetStream jetstream_;
    Bucket bucket_; // null: there is none yet
};

} // namespace nats
