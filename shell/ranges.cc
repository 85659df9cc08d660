#include "shell/ranges.h"

#include <algorithm>
#include <cctype>

#include "shell/values.h"
#include "sim/notation.h"

namespace shell {
namespace {

bool is_digit(unsigned char c) {
    return std::isdigit(c) != 0;
}

std::string lower(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// A name without the range after its last number: "Ethernet1/1" of "Ethernet1/1-4" and of "Ethernet1/1-".
std::string_view without_range(std::string_view item) {
    const std::size_t dash = sim::start_of_number(item, item.size());
    const bool is_range = dash > 1 && item[dash - 1] == '-' && is_digit(static_cast<unsigned char>(item[dash - 2]));
    return is_range ? item.substr(0, dash - 1) : item;
}

// The name with its type in full, in the spelling of the switch; unchanged if the type fits none or several.
std::string with_full_type(std::string_view name, const sim::Switch &sw) {
    const std::string_view typed = type_of_interface(name);
    std::vector<std::string> fitting;
    for (const std::string &type : types_of_interfaces(sw)) {
        if (!begins_with(type, typed)) continue;
        if (type.size() == typed.size()) fitting.clear();
        fitting.push_back(type);
        if (type.size() == typed.size()) break;
    }
    return (fitting.size() == 1 ? fitting[0] : std::string(typed)) + std::string(name.substr(typed.size()));
}

// What a number continues after these items, which end with a comma: "Ethernet1/" after "e1/1-4,9,".
std::string stem_of(std::string_view items, const sim::Switch &sw) {
    while (!items.empty()) {
        items.remove_suffix(1);
        const std::size_t begin = items.rfind(',') + 1; // 0 if there is none
        const std::string_view name = without_range(items.substr(begin));
        const std::size_t number = sim::start_of_number(name, name.size());
        if (number > 0) return with_full_type(name.substr(0, number), sw);
        items = items.substr(0, begin);
    }
    return "";
}

// The item that is being typed, and the items before it with their comma.
struct Typed {
    explicit Typed(std::string_view text)
        : before(text.substr(0, text.rfind(',') + 1)), item(text.substr(before.size())) {}
    std::string_view before, item;
};

// The last numbers that interfaces have after this stem.
std::vector<uint32_t> numbers_after(const std::string &stem, const sim::Switch &sw) {
    std::vector<uint32_t> numbers;
    if (stem.empty()) return numbers;
    for (const sim::Interface &interface : sw.interfaces) {
        if (!begins_with(interface.name, stem)) continue;
        if (const auto number = sim::to_number(std::string_view(interface.name).substr(stem.size())))
            numbers.push_back(*number);
    }
    return numbers;
}

// `text` ends with the digits of a number: the numbers from `low` on that begin with them.
std::vector<std::string> completed_number(std::string_view text, std::string_view digits,
                                          const std::vector<uint32_t> &numbers, uint32_t low) {
    const std::string before(text.substr(0, text.size() - digits.size()));
    std::vector<std::string> words;
    for (const uint32_t number : numbers) {
        const std::string word = std::to_string(number);
        if (number >= low && word.starts_with(digits)) words.push_back(before + word);
    }
    return words;
}

std::vector<std::string> completed_interface_range(std::string_view text, const Typed &typed, std::string_view name,
                                                   const sim::Switch &sw) {
    const std::size_t number = sim::start_of_number(name, name.size());
    const std::string stem = number == 0 ? stem_of(typed.before, sw) : with_full_type(name.substr(0, number), sw);
    const uint32_t low = sim::to_number(name.substr(number)).value_or(UINT32_MAX);
    return completed_number(text, typed.item.substr(name.size() + 1), numbers_after(stem, sw), low + 1);
}

std::vector<std::string> completed_types(std::string_view text, std::string_view item, const sim::Switch &sw) {
    std::vector<std::string> words;
    for (const std::string &type : types_of_interfaces(sw))
        if (begins_with(type, item)) words.push_back(std::string(text) + lower(type.substr(item.size())));
    return words;
}

std::vector<std::string> completed_names(std::string_view text, std::string_view item, const sim::Switch &sw) {
    const std::string beginning = with_full_type(item, sw);
    std::vector<std::string> words;
    for (const sim::Interface &interface : sw.interfaces)
        if (begins_with(interface.name, beginning))
            words.push_back(std::string(text) + interface.name.substr(beginning.size()));
    return words;
}

} // namespace

std::vector<std::string> completed_ids(std::string_view typed, const std::set<uint32_t> &ids) {
    const std::string_view item = Typed(typed).item;
    const std::size_t dash = item.find('-');
    const bool is_range = dash != std::string_view::npos;
    const uint32_t low = is_range ? sim::to_number(item.substr(0, dash)).value_or(UINT32_MAX - 1) + 1 : 0;
    return completed_number(typed, is_range ? item.substr(dash + 1) : item, {ids.begin(), ids.end()}, low);
}

std::vector<std::string> completed_interfaces(std::string_view typed, const sim::Switch &sw) {
    const Typed parts(typed);
    const std::string_view item = parts.item, name = without_range(item);
    if (name.size() < item.size()) return completed_interface_range(typed, parts, name, sw);
    const std::size_t type = type_of_interface(item).size();
    if (type > 0 && type < item.size()) return completed_names(typed, item, sw);
    if (type > 0 || parts.before.empty()) return completed_types(typed, item, sw);
    std::vector<std::string> words = completed_number(typed, item, numbers_after(stem_of(parts.before, sw), sw), 0);
    if (!item.empty()) return words;
    std::ranges::move(completed_types(typed, item, sw), std::back_inserter(words));
    return words;
}

std::vector<std::string> names_of_type(std::string_view type, const sim::Switch &sw) {
    return completed_names(type, type, sw);
}

bool continues_range(std::string_view typed) {
    return typed.find(',') != std::string_view::npos || without_range(typed).size() < typed.size();
}

} // namespace shell
