// Which of the services that a command asks are still there.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "nats/registry.h"

namespace transport {

using Registrations = std::vector<nats::Registration>;

// A service whose process has ended has left, even if another process has taken its place: that one has not been asked.
class Presence {
  public:
    // `listed` are the registrations when the command begins, and who is missing; null: they are read from the
    // registry. The connection must live longer. Throws nats::Error.
    Presence(natsConnection *connection, nats::Place place, const Registrations *listed);

    bool has(uint32_t sap) const { return present_.contains(sap); }
    bool had(uint32_t sap) const { return listed_.contains(sap); }
    // Who was registered at the beginning, or should have been.
    const Registrations &listed() const { return all_; }

    // Look whether somebody has left, if that may be: once a second, because the server does not report registrations
    // whose time is over, and when one was removed. Throws nats::Error.
    void update();

  private:
    using Processes = std::map<uint32_t, nats::Registration>; // by SAP

    void look();
    bool was_one_removed() const;

    natsConnection *connection_;
    nats::Place place_;
    nats::Subscription removals_;
    std::optional<nats::Registry> registry_; // none before the first look
    Registrations all_;
    Processes listed_, present_;
    std::chrono::steady_clock::time_point seen_, next_look_; // the last look that succeeded, and the next one
};

} // namespace transport
