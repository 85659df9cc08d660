#include "explain/recording/description.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "explain/recording/mask.h"
#include "sim/cmdshell.h"
#include "sim/notation.h"
#include "sim/secret.h"

namespace explain::recording {
namespace {

using std::to_string;

// A scalar of YAML in quotation marks.
std::string quoted(std::string_view text) {
    std::string scalar = "\"";
    for (const char c : text) {
        char escaped[8] = "";
        const auto byte = static_cast<unsigned char>(c);
        if (byte < ' ' || byte == 0x7f) std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
        if (c == '"' || c == '\\') scalar += '\\';
        *escaped != '\0' ? scalar += escaped : scalar += c;
    }
    return scalar + '"';
}

std::string list_of(const std::vector<std::string> &items) {
    std::string list;
    for (const std::string &item : items)
        list.append(list.empty() ? "" : ", ").append(item);
    return "[" + list + "]";
}

// Without the indentation that the lines got when a description was read.
std::string without_indentation(std::string_view lines) {
    std::string text;
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        const std::string_view line = lines.substr(0, end);
        text.append(line.starts_with("  ") ? line.substr(2) : line).append(1, '\n');
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    return text;
}

// Interfaces that one entry can describe: with consecutive numbers and indexes, and all else in common.
struct Run {
    const sim::Interface *first;
    std::string_view prefix;
    uint64_t number, count;
};

// The number must be written as it would be counted.
std::pair<std::string_view, uint64_t> split(std::string_view name) {
    const std::size_t at = sim::start_of_number(name, name.size());
    const std::string_view digits = name.substr(at);
    uint64_t number = 0;
    const bool is_counted = !digits.empty() && digits.size() < 10 && (digits[0] != '0' || digits.size() == 1);
    if (!is_counted) return {name, UINT64_MAX};
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return {name.substr(0, at), number};
}

bool continues(const Run &run, const sim::Interface &interface) {
    const sim::Interface &first = *run.first;
    const auto [prefix, number] = split(interface.name);
    return run.number != UINT64_MAX && prefix == run.prefix && number == run.number + run.count &&
           interface.index == first.index + run.count && interface.block == first.block &&
           interface.vsan == first.vsan && interface.port_profile == first.port_profile &&
           interface.port_channel_sub_interface == first.port_channel_sub_interface && first.members.empty() &&
           interface.members.empty();
}

class Writer {
  public:
    Writer(const sim::Switch &sw, Mask *mask) : sw_(sw), mask_(mask) {}

    std::string write() {
        write_switch();
        write_profiles();
        write_interfaces();
        write_services();
        write_in_process();
        write_features();
        return std::move(yaml_);
    }

  private:
    std::string name(std::string_view text) { return mask_ != nullptr ? mask_->name(text) : std::string(text); }
    std::string text(std::string_view text) const { return mask_ != nullptr ? Mask::hidden(text) : std::string(text); }

    void write_switch() {
        yaml_ += "name: " + quoted(name(sw_.name)) + "\n";
        if (sw_.version) yaml_ += "version: " + quoted(*sw_.version) + "\n";
        yaml_ += "vdc: {id: " + to_string(sw_.vdc) + ", name: " + quoted(name(sw_.name)) + "}\nvdcs:\n";
        for (const sim::Vdc &vdc : sw_.vdcs)
            yaml_ += "  - {id: " + to_string(vdc.id) + ", name: " + quoted(name(vdc.name)) +
                     ", active: " + (vdc.active ? "true}\n" : "false}\n");
        yaml_ += "card: " + to_string(sw_.card) + "\nmodules: [";
        for (const uint32_t state : sw_.modules)
            yaml_ += to_string(state) + ", ";
        yaml_ += "]\n";
        if (const auto &profile = sw_.switch_profile) {
            yaml_ += "switch_profile: {status: " + to_string(profile->status);
            if (profile->head_text) yaml_ += ", head: " + quoted(text(*profile->head_text));
            if (profile->sync_cfg) yaml_ += ", sync: " + quoted(text(*profile->sync_cfg));
            yaml_ += "}\n";
        }
    }

    std::string lines_of(const std::string &profile, const std::string &lines) const {
        const auto secret = sw_.secret_profiles.find(profile);
        const bool is_hidden = sw_.hides_secrets && secret != sw_.secret_profiles.end();
        return without_indentation(is_hidden ? sim::without_secrets(lines, secret->second) : lines);
    }

    void write_profiles() {
        if (!sw_.port_profiles.empty()) yaml_ += "port_profiles:\n";
        for (const auto &[profile, lines] : sw_.port_profiles)
            yaml_ += "  " + quoted(name(profile)) + ": " + quoted(text(lines_of(profile, lines))) + "\n";
    }

    void write_interfaces() {
        if (!sw_.interfaces.empty()) yaml_ += "interfaces:\n";
        Run run = {};
        for (const sim::Interface &interface : sw_.interfaces) {
            if (run.first != nullptr && continues(run, interface)) {
                ++run.count;
                continue;
            }
            if (run.first != nullptr) write(run);
            const auto [prefix, number] = split(interface.name);
            run = {&interface, prefix, number, 1};
        }
        if (run.first != nullptr) write(run);
    }

