// The parts of a switch description that fill the platform's tables: in-process services with the rows of the callback
// table, and features with the rows of the shell's tables.
#include "sim/description/tables.h"

#include <utility>
#include <vector>

#include "platform/cmdshell.h"
#include "sim/cfglib.h"
#include "sim/cmdshell.h"
#include "sim/notation.h"

namespace sim {
namespace {

constexpr uint32_t kLastCallbackSap = INT32_MAX; // a row holds a signed SAP

struct FlagWord {
    const char *word;
    uint32_t bit;
};
constexpr FlagWord kFlagWords[] = {
    {"fallback", QARN_CB_FLAG_FALLBACK}, {"startup", QARN_CB_FLAG_STARTUP}, {"running", QARN_CB_FLAG_RUNNING}};

uint32_t flags_in(const Document &document, const YAML::Node &node) {
    uint32_t flags = 0;
    document.each_item(node, "flags",
                       [&](const YAML::Node &item) { flags |= document.row_named(item, "flag", kFlagWords).bit; });
    return flags;
}

void read_in_process_entry(const Document &document, const YAML::Node &node, Switch &sw, const ServiceNames &services) {
    const Mapping entry(document, node, "an entry of in_process", {"service", "function", "library", "flags"});
    const YAML::Node service = entry.require("service");
    const bool is_of_none = document.text(service, "service") == "0";
    const uint32_t sap = is_of_none ? 0 : services.named(document, service, "service").sap;
    if (sap > kLastCallbackSap) {
        document.fail(service, Error::kOutOfRange,
                      "the SAP of " + quoted(service.Scalar()) + " is too large for the callback table");
    }
    const uint32_t flags = flags_in(document, entry["flags"]);
    const InProcess row = {entry.text("function"), entry.text("library"), sap, line_of(node), flags};
    if (!add_callback_row(sap, row.function, row.library, flags)) {
        document.fail(node, Error::kOutOfRange,
                      "the callback table has " + std::to_string(kCallbackRows) + " rows, with names of at most " +
                          std::to_string(sizeof qarn_cfg_cb_entry::func_name - 1) + " characters");
    }
    sw.in_process.push_back(row);
}

void check_row(const Document &document, const Mapping &entry, const std::string &name, uint32_t row,
               const Switch &sw) {
    for (const auto &[other, feature] : sw.features) {
        if (feature.row != row) continue;
        document.fail(entry["row"], Error::kDuplicate, "feature " + quoted(name) + " has the row of " + quoted(other));
    }
}

void read_feature(const Document &document, const std::string &name, const YAML::Node &node, Switch &sw,
                  const ServiceNames &services) {
    const Mapping entry(document, node, "feature " + quoted(name), {"row", "services", "key", "elements"});
    const uint32_t row = entry.number("row", 1, SHOW_TABLE_ROWS - 1);
    check_row(document, entry, name, row, sw);
    Feature feature = {row, {}, {}, line_of(node)};
    const bool is_whole = document.each_item(entry.require("services"), "services", [&](const YAML::Node &item) {
        const Service &service = services.named(document, item, "services");
        feature.saps.push_back(service.sap);
        if (!entry.has("elements")) feature.elements.push_back({service.uuid, 0, 0}); // every element of the service
    });
    document.each_item(entry["elements"], "elements", [&](const YAML::Node &item) {
        const auto [uuid, id] = element_reference(document, item, "elements", services);
        feature.elements.push_back({uuid, id, line_of(item)});
    });
    const std::vector<uint32_t> &saps = feature.saps;
    if ((is_whole && saps.empty()) || saps.size() > SHOW_SAP_SLOTS || feature.elements.size() > SHOW_FEATURE_PAIRS) {
        document.fail(node, Error::kOutOfRange,
                      "feature " + quoted(name) + " must have 1 to " + std::to_string(SHOW_SAP_SLOTS) +
                          " services and at most " + std::to_string(SHOW_FEATURE_PAIRS) + " elements");
    }
    set_sap_row(row, saps, entry.number("key", 0, UINT32_MAX, 0));
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    for (const ElementReference &element : feature.elements)
        pairs.emplace_back(element.uuid, element.id);
    set_feature_row(row, pairs);
    sw.features[name] = std::move(feature);
}

} // namespace

void read_in_process(const Document &document, const YAML::Node &node, Switch &sw, const ServiceNames &services) {
    document.each_item(node, "in_process",
                       [&](const YAML::Node &entry) { read_in_process_entry(document, entry, sw, services); });
}

void read_features(const Document &document, const YAML::Node &node, Switch &sw, const ServiceNames &services) {
    document.each_pair(node, "features", [&](const YAML::Node &name, const YAML::Node &value) {
        read_feature(document, name.Scalar(), value, sw, services);
        sw.names.push_back({"a feature", name.Scalar(), line_of(name)});
    });
}

} // namespace sim
