// The switch whose services answer through a NATS server.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "nats/connection.h"
#include "sim/switch.h"
#include "transport/presence.h"

namespace shell {

struct Options;

// The registrations of a switch, which the shell does not read again.
struct KnownSwitch {
    std::string name;
    transport::Registrations registered;
    std::chrono::steady_clock::time_point read_at;
};

class Remote {
  public:
    // With `known`, that is the switch.
    Remote(const Options &options, std::optional<KnownSwitch> known);

    // The description of the switch: the file of -s, or the one that bears its name in the folder of -s.
    struct Description {
        std::optional<std::string> file = {}; // none: the built-in one
        bool is_missing = false;              // there is none
    };
    // Throws CommandError or std::runtime_error, like `adopt`.
    Description description();

    // Make the switch of a description the one that --switch-name names. Without a description of the user's it is the
    // one that is registered, has its VDCs, and has no services yet.
    void adopt(sim::Switch &sw);
    // From now on the switch is another one.
    void adopt(sim::Switch &sw, KnownSwitch known);

    // Let the commands of this switch use the server: those of its services that are registered or should be, and those
    // that `find_services` finds.
    void attach(sim::Switch &sw);
    // Find the services that are registered or should be. Throws std::runtime_error if there is none.
    void list_services(sim::Switch &sw);
    // To be called before a command that asks services. Throws std::runtime_error if nobody is registered.
    void find_services(sim::Switch &sw);
    // The registrations in the VDC of the switch that were found last, and who should be registered.
    const transport::Registrations &registered() const { return *registered_; }

  private:
    using Time = std::chrono::steady_clock::time_point;

    nats::Access access() const;
    std::chrono::nanoseconds patience() const;
    const std::string &name();
    void read();
    void choose_only_switch();
    bool is_younger_than(std::chrono::nanoseconds age) const;
    void take(KnownSwitch known);
    void give_name_to(sim::Switch &sw);
    void select(const sim::Switch &sw);
    [[noreturn]] void refuse(const sim::Switch &sw) const;
    std::string nobody_of(const sim::Switch &sw) const;

    const Options &options_;
    bool is_described_; // by the user
    std::optional<std::string> name_;
    transport::Registrations all_;    // of the switch
    std::vector<std::string> others_; // names of other switches, if this one has no registrations
    std::optional<Time> read_at_;
    bool is_read_once_ = false;
    std::size_t num_described_ = 0; // services, which come first
    std::shared_ptr<const transport::Registrations> registered_ = std::make_shared<transport::Registrations>();
};

// The VDCs that have registrations; each is registered by its number.
std::set<uint16_t> vdcs_in(const transport::Registrations &registrations);

// The addresses and the user of the server. Only with --connect.
nats::Access access_of(const Options &options);

} // namespace shell
