// Numbers, names and id ranges as people write them, in switch descriptions and in commands.
#include "sim/notation.h"

#include <cctype>
#include <charconv>
#include <stdexcept>

#include <qarncli/if_index_list.h>
#include <qarncli/ifindex.h>

#include "sim/visible.h"

namespace sim {
namespace {

constexpr std::size_t kLongestQuote = 60; // bytes of a word repeated in a message

// Every part of a comma-separated text, empty ones too.
std::vector<std::string_view> split_at_commas(std::string_view text) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t comma = text.find(',');
        std::string_view part = text.substr(0, comma);
        while (part.starts_with(' '))
            part.remove_prefix(1);
        while (part.ends_with(' '))
            part.remove_suffix(1);
        parts.push_back(part);
        if (comma == std::string_view::npos) return parts;
        text.remove_prefix(comma + 1);
    }
}

// The part of a name before its last number, and the range of that number.
struct NameRange {
    std::string stem;
    uint32_t low, high;
};

NameRange parse_name_range(std::string_view name) {
    const std::size_t last = start_of_number(name, name.size());
    std::size_t first = last, first_end = name.size();
    if (last > 0 && last < name.size() && name[last - 1] == '-' && start_of_number(name, last - 1) < last - 1) {
        first_end = last - 1;
        first = start_of_number(name, first_end);
    }
    const std::optional<uint32_t> low = to_number(name.substr(first, first_end - first));
    const std::optional<uint32_t> high = to_number(name.substr(last));
    if (!low || !high) throw std::invalid_argument(quoted(name) + " does not end in a number");
    if (*low > *high) throw std::invalid_argument("the range in " + quoted(name) + " is reversed");
    return {std::string(name.substr(0, first)), *low, *high};
}

} // namespace

bool is_number(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::optional<uint32_t> to_number(std::string_view text) {
    int base = 10;
    if (text.starts_with("0x")) {
        text.remove_prefix(2);
        base = 16;
    }
    uint32_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return number;
}

std::size_t start_of_number(std::string_view text, std::size_t end) {
    std::size_t start = end;
    while (start > 0 && std::isdigit(static_cast<unsigned char>(text[start - 1])))
        --start;
    return start;
}

std::string printable(std::string_view text) {
    return replace_controls(text, [](uint32_t) { return "?"; });
}

std::string quoted(std::string_view word) {
    return '"' + printable(word.substr(0, kLongestQuote)) + (word.size() > kLongestQuote ? "..." : "") + '"';
}

std::vector<std::string> expand_names(std::string_view names) {
    std::vector<std::string> expanded;
    std::string stem;
    for (const std::string_view part : split_at_commas(names)) {
        if (part.empty()) throw std::invalid_argument("empty name in " + quoted(names));
        NameRange range = parse_name_range(part);
        if (range.stem.empty()) range.stem = stem;
        if (range.stem.empty()) throw std::invalid_argument(quoted(part) + " has no name before its number");
        const std::string limit = std::to_string(QARN_MAX_IFINDEXES);
        if (range.high - range.low >= QARN_MAX_IFINDEXES)
            throw std::invalid_argument("the range in " + quoted(part) + " has more than " + limit + " numbers");
        if (expanded.size() >= QARN_MAX_IFINDEXES)
            throw std::invalid_argument("the list " + quoted(names) + " has more than " + limit + " names");
        for (uint32_t offset = 0; offset <= range.high - range.low; ++offset)
            expanded.push_back(range.stem + std::to_string(range.low + offset));
        stem = range.stem;
    }
    return expanded;
}

std::vector<IdRange> parse_id_ranges(std::string_view text, std::string_view what, uint32_t lowest, uint32_t highest) {
    std::vector<IdRange> ranges;
    for (const std::string_view part : split_at_commas(text)) {
        if (part.empty()) throw std::invalid_argument("empty range in " + quoted(text));
        const std::size_t dash = part.find('-');
        const std::string_view words[2] = {part.substr(0, dash),
                                           dash == std::string_view::npos ? part : part.substr(dash + 1)};
        uint32_t bounds[2] = {};
        for (int i = 0; i < 2; ++i) {
            const std::optional<uint32_t> id = is_number(words[i]) ? to_number(words[i]) : std::nullopt;
            if (!id || *id < lowest || *id > highest) {
                throw std::invalid_argument(quoted(words[i].empty() ? part : words[i]) + " is not a " +
                                            std::string(what) + " from " + std::to_string(lowest) + " to " +
                                            std::to_string(highest));
            }
            bounds[i] = *id;
        }
        if (bounds[0] > bounds[1]) throw std::invalid_argument("the range " + quoted(part) + " is reversed");
        ranges.push_back({bounds[0], bounds[1]});
    }
    return ranges;
}

} // namespace sim
