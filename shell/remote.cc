#include "shell/remote.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "shell/built_in_switch.h"
#include "shell/command_error.h"
#include "shell/message.h"
#include "shell/registered.h"
#include "shell/session.h"
#include "shell/switch_file.h"
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
        list += (i == 0 ? "" : ", ") + names[i];
    return names.size() > kMostNames ? list + " and " + std::to_string(names.size() - kMostNames) + " more" : list;
}

std::vector<sim::Vdc> vdcs_of(const Registrations &registrations, const std::string &switch_name) {
    const std::set<uint16_t> ids = vdcs_in(registrations);
    std::vector<sim::Vdc> vdcs;
    vdcs.reserve(ids.size());
    for (const uint16_t id : ids)
        vdcs.push_back({id, id == sim::kDefaultVdc ? switch_name : "vdc-" + std::to_string(id)});
    return vdcs;
}

std::string quoted_list_of(std::vector<std::string> names) {
    for (std::string &name : names)
        name = sim::quoted(name);
    return list_of(names);
}

// Those that have half of the name in common with it.
std::vector<std::string> similar_to(const std::string &name, std::vector<std::string> names) {
    const std::string half = name.substr(0, (name.size() + 1) / 2);
    std::erase_if(names, [&](const std::string &one) { return !begins_with(one, half); });
    return nearest_to(name, std::move(names));
}

std::string names_of_services(const Registrations &registrations) {
    std::vector<std::string> names;
    for (const nats::Registration &one : registrations) {
        std::string name = sim::printable(one.name) + " (SAP " + std::to_string(one.sap) + ")";
        if (names.empty() || names.back() != name) names.push_back(std::move(name));
    }
    return list_of(names);
}

nats::Place place_of(const sim::Switch &sw, const std::string &name) {
    return {.switch_name = name, .vdc = std::to_string(sw.vdc)};
}

} // namespace

std::set<uint16_t> vdcs_in(const Registrations &registrations) {
    std::set<uint16_t> ids;
    for (const nats::Registration &one : registrations) {
        const std::string &text = one.place.vdc;
        uint16_t id = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
        if (error == std::errc() && end == text.data() + text.size()) ids.insert(id);
    }
    return ids;
}

nats::Access access_of(const Options &options) {
    return {.url = *options.connect, .credentials = options.credentials, .client_name = "vsh"};
}

nats::Access Remote::access() const {
    return access_of(options_);
}

std::chrono::nanoseconds Remote::patience() const {
    return options_.completed ? std::chrono::nanoseconds(kPatienceForNames) : std::chrono::nanoseconds(kPatience);
}

void Remote::take(KnownSwitch known) {
    name_ = std::move(known.name);
    all_ = std::move(known.registered);
    read_at_ = known.read_at;
    is_read_once_ = true;
}

Remote::Remote(const Options &options, std::optional<KnownSwitch> known)
    : options_(options), is_described_(options.switch_file.has_value()), name_(options.switch_name) {
    if (known) take(std::move(*known));
}

// Whoever is asked for the only switch has the registrations of all.
void Remote::choose_only_switch() {
    all_ = registered_at(access(), {}, patience());
    const std::vector<std::string> names = names_of_switches(all_);
    if (names.empty()) throw std::runtime_error("no switch is registered at " + options_.connect.value());
    if (names.size() > 1)
        throw CommandError("several switches are registered at " + options_.connect.value() +
                           "; choose one with --switch-name: " + quoted_list_of(names));
    name_ = names[0];
    read_at_ = Clock::now();
}

const std::string &Remote::name() {
    if (!name_) choose_only_switch();
    return *name_;
}

