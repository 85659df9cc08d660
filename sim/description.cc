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
}

Vdc vdc_in(const Document &document, const YAML::Node &node) {
    const Mapping entry(document, node, "an entry of vdcs", {"id", "name", "active", "switch"});
    Vdc vdc;
    vdc.id = static_cast<uint16_t>(entry.number("id", 1, UINT16_MAX));
    vdc.name = entry.text("name");
    vdc.active = entry.flag("active", true);
    if (entry.has("switch")) vdc.switch_file = document.path(entry["switch"], "switch");
    if (vdc.name.empty() || vdc.name.size() > kLastVdcName) {
        document.fail(entry["name"],
                      "name of an entry of vdcs must have 1 to " + std::to_string(kLastVdcName) + " characters");
    }
    return vdc;
}

// The description is that of the VDC that its key vdc names, or else of the first VDC in the list.
void read_vdcs(const Document &document, const YAML::Node &node, Switch &sw) {
    if (!node.IsDefined()) return;
    std::vector<Vdc> vdcs;
    document.each_item(node, "vdcs", [&](const YAML::Node &item) {
        const Vdc vdc = vdc_in(document, item);
        for (const Vdc &other : vdcs)
            if (other.id == vdc.id || other.name == vdc.name)
                document.fail(item, "VDC " + quoted(vdc.name) + " is listed twice");
        vdcs.push_back(vdc);
    });
    if (vdcs.empty() || vdcs.size() > VDC_MAP_ENTRIES) {
        document.fail(
            node, "a switch has 1 to " + std::to_string(VDC_MAP_ENTRIES) + " VDCs, not " + std::to_string(vdcs.size()));
    }
    if (std::ranges::find(vdcs, sw.vdc, &Vdc::id) == vdcs.end()) sw.vdc = vdcs.front().id;
    sw.vdcs = std::move(vdcs);
}

void read_store(const Document &document, const YAML::Node &node, Switch &sw) {
    if (!node.IsDefined()) return;
    try {
        use_store(sw, document.path(node, "store"));
    } catch (const StoreError &error) {
        document.fail(node, error.what());
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

void read_switch(const Document &document, Switch &sw) {
    const Mapping root(document, document.root(), "the description",
                       {"name", "version", "vdc", "vdcs", "card", "modules", "store", "interfaces", "port_profiles",
                        "switch_profile", "features", "services", "in_process"});
    sw.name = root.text("name");
    if (root.has("version")) sw.version = root.text("version");
    read_vdc(document, root["vdc"], sw);
    read_vdcs(document, root["vdcs"], sw);
    read_store(document, root["store"], sw);
    read_modules(document, root["modules"], sw);
    read_switch_profile(document, root["switch_profile"], sw);
    sw.card = root.number("card", 0, UINT16_MAX, sw.card);
    read_port_profiles(document, root["port_profiles"], sw);
    Interfaces interfaces(document, sw);
    interfaces.read(root["interfaces"]);
    read_services(document, root.require("services"), sw, interfaces);
    read_in_process(document, root["in_process"], sw);
    read_features(document, root["features"], sw);
}

// Name the description when memory runs out: its size is what the user can change.
template <typename Function>
void within_memory(const std::string &name, Function function) {
    try {
        function();
    } catch (const std::bad_alloc &) {
        throw DescriptionError(name + ": not enough memory to load the description");
    }
}

} // namespace

void load_description(Switch &sw, const std::string &path) {
    within_memory(path, [&] { load_description_text(sw, read_description(path), path); });
}

void load_description_text(Switch &sw, const std::string &text, const std::string &name) {
    within_memory(name, [&] {
        clear_show_tables();
        clear_callback_table();
        read_switch(Document(name, text), sw);
    });
}

} // namespace sim