    void write(const Run &run) {
        const sim::Interface &first = *run.first;
        const std::string last = run.count > 1 ? "-" + to_string(run.number + run.count - 1) : "";
        yaml_ += "  - {names: " + quoted(first.name + last) + ", block: " + to_string(first.block) +
                 ", index: " + to_string(first.index);
        if (first.vsan != 0) yaml_ += ", vsan: " + to_string(first.vsan);
        if (!first.port_profile.empty()) yaml_ += ", port_profile: " + quoted(name(first.port_profile));
        if (first.port_channel_sub_interface) yaml_ += ", sub_interface_of_port_channel: true";
        if (!first.members.empty()) yaml_ += ", members: " + quoted(members_of(first));
        yaml_ += "}\n";
    }

    std::string members_of(const sim::Interface &port_channel) const {
        std::string names;
        for (const uint32_t index : port_channel.members)
            if (const sim::Interface *member = sw_.find_interface(index))
                names.append(names.empty() ? "" : ",").append(member->name);
        return names;
    }

    // Services at a server may have a name or a UUID that a description allows only once, or not at all.
    std::string unique_name(const sim::Service &service) {
        const bool is_usable = !service.name.empty() && !sim::is_number(service.name);
        std::string unique = is_usable ? service.name : "service";
        if (!is_usable || names_.contains(unique)) unique += "-SAP-" + to_string(service.sap);
        names_.insert(unique);
        return unique;
    }
    uint32_t unique_uuid(uint32_t uuid) {
        while (uuid == 0 || uuid > UINT16_MAX || !uuids_.insert(uuid).second)
            uuid = next_free_uuid();
        return uuid;
    }

    uint32_t next_free_uuid() {
        do
            ++last_uuid_;
        while (wanted_.contains(last_uuid_));
        return last_uuid_;
    }

    void add(const sim::Service &service) {
        const std::string unique = unique_name(service);
        if (!by_sap_.emplace(service.sap, unique).second) return;
        yaml_ += "  - {name: " + quoted(unique) + ", sap: " + to_string(service.sap) +
                 ", uuid: " + to_string(unique_uuid(service.uuid)) +
                 (service.consumer ? "}\n" : ", consumer: false}\n");
    }

    void add_missing(uint32_t sap) {
        sim::Service service;
        service.name = "SAP-" + to_string(sap);
        service.sap = sap;
        service.consumer = false;
        add(service);
    }

    // Features may have services that are not there.
    void write_services() {
        yaml_ += sw_.services.empty() && sw_.features.empty() ? "services: []\n" : "services:\n";
        for (const sim::Service &service : sw_.services)
            wanted_.insert(service.uuid);
        for (const sim::Service &service : sw_.services)
            add(service);
        for (const auto &[feature, row] : sw_.features)
            for (const uint32_t sap : row.saps)
                if (!by_sap_.contains(sap)) add_missing(sap);
    }

    // A path may name a person or a project.
    std::string library(const std::string &path) const {
        return mask_ != nullptr ? path.substr(path.rfind('/') + 1) : path;
    }

    void write_in_process() {
        if (!sw_.in_process.empty()) yaml_ += "in_process:\n";
        for (const sim::InProcess &row : sw_.in_process) {
            std::vector<std::string> flags;
            if ((row.flags & QARN_CB_FLAG_FALLBACK) != 0) flags.emplace_back("fallback");
            if ((row.flags & QARN_CB_FLAG_STARTUP) != 0) flags.emplace_back("startup");
            if ((row.flags & QARN_CB_FLAG_RUNNING) != 0) flags.emplace_back("running");
            yaml_ += "  - {service: " + (row.sap != 0 ? quoted(by_sap_[row.sap]) : "0") +
                     ", function: " + quoted(row.function) + ", library: " + quoted(library(row.library)) +
                     ", flags: " + list_of(flags) + "}\n";
        }
    }

    void write_features() {
        if (!sw_.features.empty()) yaml_ += "features:\n";
        for (const auto &[feature, row] : sw_.features) {
            std::vector<std::string> services, elements;
            for (const uint32_t sap : row.saps)
                services.push_back(quoted(by_sap_[sap]));
            for (const sim::ElementReference &element : row.elements)
                elements.push_back(list_of({to_string(element.uuid), to_string(element.id)}));
            yaml_ += "  " + quoted(feature) + ": {row: " + to_string(row.row) +
                     ", key: " + to_string(sim::key_word_of_sap_row(row.row)) + ", services: " + list_of(services) +
                     ", elements: " + list_of(elements) + "}\n";
        }
    }

    const sim::Switch &sw_;
    Mask *mask_;
    std::string yaml_;
    std::map<uint32_t, std::string> by_sap_;
    std::set<std::string> names_;
    std::set<uint32_t> uuids_, wanted_; // those that services have
    uint32_t last_uuid_ = 0;
};

} // namespace

std::string describe(const sim::Switch &sw, Mask *mask) {
    return Writer(sw, mask).write();
}

} // namespace explain::recording