// Where the switch has nobody, the others come from the same list: it may have been registered in between.
void Remote::read() {
    all_ = registered_at(access(), name_, patience());
    if (all_.empty() && !options_.completed) {
        const Registrations everybody = registered_at(access(), {}, patience());
        others_ = names_of_switches(everybody);
        std::erase(others_, *name_);
        std::ranges::copy_if(everybody, std::back_inserter(all_),
                             [&](const auto &one) { return one.place.switch_name == *name_; });
    }
    read_at_ = Clock::now();
}

bool Remote::is_younger_than(std::chrono::nanoseconds age) const {
    return read_at_ && Clock::now() - *read_at_ < age;
}

Remote::Description Remote::description() {
    std::error_code error;
    const std::optional<std::string> &given = options_.switch_file;
    is_described_ = given.has_value();
    if (given && !std::filesystem::is_directory(*given, error)) return {.file = given};
    const std::string file = given ? file_of_switch(*given, name(), ".yaml") : "";
    is_described_ = given && std::filesystem::exists(file, error);
    if (is_described_) return {.file = file};
    return {.is_missing = name() != kNameOfBuiltInSwitch};
}

void Remote::adopt(sim::Switch &sw) {
    if (!name_) name_ = sw.name;
    if (!is_described_ && !is_read_once_ && !is_younger_than(kFreshness)) read();
    give_name_to(sw);
}

void Remote::adopt(sim::Switch &sw, KnownSwitch known) {
    take(std::move(known));
    give_name_to(sw);
}

void Remote::give_name_to(sim::Switch &sw) {
    sw.name = *name_;
    setenv("VSH_SWITCH_NAME", sw.name.c_str(), 1); // of the shells that the display of all VDCs starts
    if (is_described_) return;
    sw.vdcs = vdcs_of(all_, sw.name);
    if (sw.vdcs.empty()) refuse(sw);
}

// The services of a description of the user's are those that should be there. What would answer in the shell's own
// process is a service of its own there too, and would answer twice.
void Remote::attach(sim::Switch &sw) {
    sw.in_process.clear();
    sim::clear_callback_table();
    if (!is_described_) sw.services.clear();
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

void Remote::list_services(sim::Switch &sw) {
    if (!is_read_once_ && !is_younger_than(kFreshness)) read();
    select(sw);
    if (registered_->empty()) refuse(sw);
    sw.services.resize(num_described_);
    transport::add_services(sw, *registered_);
}

void Remote::find_services(sim::Switch &sw) {
    list_services(sw);
    if (std::ranges::none_of(*registered_, &nats::Registration::is_registered))
        throw std::runtime_error(nobody_of(sw) + "; expected: " + names_of_services(*registered_));
    const bool is_known = is_younger_than(kAgeForCommands);
    if (!is_read_once_) read_at_.reset(); // of use for one command only
    const auto report = [](const std::string &text) { print_message("%s", text.c_str()); };
    sw.transport.carrier = transport::make_nats_carrier({.access = access(),
                                                         .place = place_of(sw, *name_),
                                                         .registered = is_known ? registered_ : nullptr,
                                                         .report = report});
}

std::string Remote::nobody_of(const sim::Switch &sw) const {
    const nats::Place place = place_of(sw, *name_);
    const bool has_others = std::ranges::any_of(all_, [&](const auto &one) { return one.place != place; });
    const std::string vdc = has_others ? "VDC " + place.vdc + " of " : "";
    return "no service of " + vdc + "switch " + sim::quoted(*name_) + " is registered at " + options_.connect.value();
}

// Nobody is registered in the VDC of this switch, and nobody should be.
void Remote::refuse(const sim::Switch &sw) const {
    const std::string nobody = nobody_of(sw);
    if (!all_.empty()) throw std::runtime_error(nobody);
    if (others_.empty()) throw std::runtime_error(nobody + ", nor of any other switch");
    const std::vector<std::string> similar = similar_to(*name_, others_);
    throw std::runtime_error(nobody + (similar.empty() ? "; there are " + quoted_list_of(others_)
                                                       : "; similar names there: " + quoted_list_of(similar)));
}

} // namespace shell
