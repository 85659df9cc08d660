#include "shell/remote.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "shell/command_error.h"
#include "shell/message.h"
#include "shell/registered.h"
#include "shell/session.h"
#include "shell/values.h"
#include "sim/cfglib.h"
#include "sim/notation.h"
#include "transport/nats_carrier.h"

namespace shell {
namespace {

using Clock = std::chrono::steady_clock;
using transport::Registrations;

constexpr std::chrono::seconds kPatience(12);               // for a connection and two answers of the server
constexpr std::chrono::milliseconds kPatienceForNames(400); // of a user who has pressed Tab
constexpr std::chrono::seconds kFreshness(1);               // of a list that is not read again
constexpr std::chrono::seconds kAgeForCommands(5);          // of a list that a command does not read again
constexpr std::size_t kMostNames = 10;

std::vector<std::string> names_of_switches(const Registrations &registrations) {
    std::set<std::string> names;
    for (const nats::Registration &one : registrations)
        names.insert(one.place.switch_name);
    return {names.begin(), names.end()};
}

std::string list_of(const std::vector<std::string> &names) {
    std::string list;
    for (std::size_t i = 0; i < std::min(names.size(), kMostNames); ++i)
        list += (i == 0 ? "" : ", ") + sim::quoted(names[i]);
    return names.size() > kMostNames ? list + " and " + std::to_string(names.size() - kMostNames) + " more" : list;
}

// VDCs are registered by their numbers.
std::vector<sim::Vdc> vdcs_of(const Registrations &registrations, const std::string &switch_name) {
    std::set<uint16_t> ids;
    for (const nats::Registration &one : registrations) {
        const std::string &text = one.place.vdc;
        uint16_t id = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
        if (error == std::errc() && end == text.data() + text.size()) ids.insert(id);
    }
    std::vector<sim::Vdc> vdcs;
    vdcs.reserve(ids.size());
    for (const uint16_t id : ids)
        vdcs.push_back({id, id == sim::kDefaultVdc ? switch_name : "vdc-" + std::to_string(id)});
    return vdcs;
}

nats::Place place_of(const sim::Switch &sw, const std::string &name) {
    return {.switch_name = name, .vdc = std::to_string(sw.vdc)};
}

} // namespace

nats::Access access_of(const Options &options) {
    return {.url = *options.connect, .credentials = options.credentials, .client_name = "vsh"};
}

nats::Access Remote::access() const {
    return access_of(options_);
}

std::chrono::nanoseconds Remote::patience() const {
    return options_.completed ? std::chrono::nanoseconds(kPatienceForNames) : std::chrono::nanoseconds(kPatience);
}

std::string Remote::name_of_only_switch() const {
    const std::vector<std::string> names = names_of_switches(registered_at(access(), {}, patience()));
    if (names.empty()) throw std::runtime_error("no switch is registered at " + options_.connect.value());
    if (names.size() > 1)
        throw CommandError("several switches are registered at " + options_.connect.value() +
                           "; choose one with --switch-name: " + list_of(names));
    return names[0];
}

void Remote::read(const std::string &name) {
    all_ = registered_at(access(), name, patience());
    read_at_ = Clock::now();
}

bool Remote::is_younger_than(std::chrono::nanoseconds age) const {
    return read_at_ && Clock::now() - *read_at_ < age;
}

void Remote::adopt(sim::Switch &sw) {
    if (!name_) name_ = options_.switch_name;
    if (!name_) name_ = options_.switch_file ? sw.name : name_of_only_switch();
    if (!options_.switch_file && !is_younger_than(kFreshness)) read(*name_);
    name(sw, *name_);
}

void Remote::adopt(sim::Switch &sw, const std::string &name_of_switch, Registrations registered, Time read_at) {
    all_ = std::move(registered);
    read_at_ = read_at;
    is_read_once_ = true;
    name(sw, name_of_switch);
}

void Remote::name(sim::Switch &sw, const std::string &name) {
    name_ = sw.name = name;
    setenv("VSH_SWITCH_NAME", name.c_str(), 1); // of the shells that the display of all VDCs starts
    if (options_.switch_file) return;
    sw.vdcs = vdcs_of(all_, name);
    if (sw.vdcs.empty()) refuse(sw);
}

// The services of a description of the user's are those that should be there. What would answer in the shell's own
// process is a service of its own there too, and would answer twice.
void Remote::attach(sim::Switch &sw) {
    sw.in_process.clear();
    sim::clear_callback_table();
    if (!options_.switch_file) sw.services.clear();
    num_described_ = sw.services.size();
    select(sw);
    transport::add_services(sw, *registered_);
}

void Remote::select(const sim::Switch &sw) {
    const nats::Place place = place_of(sw, *name_);
    auto here = std::make_shared<Registrations>();
    std::ranges::copy_if(all_, std::back_inserter(*here), [&](const auto &one) { return one.place == place; });
    registered_ = std::move(here);
}

void Remote::find_services(sim::Switch &sw) {
    if (!is_read_once_ && !is_younger_than(kFreshness)) read(*name_);
    select(sw);
    if (registered_->empty()) refuse(sw);
    sw.services.resize(num_described_);
    transport::add_services(sw, *registered_);
    const bool is_known = is_younger_than(kAgeForCommands);
    if (!is_read_once_) read_at_.reset(); // of use for one command only
    const auto report = [](const std::string &text) { print_message("%s", text.c_str()); };
    sw.transport.carrier = transport::make_nats_carrier({.access = access(),
                                                         .place = place_of(sw, *name_),
                                                         .registered = is_known ? registered_ : nullptr,
                                                         .report = report});
}

// Nobody is registered in the VDC of this switch.
void Remote::refuse(const sim::Switch &sw) const {
    const std::string at = " is registered at " + options_.connect.value();
    if (!all_.empty())
        throw std::runtime_error("no service of VDC " + std::to_string(sw.vdc) + " of switch " + sim::quoted(*name_) +
                                 at);
    const std::vector<std::string> names = names_of_switches(registered_at(access(), {}, patience()));
    const std::string none = "no service of switch " + sim::quoted(*name_) + at;
    if (names.empty()) throw std::runtime_error(none + ", nor of any other switch");
    throw std::runtime_error(none + "; similar names there: " + list_of(nearest_to(*name_, names)));
}

} // namespace shell
