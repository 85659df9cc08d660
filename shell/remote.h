// The switch whose services answer through a NATS server.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "nats/connection.h"
#include "sim/switch.h"
#include "transport/presence.h"

namespace shell {

struct Options;

class Remote {
  public:
    using Time = std::chrono::steady_clock::time_point;

    explicit Remote(const Options &options) : options_(options) {}

    // Make the switch of a description the one that --switch-name names. Without a description of the user's it is the
    // one that is registered, has its VDCs, and has no services yet. Throws CommandError or std::runtime_error.
    void adopt(sim::Switch &sw);
    // From now on another switch, whose registrations were read at that time and are not read again by this process.
    void adopt(sim::Switch &sw, const std::string &name, transport::Registrations registered, Time read_at);

    // Let the commands of this switch use the server: those of its services that are registered, and those that
    // `find_services` finds.
    void attach(sim::Switch &sw);
    // To be called before a command that asks services. Throws std::runtime_error.
    void find_services(sim::Switch &sw);
    // The registrations in the VDC of the switch that were found last.
    const transport::Registrations &registered() const { return *registered_; }

  private:
    nats::Access access() const;
    std::chrono::nanoseconds patience() const;
    std::string name_of_only_switch() const;
    void read(const std::string &name);
    bool is_younger_than(std::chrono::nanoseconds age) const;
    void name(sim::Switch &sw, const std::string &name);
    void select(const sim::Switch &sw);
    [[noreturn]] void refuse(const sim::Switch &sw) const;

    const Options &options_;
    std::optional<std::string> name_; // of the switch, where that is known without its description
    transport::Registrations all_;    // of the switch
    std::optional<Time> read_at_;
    bool is_read_once_ = false;
    std::size_t num_described_ = 0; // services, which come first
    std::shared_ptr<const transport::Registrations> registered_ = std::make_shared<transport::Registrations>();
};

// The addresses and the user of the server. Only with --connect.
nats::Access access_of(const Options &options);

} // namespace shell
