// Who is registered at a NATS server.
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

#include "nats/connection.h"
#include "transport/presence.h"

namespace shell {

inline constexpr std::chrono::seconds kPatienceForLists(60); // of thousands of switches

// Ended by SIGINT.
class ListingInterrupted : public std::runtime_error {
  public:
    ListingInterrupted() : std::runtime_error("command interrupted") {}
};

// The registrations of one switch, or of all, ordered by place, SAP and opcode. A process of its own reads them,
// because the library for NATS makes threads, and a process that forks commands must not have any. Throws
// std::runtime_error with what to do, also if that takes longer than `limit`.
transport::Registrations registered_at(const nats::Access &access, const std::optional<std::string> &switch_name,
                                       std::chrono::nanoseconds limit);

} // namespace shell
