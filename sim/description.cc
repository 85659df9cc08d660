// Reads a switch description into a Switch: the keys of the switch itself here, the other parts in sim/description/.
// Interfaces, port profiles and the names of all services are read first, because elements refer to them.
#include "sim/description.h"

#include <algorithm>
#include <new>
#include <utility>

#include "platform/vdc.h"
#include "sim/cfglib.h"
#include "sim/cmdshell.h"
#include "sim/description/document.h"
#include "sim/description/file.h"
#include "sim/description/interfaces.h"
#include "sim/description/references.h"
#include "sim/description/services.h"
#include "sim/description/tables.h"
#include "sim/notation.h"
#include "sim/store.h"

namespace sim {
namespace {

constexpr std::size_t kLastVdcName = sizeof vdc_map_entry::name - 1;

void read_vdc(const Document &document, const YAML::Node &node, Switch &sw) {
    if (!node.IsDefined()) {
        sw.vdcs = {{kDefaultVdc, sw.name, true}};
        return;
    }
    const Mapping vdc(document, node, "vdc", {"id", "name"});
    const auto id = static_cast<uint16_t>(vdc.number("id", 1, UINT16_MAX));
    sw.vdc = id;
    sw.vdcs = {{id, vdc.text("name"), true}};
    sw.names.push_back({"a VDC", vdc.text("name"), line_of(node)});
}

Vdc vdc_in(const Document &document, const YAML::Node &node) {
    const Mapping entry(document, node, "an entry of vdcs", {"id", "name", "active", "switch"});
    Vdc vdc;
    vdc.id = static_cast<uint16_t>(entry.number("id", 1, UINT16_MAX));
    vdc.name = entry.text("name");
    vdc.active = entry.flag("active", true);
    vdc.line = line_of(node);
    if (entry.has("switch")) vdc.switch_file = document.path(entry["switch"], "switch");
    if (vdc.name.empty() || vdc.name.size() > kLastVdcName) {
        document.fail(entry["name"], Error::kWrongValue,
                      "name of an entry of vdcs must have 1 to " + std::to_string(kLastVdcName) + " characters");
    }
    return vdc;
}

// The description is that of the VDC that its key vdc names, or else of the first VDC in the list.
void read_vdcs(const Document &document, const YAML::Node &node, Switch &sw) {
    if (!node.IsDefined()) return;
    std::vector<Vdc> vdcs;
    const bool is_whole = document.each_item(node, "vdcs", [&](const YAML::Node &item) {
        const Vdc vdc = vdc_in(document, item);
        for (const Vdc &other : vdcs)
            if (other.id == vdc.id || other.name == vdc.name)
                document.fail(item, Error::kDuplicate, "VDC " + quoted(vdc.name) + " is listed twice");
        vdcs.push_back(vdc);
        sw.names.push_back({"a VDC", vdc.name, vdc.line});
    });
    if (!is_whole) return;
    if (vdcs.empty() || vdcs.size() > VDC_MAP_ENTRIES) {
        document.fail(
            node, Error::kOutOfRange,
            "a switch has 1 to " + std::to_string(VDC_MAP_ENTRIES) + " VDCs, not " + std::to_string(vdcs.size()));
    }
    if (std::ranges::find(vdcs, sw.vdc, &Vdc::id) == vdcs.end()) sw.vdc = vdcs.front().id;
    sw.vdcs = std::move(vdcs);
}

void read_store(const Document &document, const YAML::Node &node, Switch &sw) {
    if (!node.IsDefined()) return;
    try {
        use_store(sw, document.path(node, "store"));
    } catch (const StoreError &error) {
        document.fail(node, Error::kWrongValue, error.what());
    }
}

void read_modules(const Document &document, const YAML::Node &node, Switch &sw) {
    document.each_item(node, "modules", [&](const YAML::Node &item) {
        sw.modules.push_back(document.number(item, "the state of a module", 0, UINT32_MAX));
    });
}

void read_switch_profile(const Document &document, const YAML::Node &node, Switch &sw) {
    if (!node.IsDefined()) return;
    const Mapping entry(document, node, "switch_profile", {"status", "head", "sync"});
    SwitchProfile &profile = sw.switch_profile.emplace();
    profile.status = entry.number("status", 0, UINT32_MAX, 0);
    if (entry.has("head")) profile.head_text = entry.text("head");
    if (entry.has("sync")) profile.sync_cfg = entry.text("sync");
}

// What the keys before the services say about the switch as a whole.
void read_properties(const Document &document, const Mapping &root, Switch &sw) {
    document.attempt([&] {
        sw.name = root.text("name");
        sw.names.push_back({"the switch", sw.name, line_of(root["name"])});
    });
    document.attempt([&] {
        if (root.has("version")) sw.version = root.text("version");
    });
    document.attempt([&] { read_vdc(document, root["vdc"], sw); });
    document.attempt([&] { read_vdcs(document, root["vdcs"], sw); });
    document.attempt([&] { read_store(document, root["store"], sw); });
    document.attempt([&] { read_modules(document, root["modules"], sw); });
    document.attempt([&] { read_switch_profile(document, root["switch_profile"], sw); });
    document.attempt([&] { sw.card = root.number("card", 0, UINT16_MAX, sw.card); });
}

// What a section with an error would have named is unknown.
void read_switch(const Document &document, Switch &sw) {
    const Mapping root(document, document.root(), "the description",
                       {"name", "version", "vdc", "vdcs", "card", "modules", "store", "interfaces", "port_profiles",
                        "switch_profile", "features", "services", "in_process"});
    read_properties(document, root, sw);
    PortProfiles profiles(sw);
    if (!document.attempt([&] { profiles.read(document, root["port_profiles"]); })) profiles.left_out().add_unknown();
    Interfaces interfaces(document, sw, profiles);
    if (!document.attempt([&] { interfaces.read(root["interfaces"]); })) interfaces.left_out().add_unknown();
    ServiceNames services;
    const bool has_services = document.attempt(
        [&] { read_services(document, root.require("services"), sw, services, interfaces, profiles); });
    if (!has_services) services.left_out().add_unknown();
    document.attempt([&] { read_in_process(document, root["in_process"], sw, services); });
    document.attempt([&] { read_features(document, root["features"], sw, services); });
}

std::string folder_of(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

// Name the description when memory runs out: its size is what the user can change.
template <typename Function>
void within_memory(const std::string &name, Function function) {
    try {
        function();
    } catch (const std::bad_alloc &) {
        throw DescriptionError(name, error_finding(Error::kUnreadable, 0, "not enough memory to load the description"));
    }
}

void load(Switch &sw, const std::string &text, const std::string &name, Findings *findings) {
    clear_show_tables();
    clear_callback_table();
    read_switch(Document(name, text, findings), sw);
}

// Add the error that ends the loading, if there is one.
template <typename Function>
Findings all_errors(Function function) {
    Findings findings;
    try {
        function(&findings);
    } catch (const DescriptionError &error) {
        findings.push_back(error.finding());
    }
    return findings;
}

std::string read_file(Switch &sw, const std::string &path) {
    sw.description_folder = folder_of(path);
    return read_description(path);
}

} // namespace

void load_description(Switch &sw, const std::string &path) {
    within_memory(path, [&] { load(sw, read_file(sw, path), path, nullptr); });
}

void load_description_text(Switch &sw, const std::string &text, const std::string &name) {
    within_memory(name, [&] { load(sw, text, name, nullptr); });
}

Findings errors_of_description(Switch &sw, const std::string &path) {
    return all_errors(
        [&](Findings *findings) { within_memory(path, [&] { load(sw, read_file(sw, path), path, findings); }); });
}

Findings errors_of_description_text(Switch &sw, const std::string &text, const std::string &name) {
    return all_errors([&](Findings *findings) { within_memory(name, [&] { load(sw, text, name, findings); }); });
}

} // namespace sim
