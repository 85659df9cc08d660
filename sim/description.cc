// Reads a switch description into a Switch. The YAML tree is walked by the rules of the file's form: every mapping
// lists the keys it allows, every value its type and bounds, and the first thing that is wrong ends the reading with
// its line. Interfaces, port profiles and the names of all services come first, because elements refer to them.

#include "sim/description.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <unordered_map>
#include <utility>

#include "sim/cfglib.h"
#include "sim/cmdshell.h"
#include "sim/notation.h"
#include "sim/store.h"

namespace sim {

namespace {

constexpr uint32_t kLastLevel = 12, kLastVsan = 4095, kLastKey16 = 0xffff;
constexpr uint32_t kLastRow = 16;
// 0, 1 and 0xffffffff in a request do not name one service.
constexpr uint32_t kFirstSap = 2, kLastSap = 0xfffffffe;
constexpr std::size_t kRowServices = 10, kRowElements = 10;
constexpr std::size_t kVdcs = 5, kLastVdcName = 32;
constexpr uint32_t kLastCallbackSap = 0x7fffffff;

struct PropertyWord {
    const char *word;
    uint32_t bit; // 0: the view the command asks for
};
constexpr PropertyWord kCallbackWords[] = {
    {"fallback", QARN_CB_FLAG_FALLBACK}, {"startup", QARN_CB_FLAG_STARTUP}, {"running", QARN_CB_FLAG_RUNNING}};
constexpr PropertyWord kPropertyWords[] = {
    {"vsan", QARN_PROP_VSAN}, {"vlan", QARN_PROP_VLAN}, {"interface", QARN_PROP_INTF},
    {"bfd", QARN_PROP_BFD},   {"l2mp", QARN_PROP_L2MP}, {"fex", QARN_PROP_FEX},
    {"every-view", 0},
};

std::string lower_case(std::string text) {
    for (char &c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The text with every "{n}" replaced.
std::string with_number(std::string text, std::string_view number) {
    for (std::size_t at = text.find("{n}"); at != std::string::npos; at = text.find("{n}", at + number.size()))
        text.replace(at, 3, number);
    return text;
}

// Lines as they stand under a header: each two blanks in, each with its newline.
std::string as_block(std::string_view lines) {
    std::string block;
    while (!lines.empty()) {
        std::size_t end = std::min(lines.find('\n'), lines.size());
        block += end == 0 ? "" : "  ";
        block.append(lines.substr(0, end)).append(1, '\n');
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    return block;
}

// Where the documents of a text begin.
class DocumentStarts : public YAML::EventHandler {
  public:
    std::vector<YAML::Mark> marks;

    void OnDocumentStart(const YAML::Mark &mark) override { marks.push_back(mark); }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark &, YAML::anchor_t) override {}
    void OnAlias(const YAML::Mark &, YAML::anchor_t) override {}
    void OnScalar(const YAML::Mark &, const std::string &, YAML::anchor_t, const std::string &) override {}
    void OnSequenceStart(const YAML::Mark &, const std::string &, YAML::anchor_t, YAML::EmitterStyle::value) override {}
    void OnSequenceEnd() override {}
    void OnMapStart(const YAML::Mark &, const std::string &, YAML::anchor_t, YAML::EmitterStyle::value) override {}
    void OnMapEnd() override {}
};

// Where a second document begins, if there is one. No further one is looked at: from some broken texts the parser makes
// documents without end.
std::optional<YAML::Mark> second_document(const std::string &text) {
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    DocumentStarts starts;
    if (parser.HandleNextDocument(starts)) parser.HandleNextDocument(starts);
    if (starts.marks.size() < 2) return {};
    return starts.marks[1];
}

class Reader {
  public:
    Reader(Switch &sw, std::string name) : sw_(sw), name_(std::move(name)) {}

    void read(const std::string &text);

  private:
    // A mapping whose keys are all known, present once, and asked for by name.
    class Mapping {
      public:
        Mapping(const Reader &reader, const YAML::Node &node, const std::string &what,
                std::initializer_list<const char *> allowed);

        YAML::Node operator[](std::string_view key) const; // an undefined node when there is none
        YAML::Node require(std::string_view key) const;

      private:
        const Reader &reader_;
        const YAML::Node node_;
        const std::string what_;
    };

    [[noreturn]] void fail(const YAML::Mark &mark, const std::string &reason) const;
    [[noreturn]] void fail(const YAML::Node &node, const std::string &reason) const { fail(node.Mark(), reason); }
    // Report what a notation is blamed for at the node that holds it.
    template <typename Function>
    auto at(const YAML::Node &node, Function function) const;

    std::string text(const YAML::Node &node, const std::string &what) const;
    bool flag(const YAML::Node &node, const std::string &what) const;
    uint32_t number(const YAML::Node &node, const std::string &what, uint32_t low = 0,
                    uint32_t high = UINT32_MAX) const;
    void each_item(const YAML::Node &node, const std::string &what,
                   const std::function<void(const YAML::Node &)> &act) const;
    void each_pair(const YAML::Node &node, const std::string &what,
                   const std::function<void(const YAML::Node &, const YAML::Node &)> &act) const;
    std::vector<uint32_t> ids(const YAML::Node &node, const std::string &what, uint32_t low, uint32_t high) const;

    YAML::Node parse(const std::string &text) const;
    void read_vdc(const YAML::Node &node);
    void read_vdcs(const YAML::Node &node);
    void read_store(const YAML::Node &node);
    void read_switch_profile(const YAML::Node &node);
    void read_port_profiles(const YAML::Node &node);
    void read_interfaces(const YAML::Node &node);
    void read_interface_entry(const YAML::Node &node);
    void read_members(const YAML::Node &node);
    void read_services(const YAML::Node &node);
    void read_service(const YAML::Node &node);
    void read_in_process(const YAML::Node &node);
    void read_features(const YAML::Node &node);
    void read_feature(const std::string &name, const YAML::Node &node);

    void read_element(const YAML::Node &node, Service &service);
    void read_properties(const YAML::Node &node, Element &element) const;
    void read_interface_texts(const YAML::Node &node, Element &element) const;
    void read_keys(const YAML::Node &node, Element &element) const;
    void read_key_strings(const YAML::Node &node, Element &element) const;
    void read_dependencies(const YAML::Node &node, const std::string &what, uint32_t type, Element &element) const;

    Service &service_named(const YAML::Node &node, const std::string &what) const;
    uint32_t interface_named(const YAML::Node &node, const std::string &name) const; // its index
    std::string port_profile_named(const YAML::Node &node) const;
    std::string path_beside(const YAML::Node &node, const std::string &what) const; // relative to the description
    // [service name or UUID, element id]
    std::pair<uint32_t, uint32_t> element_reference(const YAML::Node &node, const std::string &what) const;

    Switch &sw_;
    std::string name_;
    std::unordered_map<std::string, uint32_t> interface_indexes_;   // by name in lower case
    std::unordered_map<uint32_t, std::size_t> interface_positions_; // in Switch::interfaces, by index
};

// ---- Values and their errors ----------------------------------------------------------------------------------------

void Reader::fail(const YAML::Mark &mark, const std::string &reason) const {
    throw DescriptionError(name_ + ":" + std::to_string(mark.line + 1) + ": " + reason);
}

template <typename Function>
auto Reader::at(const YAML::Node &node, Function function) const {
    try {
        return function();
    } catch (const std::invalid_argument &error) {
        fail(node, error.what());
    }
}

Reader::Mapping::Mapping(const Reader &reader, const YAML::Node &node, const std::string &what,
                         std::initializer_list<const char *> allowed)
    : reader_(reader), node_(node), what_(what) {
    std::string list;
    for (const char *key : allowed)
        list += (list.empty() ? "" : ", ") + std::string(key);
    reader.each_pair(node, what, [&](const YAML::Node &key, const YAML::Node &value) {
        if (std::find(allowed.begin(), allowed.end(), key.Scalar()) == allowed.end())
            reader.fail(key, what + " has no key " + quoted(key.Scalar()) + "; allowed: " + list);
        if (value.IsNull()) // which is found on the line of what comes next
            reader.fail(key, key.Scalar() + " has no value");
    });
}

YAML::Node Reader::Mapping::operator[](std::string_view key) const {
    return node_[std::string(key)];
}

YAML::Node Reader::Mapping::require(std::string_view key) const {
    YAML::Node value = (*this)[key];
    if (!value.IsDefined()) reader_.fail(node_, what_ + " needs a key " + quoted(key));
    return value;
}

std::string Reader::text(const YAML::Node &node, const std::string &what) const {
    if (!node.IsScalar()) fail(node, what + " must be a text");
    if (node.Scalar().find('\0') != std::string::npos) fail(node, what + " must not hold a NUL");
    return node.Scalar();
}

bool Reader::flag(const YAML::Node &node, const std::string &what) const {
    std::string word = text(node, what);
    if (word != "true" && word != "false") fail(node, what + " must be true or false, not " + quoted(word));
    return word == "true";
}

uint32_t Reader::number(const YAML::Node &node, const std::string &what, uint32_t low, uint32_t high) const {
    std::string word = text(node, what);
    std::optional<uint32_t> value = to_number(word);
    if (!value || *value < low || *value > high) {
        fail(node, what + " must be a number from " + std::to_string(low) + " to " + std::to_string(high) + ", not " +
                       quoted(word));
    }
    return *value;
}

void Reader::each_item(const YAML::Node &node, const std::string &what,
                       const std::function<void(const YAML::Node &)> &act) const {
    if (!node.IsDefined()) return;
    if (!node.IsSequence()) fail(node, what + " must be a list");
    for (const YAML::Node &item : node)
        act(item);
}

void Reader::each_pair(const YAML::Node &node, const std::string &what,
                       const std::function<void(const YAML::Node &, const YAML::Node &)> &act) const {
    if (!node.IsDefined()) return;
    if (!node.IsMap()) fail(node, what + " must be a mapping");
    std::set<std::string> seen;
    for (const auto &pair : node) {
        std::string key = text(pair.first, "a key of " + what);
        if (!seen.insert(key).second) fail(pair.first, what + " has the key " + quoted(key) + " twice");
        act(pair.first, pair.second);
    }
}

std::vector<uint32_t> Reader::ids(const YAML::Node &node, const std::string &what, uint32_t low, uint32_t high) const {
    std::string ranges = text(node, what);
    std::vector<uint32_t> all;
    for (const IdRange &range : at(node, [&] { return parse_id_ranges(ranges, what, low, high); }))
        for (uint32_t id = range.low; id <= range.high; ++id)
            all.push_back(id);
    return all;
}

// ---- References -----------------------------------------------------------------------------------------------------

Service &Reader::service_named(const YAML::Node &node, const std::string &what) const {
    std::string name = text(node, what);
    Service *service = sw_.find_service(name);
    if (!service) fail(node, what + " names an unknown service " + quoted(name));
    return *service;
}

uint32_t Reader::interface_named(const YAML::Node &node, const std::string &name) const {
    auto interface = interface_indexes_.find(lower_case(name));
    if (interface == interface_indexes_.end()) fail(node, "unknown interface " + quoted(name));
    return interface->second;
}

std::string Reader::port_profile_named(const YAML::Node &node) const {
    std::string name = text(node, "port_profile");
    if (!sw_.port_profiles.contains(name)) fail(node, "unknown port profile " + quoted(name));
    return name;
}

std::string Reader::path_beside(const YAML::Node &node, const std::string &what) const {
    std::string path = text(node, what);
    if (path.empty()) fail(node, what + " names no file");
    return path[0] == '/' ? path : name_.substr(0, name_.rfind('/') + 1) + path;
}

std::pair<uint32_t, uint32_t> Reader::element_reference(const YAML::Node &node, const std::string &what) const {
    if (!node.IsSequence() || node.size() != 2) fail(node, what + " must be a pair [service, element id]");
    uint32_t uuid = 0;
    if (is_number(text(node[0], "the service of " + what))) {
        uuid = number(node[0], "the UUID of " + what, 0, kLastKey16);
    } else {
        uuid = service_named(node[0], what).uuid;
    }
    return {uuid, number(node[1], "the element id of " + what, 0, kLastKey16)};
}

// ---- The switch -----------------------------------------------------------------------------------------------------

YAML::Node Reader::parse(const std::string &text) const {
    try {
        const std::optional<YAML::Mark> second = second_document(text);
        YAML::Node document = YAML::Load(text);
        if (second) fail(*second, "the description holds a second document");
        if (!document.IsDefined() || document.IsNull()) throw DescriptionError(name_ + ":1: the description is empty");
        return document;
    } catch (const YAML::Exception &error) {
        fail(error.mark, error.msg);
    }
}

void Reader::read(const std::string &text_of_file) {
    Mapping root(*this, parse(text_of_file), "the description",
                 {"name", "version", "vdc", "vdcs", "card", "modules", "store", "interfaces", "port_profiles",
                  "switch_profile", "features", "services", "in_process"});
    sw_.name = text(root.require("name"), "name");
    if (root["version"].IsDefined()) sw_.version = text(root["version"], "version");
    read_vdc(root["vdc"]);
    read_vdcs(root["vdcs"]);
    read_store(root["store"]);
    each_item(root["modules"], "modules",
              [&](const YAML::Node &item) { sw_.modules.push_back(number(item, "a module's status")); });
    read_switch_profile(root["switch_profile"]);
    if (root["card"].IsDefined()) sw_.card = number(root["card"], "card", 0, kLastKey16);
    read_port_profiles(root["port_profiles"]);
    read_interfaces(root["interfaces"]);
    read_services(root.require("services"));
    read_in_process(root["in_process"]);
    read_features(root["features"]);
}

void Reader::read_vdc(const YAML::Node &node) {
    if (!node.IsDefined()) {
        sw_.vdcs = {{1, sw_.name, true}};
        return;
    }
    Mapping vdc(*this, node, "vdc", {"id", "name"});
    sw_.vdc = number(vdc.require("id"), "the VDC's id", 1, kLastKey16);
    sw_.vdcs = {{static_cast<uint16_t>(sw_.vdc), text(vdc.require("name"), "the VDC's name"), true}};
}

// Of the VDCs listed, this description is that of its key vdc, or of the first one.
void Reader::read_vdcs(const YAML::Node &node) {
    if (!node.IsDefined()) return;
    std::vector<Vdc> vdcs;
    each_item(node, "vdcs", [&](const YAML::Node &item) {
        Mapping entry(*this, item, "an entry of vdcs", {"id", "name", "active", "switch"});
        Vdc vdc;
        vdc.id = static_cast<uint16_t>(number(entry.require("id"), "the VDC's id", 1, kLastKey16));
        vdc.name = text(entry.require("name"), "the VDC's name");
        if (entry["active"].IsDefined()) vdc.active = flag(entry["active"], "active");
        if (entry["switch"].IsDefined()) vdc.switch_file = path_beside(entry["switch"], "switch");
        if (vdc.name.empty() || vdc.name.size() > kLastVdcName)
            fail(entry["name"], "the VDC's name must have 1 to " + std::to_string(kLastVdcName) + " characters");
        for (const Vdc &other : vdcs)
            if (other.id == vdc.id || other.name == vdc.name)
                fail(item, "VDC " + quoted(vdc.name) + " is listed twice");
        vdcs.push_back(vdc);
    });
    if (vdcs.empty() || vdcs.size() > kVdcs)
        fail(node, "a switch has 1 to " + std::to_string(kVdcs) + " VDCs, not " + std::to_string(vdcs.size()));
    if (std::ranges::find(vdcs, sw_.vdc, &Vdc::id) == vdcs.end()) sw_.vdc = vdcs.front().id;
    sw_.vdcs = std::move(vdcs);
}

void Reader::read_store(const YAML::Node &node) {
    if (!node.IsDefined()) return;
    try {
        use_store(sw_, path_beside(node, "store"));
    } catch (const StoreError &error) {
        fail(node, error.what());
    }
}

void Reader::read_switch_profile(const YAML::Node &node) {
    if (!node.IsDefined()) return;
    Mapping entry(*this, node, "switch_profile", {"status", "head", "sync"});
    SwitchProfile &profile = sw_.switch_profile.emplace();
    if (entry["status"].IsDefined()) profile.status = number(entry["status"], "status");
    if (entry["head"].IsDefined()) profile.head_text = text(entry["head"], "head");
    if (entry["sync"].IsDefined()) profile.sync_cfg = text(entry["sync"], "sync");
}

void Reader::read_port_profiles(const YAML::Node &node) {
    each_pair(node, "port_profiles", [&](const YAML::Node &name, const YAML::Node &lines) {
        sw_.port_profiles[name.Scalar()] = as_block(text(lines, "port profile " + quoted(name.Scalar())));
    });
}

void Reader::read_interfaces(const YAML::Node &node) {
    each_item(node, "interfaces", [&](const YAML::Node &entry) { read_interface_entry(entry); });
    // Members may be listed after their port channel.
    each_item(node, "interfaces", [&](const YAML::Node &entry) { read_members(entry); });
}

void Reader::read_interface_entry(const YAML::Node &node) {
    Mapping entry(*this, node, "an entry of interfaces",
                  {"names", "block", "index", "vsan", "port_profile", "members", "sub_interface_of_port_channel"});
    Interface interface {};
    interface.block = number(entry.require("block"), "block", 0, kLastKey16);
    interface.index = number(entry.require("index"), "index");
    interface.vsan = entry["vsan"].IsDefined() ? number(entry["vsan"], "vsan", 1, kLastVsan) : 0;
    if (entry["port_profile"].IsDefined()) interface.port_profile = port_profile_named(entry["port_profile"]);
    if (entry["sub_interface_of_port_channel"].IsDefined()) {
        interface.port_channel_sub_interface =
            flag(entry["sub_interface_of_port_channel"], "sub_interface_of_port_channel");
    }
    YAML::Node names = entry.require("names");
    std::vector<std::string> expanded = at(names, [&] { return expand_names(text(names, "names")); });
    if (entry["members"].IsDefined() && expanded.size() > 1) {
        fail(entry["members"],
             "members belong to one interface, and this entry has " + std::to_string(expanded.size()));
    }
    if (expanded.size() - 1 > UINT32_MAX - interface.index)
        fail(entry["index"], "index leaves no room for " + std::to_string(expanded.size()) + " interfaces");
    for (const std::string &name : expanded) {
        if (!interface_indexes_.emplace(lower_case(name), interface.index).second)
            fail(names, "interface " + quoted(name) + " is listed twice");
        auto [other, is_new] = interface_positions_.emplace(interface.index, sw_.interfaces.size());
        if (!is_new) {
            fail(entry["index"],
                 "interface " + quoted(name) + " has the index of " + quoted(sw_.interfaces[other->second].name));
        }
        interface.name = name;
        sw_.interfaces.push_back(interface);
        ++interface.index;
    }
}

void Reader::read_members(const YAML::Node &node) {
    if (!node["members"].IsDefined()) return;
    std::vector<uint32_t> members;
    std::string names = text(node["members"], "members");
    for (const std::string &name : at(node["members"], [&] { return expand_names(names); }))
        members.push_back(interface_named(node["members"], name));
    sw_.interfaces[interface_positions_.at(number(node["index"], "index"))].members = std::move(members);
}

// ---- Services -------------------------------------------------------------------------------------------------------

void Reader::read_services(const YAML::Node &node) {
    each_item(node, "services", [&](const YAML::Node &entry) { read_service(entry); });
    // Elements refer to services by name, also to those listed later.
    auto service = sw_.services.begin();
    each_item(node, "services", [&](const YAML::Node &entry) {
        each_item(entry["elements"], "elements", [&](const YAML::Node &element) { read_element(element, *service); });
        ++service;
    });
}

void Reader::read_service(const YAML::Node &node) {
    Mapping entry(*this, node, "a service",
                  {"name", "sap", "uuid", "consumer", "silent", "status", "fragment_size", "elements"});
    std::string name = text(entry.require("name"), "the service's name");
    uint32_t sap = number(entry.require("sap"), "the SAP of " + name, kFirstSap, kLastSap);
    uint32_t uuid = number(entry.require("uuid"), "the UUID of " + name, 1, kLastKey16);
    if (name.empty() || is_number(name)) fail(entry["name"], "a service's name must be a word, not " + quoted(name));
    for (const Service &other : sw_.services) {
        if (other.name == name) fail(entry["name"], "service " + quoted(name) + " is listed twice");
        if (other.sap == sap) fail(entry["sap"], "service " + quoted(name) + " has the SAP of " + quoted(other.name));
        if (other.uuid == uuid)
            fail(entry["uuid"], "service " + quoted(name) + " has the UUID of " + quoted(other.name));
    }
    Service &service = sw_.service(name, sap, uuid);
    if (entry["consumer"].IsDefined()) service.consumer = flag(entry["consumer"], "consumer");
    if (entry["silent"].IsDefined()) service.is_silent = flag(entry["silent"], "silent");
    if (entry["status"].IsDefined()) service.status = number(entry["status"], "status");
    if (entry["fragment_size"].IsDefined()) service.fragment_size = number(entry["fragment_size"], "fragment_size", 1);
}

void Reader::read_element(const YAML::Node &node, Service &service) {
    Mapping entry(*this, node, "an element",
                  {"id", "level", "properties", "port_profile", "values", "text", "interfaces", "keys", "key_strings",
                   "after", "only_if"});
    uint32_t id = number(entry.require("id"), "the element's id", 0, kLastKey16);
    uint32_t level = number(entry.require("level"), "level", 0, kLastLevel);
    for (const Element &other : service.elements)
        if (other.id == id)
            fail(entry["id"], "element " + std::to_string(id) + " of " + service.name + " is listed twice");
    Element &element = service.element(id, level);
    read_properties(entry["properties"], element);
    if (entry["port_profile"].IsDefined()) element.port_profile = port_profile_named(entry["port_profile"]);
    if (entry["values"].IsDefined()) {
        std::string kind = text(entry["values"], "values");
        if (kind != "text" && kind != "command")
            fail(entry["values"], "values must be text or command, not " + quoted(kind));
        element.val_type = kind == "command" ? QARN_VAL_COMMAND : QARN_VAL_TEXT;
    }
    if (entry["text"].IsDefined()) element.text = text(entry["text"], "text");
    if (entry["interfaces"].IsDefined() && !(element.property & QARN_PROP_INTF))
        fail(entry["interfaces"], "an element with interfaces needs the property interface");
    read_interface_texts(entry["interfaces"], element);
    read_keys(entry["keys"], element);
    read_key_strings(entry["key_strings"], element);
    read_dependencies(entry["after"], "after", QARN_DEP_ORDER, element);
    read_dependencies(entry["only_if"], "only_if", QARN_DEP_CONDITIONAL, element);
    if (entry["only_if"].IsDefined()) element.property |= QARN_PROP_CONDITIONAL;
}

void Reader::read_properties(const YAML::Node &node, Element &element) const {
    each_item(node, "properties", [&](const YAML::Node &item) {
        std::string word = text(item, "a property"), known;
        for (const PropertyWord &property : kPropertyWords) {
            if (word == property.word) {
                element.property |= property.bit;
                element.every_view = element.every_view || property.bit == 0;
                return;
            }
            known += (known.empty() ? "" : ", ") + std::string(property.word);
        }
        fail(item, "unknown property " + quoted(word) + "; allowed: " + known);
    });
}

void Reader::read_interface_texts(const YAML::Node &node, Element &element) const {
    std::set<uint32_t> seen;
    each_pair(node, "interfaces", [&](const YAML::Node &names, const YAML::Node &value) {
        std::string lines = as_block(text(value, "the text of " + names.Scalar()));
        if (element.val_type == QARN_VAL_COMMAND && !lines.empty()) lines.pop_back(); // the renderer ends the line
        for (const std::string &name : at(names, [&] { return expand_names(names.Scalar()); })) {
            uint32_t if_index = interface_named(names, name);
            if (!seen.insert(if_index).second) fail(names, "interface " + quoted(name) + " has a text already");
            std::string_view number = std::string_view(name).substr(start_of_number(name, name.size()));
            element.intf_texts.emplace_back(if_index, with_number(lines, number));
        }
    });
}

void Reader::read_keys(const YAML::Node &node, Element &element) const {
    each_item(node, "keys", [&](const YAML::Node &item) {
        Mapping entry(*this, item, "a key", {"name", "ids", "header"});
        std::string name = text(entry.require("name"), "the key's name");
        std::string header = entry["header"].IsDefined() ? text(entry["header"], "header") : "";
        if (!entry["ids"].IsDefined()) {
            element.keys.push_back({0, header, name});
            return;
        }
        for (uint32_t id : ids(entry["ids"], "key id", 0, kLastVsan)) {
            std::string number = std::to_string(id);
            element.keys.push_back({id, with_number(header, number), with_number(name, number)});
        }
    });
}

void Reader::read_key_strings(const YAML::Node &node, Element &element) const {
    std::set<std::string> seen;
    auto add = [&](const YAML::Node &item, std::string name, std::string lines) {
        if (!seen.insert(name).second) fail(item, "key string " + quoted(name) + " has a text already");
        element.key_strings.emplace_back(std::move(name), std::move(lines));
    };
    each_item(node, "key_strings", [&](const YAML::Node &item) {
        Mapping entry(*this, item, "a key string", {"name", "ids", "text"});
        std::string name = text(entry.require("name"), "the key string's name");
        std::string lines = as_block(text(entry.require("text"), "the key string's text"));
        if (!entry["ids"].IsDefined()) {
            add(item, name, lines);
            return;
        }
        for (uint32_t id : ids(entry["ids"], "key id", 0, kLastVsan)) {
            std::string number = std::to_string(id);
            add(item, with_number(name, number), with_number(lines, number));
        }
    });
}

void Reader::read_dependencies(const YAML::Node &node, const std::string &what, uint32_t type, Element &element) const {
    each_item(node, what, [&](const YAML::Node &item) {
        auto [uuid, id] = element_reference(item, what);
        element.dependencies.push_back({uuid, id, type});
    });
}

// ---- In-process services --------------------------------------------------------------------------------------------

void Reader::read_in_process(const YAML::Node &node) {
    each_item(node, "in_process", [&](const YAML::Node &item) {
        Mapping entry(*this, item, "an entry of in_process", {"service", "function", "library", "flags"});
        const YAML::Node &service = entry.require("service");
        const bool of_none = text(service, "service") == "0";
        const uint32_t sap = of_none ? 0 : service_named(service, "service").sap;
        if (sap > kLastCallbackSap) fail(service, "the SAP of " + quoted(service.Scalar()) + " is too high");
        uint32_t flags = 0;
        each_item(entry["flags"], "flags", [&](const YAML::Node &word) {
            const auto known = std::ranges::find(kCallbackWords, text(word, "a flag"), &PropertyWord::word);
            if (known == std::ranges::end(kCallbackWords))
                fail(word, "unknown flag " + quoted(word.Scalar()) + "; allowed: fallback, startup, running");
            flags |= known->bit;
        });
        const std::string function = text(entry.require("function"), "function");
        if (!add_callback_row(sap, function, text(entry.require("library"), "library"), flags))
            fail(item, "the callback table has 64 rows, with names of at most 127 characters");
    });
}

// ---- Features -------------------------------------------------------------------------------------------------------

void Reader::read_features(const YAML::Node &node) {
    each_pair(node, "features",
              [&](const YAML::Node &name, const YAML::Node &value) { read_feature(name.Scalar(), value); });
}

void Reader::read_feature(const std::string &name, const YAML::Node &node) {
    Mapping entry(*this, node, "feature " + quoted(name), {"row", "services", "key", "elements"});
    uint32_t row = number(entry.require("row"), "row", 1, kLastRow);
    for (const auto &[other, other_row] : sw_.features)
        if (other_row == row) fail(entry["row"], "feature " + quoted(name) + " has the row of " + quoted(other));
    std::vector<uint32_t> saps;
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    each_item(entry.require("services"), "services", [&](const YAML::Node &item) {
        const Service &service = service_named(item, "services");
        saps.push_back(service.sap);
        if (!entry["elements"].IsDefined()) pairs.emplace_back(service.uuid, 0); // every element of the service
    });
    each_item(entry["elements"], "elements",
              [&](const YAML::Node &item) { pairs.push_back(element_reference(item, "elements")); });
    if (saps.empty() || saps.size() > kRowServices || pairs.size() > kRowElements)
        fail(node, "feature " + quoted(name) + " must have 1 to 10 services and at most 10 elements");
    set_sap_row(row, saps, entry["key"].IsDefined() ? number(entry["key"], "key") : 0);
    set_feature_row(row, pairs);
    sw_.features[name] = row;
}

std::string read_file(const std::string &path) {
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "re"), std::fclose);
    std::string text;
    char block[4096];
    while (file) {
        std::size_t got = std::fread(block, 1, sizeof block, file.get());
        text.append(block, got);
        if (got < sizeof block) break;
    }
    if (!file || std::ferror(file.get())) throw DescriptionError(path + ": " + std::strerror(errno));
    return text;
}

} // namespace

void load_description(Switch &sw, const std::string &path) {
    load_description_text(sw, read_file(path), path);
}

void load_description_text(Switch &sw, const std::string &text, const std::string &name) {
    clear_show_tables();
    clear_callback_table();
    Reader(sw, name).read(text);
}

} // namespace sim
