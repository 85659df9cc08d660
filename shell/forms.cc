// What each form of a display asks of the library: the entry points, and the request made from the arguments.
#include "shell/forms.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "shell/values.h"
#include "sim/notation.h"

namespace shell {
namespace {

constexpr uint32_t kLastId = 4095; // of VLANs and VSANs: the last bit of a qarn_id_mask

using sim::quoted;

// Call a parser of sim/notation.h and turn its error into that of the argument.
template <typename Function>
auto parse_notation(std::string_view argument, Function function) {
    try {
        return function();
    } catch (const std::invalid_argument &error) {
        throw CommandError(error.what(), argument);
    }
}

void id_ranges(const Line &line, const char *what, Request &request) {
    if (line.arguments.empty()) return; // every id
    const std::string_view text = line.arguments[0];
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    for (const sim::IdRange &range : parse_notation(text, [&] { return sim::parse_id_ranges(text, what, 0, kLastId); }))
        pairs.emplace_back(range.low, range.high);
    request.add_ranges(pairs);
}

void vlans(const Line &line, const sim::Switch &, Request &request) {
    id_ranges(line, "VLAN", request);
}

void vsans(const Line &line, const sim::Switch &, Request &request) {
    id_ranges(line, "VSAN", request);
}

// The interfaces of the same type that have the longest beginning in common with this name.
std::vector<std::string> nearest_interfaces(const std::string &name, const sim::Switch &sw) {
    std::vector<std::string> names;
    for (const sim::Interface &interface : sw.interfaces)
        if (type_of_interface(interface.name) == type_of_interface(name)) names.push_back(interface.name);
    return nearest_to(name, names);
}

// The interface with this name. Its type may be abbreviated, as in "e1/1" for "Ethernet1/1".
const sim::Interface &interface_named(const std::string &name, std::string_view argument, const sim::Switch &sw) {
    if (const sim::Interface *interface = sw.find_interface(std::string_view(name))) return *interface;
    std::vector<std::string> expected;
    for (const std::string &type : types_of_interfaces(sw))
        if (begins_with(type, type_of_interface(name))) expected.push_back(type);
    if (expected.size() == 1) {
        const std::string full = expected[0] + name.substr(type_of_interface(name).size());
        if (const sim::Interface *interface = sw.find_interface(std::string_view(full))) return *interface;
        throw CommandError("unknown interface " + quoted(name), argument, nearest_interfaces(full, sw));
    }
    if (expected.size() > 1) throw CommandError("ambiguous interface " + quoted(name), argument, expected);
    throw CommandError("unknown interface " + quoted(name), argument, nearest_to(name, types_of_interfaces(sw)));
}

// "ethernet 1/1-4" and "ethernet1/1-4" name the same interfaces.
void interfaces(const Line &line, const sim::Switch &sw, Request &request) {
    std::string names;
    for (const std::string_view word : line.arguments)
        names += word;
    const std::string_view last = line.arguments.back();
    const std::string_view argument(line.arguments[0].data(),
                                    static_cast<std::size_t>(last.data() + last.size() - line.arguments[0].data()));
    std::vector<std::pair<uint32_t, uint32_t>> indexes;
    for (const std::string &name : parse_notation(argument, [&] { return sim::expand_names(names); })) {
        const uint32_t index = interface_named(name, argument, sw).index;
        indexes.emplace_back(index, index);
    }
    request.add_ranges(indexes, QARN_TOKEN_TYPE_INTERFACE);
}

std::string_view known(std::string_view argument, bool is_known, Slot slot, const sim::Switch &sw) {
    if (!is_known)
        throw CommandError(std::string("unknown ") + name_of(slot) + ' ' + quoted(argument), argument,
                           nearest_to(argument, values_of(slot, sw)));
    return argument;
}

void port_profile(const Line &line, const sim::Switch &sw, Request &request) {
    const std::string name(line.arguments[0]);
    known(line.arguments[0], sw.port_profiles.contains(name), Slot::kPortProfile, sw);
    request.add_name(name);
}

const sim::Service &service_named(std::string_view name, const sim::Switch &sw) {
    const auto service = std::ranges::find(sw.services, name, &sim::Service::name);
    known(name, service != sw.services.end(), Slot::kService, sw);
    return *service;
}

void one_service(const Line &line, const sim::Switch &sw, Request &request) {
    request.add_sap(service_named(line.arguments[0], sw).sap);
}

// The library subtracts the number of exclusions from the number of answers that it awaits, so each must name a service
// that it would have asked, and no service twice.
void excluded_services(const Line &line, const sim::Switch &sw, Request &request) {
    const auto &names = line.arguments;
    if (names.size() > QARN_MAX_TOKENS)
        throw CommandError("more than " + std::to_string(QARN_MAX_TOKENS) + " services to exclude",
                           names[QARN_MAX_TOKENS]);
    for (auto name = names.begin(); name != names.end(); ++name) {
        const sim::Service &service = service_named(*name, sw);
        if (!service.consumer) throw CommandError("service " + quoted(*name) + " is not part of this display", *name);
        if (std::find(names.begin(), name, *name) != name)
            throw CommandError("service " + quoted(*name) + " is named twice", *name);
        request.add_sap(service.sap);
    }
}

void by_feature(std::string_view name, const sim::Switch &sw, Request &request) {
    const auto found = sw.features.find(std::string(name));
    known(name, found != sw.features.end(), Slot::kFeature, sw);
    request.req.sap = QARN_SAP_TABLE_ROW;
    request.req.index = found->second.row;
}

void feature(const Line &line, const sim::Switch &sw, Request &request) {
    by_feature(line.arguments[0], sw, request);
}

void by_service(std::string_view name, const sim::Switch &sw, Request &request) {
    request.req.sap = service_named(name, sw).sap;
}

void with_defaults(std::string_view, const sim::Switch &, Request &request) {
    request.add_token(QARN_TOKEN_EXTRA_RUNNING);
}

void everything(const Line &, const sim::Switch &, Request &request) {
    request.add_token(QARN_TOKEN_EXTRA_RUNNING);
}

void modules(const Line &, const sim::Switch &, Request &request) {
    request.req.modlist_flag = 1;
}

void every_vdc(const Line &line, const sim::Switch &, Request &request) {
    request.req.cmd_code = line.display->is_startup ? QARN_COMMAND_STARTUP_VDCS : QARN_COMMAND_RUNNING_VDCS;
}

void every_vdc_with_defaults(const Line &, const sim::Switch &, Request &request) {
    request.req.cmd_code = QARN_COMMAND_RUNNING_ALL_VDCS;
}

} // namespace

// clang-format off
const Form kWhole        = {qarn_cli_run_cfg_gen, qarn_cli_start_cfg_gen, nullptr};
const Form kVlan         = {qarn_cli_run_vlan_cfg_gen, qarn_cli_start_vlan_cfg_gen, vlans};
const Form kVsan         = {qarn_cli_run_vsan_cfg_gen, qarn_cli_start_vsan_cfg_gen, vsans};
const Form kInterface    = {qarn_cli_run_intf_cfg_gen, qarn_cli_start_intf_cfg_gen, interfaces};
const Form kBfd          = {qarn_cli_run_bfd_cfg_gen, qarn_cli_start_bfd_cfg_gen, nullptr};
const Form kL2mp         = {qarn_cli_run_l2mp_cfg_gen, qarn_cli_start_l2mp_cfg_gen, nullptr};
const Form kFex          = {qarn_cli_run_fex_cfg_gen, qarn_cli_start_fex_cfg_gen, nullptr};
const Form kExcludeL2mp  = {qarn_cli_run_exclude_l2mp_cfg_gen, qarn_cli_start_exclude_l2mp_cfg_gen, nullptr};
const Form kExcludeFex   = {qarn_cli_run_exclude_fex_cfg_gen, qarn_cli_start_exclude_fex_cfg_gen, nullptr};
const Form kPortProfile  = {qarn_cli_run_profile_cfg_gen, qarn_cli_start_profile_cfg_gen, port_profile};
const Form kExclude      = {qarn_cli_run_cfg_gen_exclude, qarn_cli_start_cfg_gen_exclude, excluded_services};
const Form kService      = {qarn_cli_run_cfg_gen_sap, qarn_cli_start_cfg_gen_sap, one_service};
const Form kFeature      = {qarn_cli_run_cfg_gen, qarn_cli_start_cfg_gen, feature};
const Form kAll          = {qarn_cli_run_cfg_gen, nullptr, everything};
const Form kTemplate     = {nullptr, qarn_cli_start_template_cfg_gen, nullptr};
const Form kModules      = {nullptr, qarn_startup_cfg_modlist_get, modules};
const Form kVdcAll       = {qarn_cli_run_cfg_gen_vdcall, qarn_cli_run_cfg_gen_vdcall, every_vdc};
const Form kAllVdcAll    = {qarn_cli_run_cfg_gen_vdcall, nullptr, every_vdc_with_defaults};
// clang-format on
const Narrowing kByService = {by_service};
const Narrowing kByFeature = {by_feature};
const Narrowing kWithDefaults = {with_defaults};

} // namespace shell
