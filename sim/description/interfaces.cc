// The interfaces and port profiles of a switch description. An entry names one interface or a range of them; the names
// and indexes of all entries are unique.
#include "sim/description/interfaces.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "sim/notation.h"

namespace sim {
namespace {

constexpr uint32_t kLastVsan = 4095;

std::string lower_case(std::string text) {
    for (char &c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

} // namespace

std::string as_block(std::string_view lines) {
    std::string block;
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        block += end == 0 ? "" : "  ";
        block.append(lines.substr(0, end)).append(1, '\n');
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    return block;
}

void PortProfiles::read(const Document &document, const YAML::Node &node) {
    document.each_pair(node, "port_profiles", [&](const YAML::Node &name, const YAML::Node &lines) {
        left_out_.add(name.Scalar());
        sw_.names.push_back({"a port profile", name.Scalar(), line_of(name)});
        sw_.port_profiles[name.Scalar()] = as_block(document.text(lines, "port profile " + quoted(name.Scalar())));
    });
}

std::string PortProfiles::named(const Document &document, const YAML::Node &node) const {
    std::string name = document.text(node, "port_profile");
    if (sw_.port_profiles.contains(name)) return name;
    left_out_.excuse(name);
    document.fail(node, Error::kUnknownPortProfile, "unknown port profile " + quoted(name));
}

void Interfaces::read(const YAML::Node &node) {
    document_.each_item(node, "interfaces", [&](const YAML::Node &entry) {
        if (document_.attempt([&] { read_entry(entry); })) return;
        leave_out(entry);
    });
    // Members may be listed after their port channel.
    document_.each_item(node, "interfaces", [&](const YAML::Node &entry) { read_members(entry); });
}

// The names of an entry with an error.
void Interfaces::leave_out(const YAML::Node &node) {
    try {
        for (const std::string &name : expand_names(node["names"].as<std::string>()))
            left_out_.add(lower_case(name));
    } catch (const std::exception &) { // no mapping, no names, or no names that can be read
        left_out_.add_unknown();
    }
}

void Interfaces::read_entry(const YAML::Node &node) {
    const Mapping entry(
        document_, node, "an entry of interfaces",
        {"names", "block", "index", "vsan", "port_profile", "members", "sub_interface_of_port_channel"});
    Interface interface = {};
    interface.block = entry.number("block", 0, UINT16_MAX);
    interface.index = entry.number("index", 0, UINT32_MAX);
    interface.vsan = entry.number("vsan", 1, kLastVsan, 0);
    if (entry.has("port_profile")) interface.port_profile = profiles_.named(document_, entry["port_profile"]);
    interface.line = line_of(node);
    interface.port_channel_sub_interface = entry.flag("sub_interface_of_port_channel", false);
    const std::vector<std::string> names = document_.names(entry.require("names"), "names");
    if (entry.has("members") && names.size() > 1) {
        document_.fail(entry["members"], Error::kConflict,
                       "an entry with members must have one name, not " + std::to_string(names.size()));
    }
    if (names.size() - 1 > UINT32_MAX - interface.index)
        document_.fail(entry["index"], Error::kOutOfRange,
                       "index leaves no room for " + std::to_string(names.size()) + " interfaces");
    for (const std::string &name : names) {
        interface.name = name;
        add(entry, interface);
        ++interface.index;
    }
}

void Interfaces::add(const Mapping &entry, const Interface &interface) {
    if (!indexes_.emplace(lower_case(interface.name), interface.index).second)
        document_.fail(entry["names"], Error::kDuplicate, "interface " + quoted(interface.name) + " is listed twice");
    const auto [other, is_new] = positions_.emplace(interface.index, sw_.interfaces.size());
    if (!is_new) {
        document_.fail(
            entry["index"], Error::kDuplicate,
            "interface " + quoted(interface.name) + " has the index of " + quoted(sw_.interfaces[other->second].name));
    }
    sw_.interfaces.push_back(interface);
}

void Interfaces::read_members(const YAML::Node &node) {
    const YAML::Node members = node.IsMap() ? node["members"] : YAML::Node(YAML::NodeType::Undefined);
    if (!members.IsDefined()) return;
    const auto position = positions_.find(document_.number(node["index"], "index", 0, UINT32_MAX));
    if (position == positions_.end()) return; // the port channel was left out
    Interface &port_channel = sw_.interfaces[position->second];
    for (const std::string &name : document_.names(members, "members"))
        port_channel.members.push_back(index_of(members, name));
}

uint32_t Interfaces::index_of(const YAML::Node &node, const std::string &name) const {
    const auto found = indexes_.find(lower_case(name));
    if (found != indexes_.end()) return found->second;
    left_out_.excuse(lower_case(name));
    document_.fail(node, Error::kUnknownInterface, "unknown interface " + quoted(name));
}

} // namespace sim
