#include "shell/values.h"

#include <qarncli/element.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <set>

#include "explain/check/joint_rules.h"
#include "explain/check/stream_rules.h"
#include "shell/ranges.h"
#include "shell/words.h"

namespace shell {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> names_of_vdcs(const sim::Switch &sw) {
    std::vector<std::string> names;
    for (const sim::Vdc &vdc : sw.vdcs)
        if (vdc.active) names.push_back(vdc.name);
    return names;
}

template <typename Map>
std::vector<std::string> keys_of(const Map &map) {
    std::vector<std::string> keys;
    keys.reserve(map.size());
    for (const auto &[key, value] : map)
        keys.push_back(key);
    return keys;
}

// The VLANs that the switch has, or the VSANs of its interfaces.
std::set<uint32_t> ids_of(Slot slot, const sim::Switch &sw) {
    std::set<uint32_t> ids;
    if (slot == Slot::kVsans) {
        for (const sim::Interface &interface : sw.interfaces)
            if (interface.vsan != 0) ids.insert(interface.vsan);
        return ids;
    }
    for (const sim::Service &service : sw.services) {
        if (service.uuid != QARN_UUID_VLAN) continue;
        for (const sim::Element &element : service.elements)
            for (const sim::Key &key : element.keys)
                ids.insert(key.index);
    }
    return ids;
}

std::size_t common_length(std::string_view a, std::string_view b) {
    const auto is_same = [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); };
    return static_cast<std::size_t>(std::ranges::mismatch(a, b, is_same).in1 - a.begin());
}

// What is in a folder of the files and begins like this path.
std::vector<std::string> paths_from(std::string_view partial) {
    const std::size_t slash = partial.rfind('/') + 1;
    const std::string folder(partial.substr(0, slash));
    const std::string_view typed = partial.substr(slash);
    std::vector<std::string> words;
    std::error_code error;
    for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        if (name.starts_with(typed) && (!name.starts_with('.') || typed.starts_with('.')))
            words.push_back(folder + name + (entry->is_directory(error) ? "/" : ""));
    }
    std::ranges::sort(words);
    return words;
}

// Whether a path is one word as it is.
bool is_one_word(const std::string &path) {
    return !is_quotation_mark(path[0]) && path.find('|') == std::string::npos && std::ranges::none_of(path, is_blank);
}

// A folder remains open in its quotation marks. A mark or a backslash inside of them would not be a part of the name.
std::vector<std::string> completed_paths(std::string_view partial) {
    const bool is_quoted = !partial.empty() && is_quotation_mark(partial[0]);
    std::vector<std::string> words = paths_from(partial.substr(is_quoted ? 1 : 0));
    if (!is_quoted) {
        std::erase_if(words, [](const std::string &path) { return !is_one_word(path); });
        return words;
    }
    const std::string left_out = {partial[0], '\\'};
    std::erase_if(words, [&](const std::string &path) { return path.find_first_of(left_out) != std::string::npos; });
    for (std::string &word : words) {
        if (!word.ends_with('/')) word.push_back(partial[0]);
        word.insert(0, 1, partial[0]);
    }
    return words;
}

std::vector<std::string> names_of_rules() {
    std::vector<std::string> names;
    for (const auto rules : {explain::joint_rules(), explain::stream_rules()})
        for (const explain::CheckRule &rule : rules)
            names.emplace_back(rule.name);
    std::ranges::sort(names);
    return names;
}

} // namespace

const char *name_of(Slot slot) {
    switch (slot) {
        case Slot::kVlans:
            return "VLAN range";
        case Slot::kVsans:
            return "VSAN range";
        case Slot::kInterfaces:
            return "interface name";
        case Slot::kPortProfile:
            return "port profile";
        case Slot::kService:
            return "service";
        case Slot::kFeature:
            return "feature";
        case Slot::kVdc:
            return "VDC";
        case Slot::kFile:
            return "file";
        case Slot::kRegex:
            return "regular expression";
        case Slot::kNumber:
            return "number";
        case Slot::kConfiguration:
            return "configuration";
        case Slot::kRules:
            return "rule";
        default:
            return "word";
    }
}

std::vector<std::string> values_of(Slot slot, const sim::Switch &sw) {
    std::vector<std::string> names;
    switch (slot) {
        case Slot::kService:
            for (const sim::Service &service : sw.services)
                names.push_back(service.name);
            return names;
        case Slot::kPortProfile:
            return keys_of(sw.port_profiles);
        case Slot::kFeature:
            return keys_of(sw.features);
        case Slot::kVdc:
            return names_of_vdcs(sw);
        case Slot::kConfiguration:
            return {"running", "startup"};
        case Slot::kRules:
            return names_of_rules();
        default:
            return names;
    }
}

std::vector<std::string> completions_of(Slot slot, std::string_view partial, const sim::Switch &sw) {
    switch (slot) {
        case Slot::kVlans:
        case Slot::kVsans:
            return completed_ids(partial, ids_of(slot, sw));
        case Slot::kInterfaces:
            return completed_interfaces(partial, sw);
        case Slot::kFile:
            return completed_paths(partial);
        default:
            std::vector<std::string> values = values_of(slot, sw);
            if (slot == Slot::kConfiguration) std::ranges::move(completed_paths(partial), std::back_inserter(values));
            std::erase_if(values, [partial](const std::string &value) { return !value.starts_with(partial); });
            return values;
    }
}

std::vector<std::string> nearest_to(std::string_view word, std::vector<std::string> values) {
    std::size_t longest = 0;
    for (const std::string &value : values)
        longest = std::max(longest, common_length(value, word));
    std::erase_if(values, [&](const std::string &value) { return common_length(value, word) < longest; });
    return values;
}

bool begins_with(std::string_view text, std::string_view beginning) {
    return common_length(text, beginning) == beginning.size();
}

std::string_view type_of_interface(std::string_view name) {
    const auto *const end = std::ranges::find_if(name, [](unsigned char c) { return std::isdigit(c) != 0; });
    return {name.data(), static_cast<std::size_t>(end - name.begin())};
}

std::vector<std::string> types_of_interfaces(const sim::Switch &sw) {
    std::vector<std::string> types;
    for (const sim::Interface &interface : sw.interfaces) {
        const std::string_view type = type_of_interface(interface.name);
        if (std::ranges::find(types, type) == types.end()) types.emplace_back(type);
    }
    return types;
}

} // namespace shell
