// The answers to one command, and what the server reports while they are awaited.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "nats/objects.h"

namespace transport {

class Answers {
  public:
    // With more than `bounds` that has come but was not received, messages are lost. The connection must live longer.
    // Throws nats::Error.
    struct Bounds {
        int messages = 1 << 20, bytes = 1 << 30;
    };
    Answers(natsConnection *connection, const std::string &reply_subject, const Bounds &bounds);

    // The next message, or null at `end`. Throws nats::Error if messages were lost or none can come.
    nats::Message next(std::chrono::steady_clock::time_point end) const;

  private:
    void check_permissions() const;

    natsConnection *connection_;
    nats::Subscription subscription_;
};

// The SAP that the subject of an answer names: that of the service that the server let answer.
uint32_t sap_of(const nats::Message &answer);
std::string_view payload_of(const nats::Message &answer);

// What an answer that has this SAP in its subject is besides a fragment of that service.
struct Fault {
    std::string text = {};              // such as "is too short for a fragment"; empty: it is one
    std::optional<uint32_t> named = {}; // the other SAP that it names
};
Fault fault_of(std::string_view payload, uint32_t sap);

} // namespace transport
