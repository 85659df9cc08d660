#include "explain/diff/parts.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <tuple>

#include "explain/lines.h"

namespace explain {
namespace {

constexpr char kPlatform[] = "(platform)";
constexpr uint32_t kVlans = 4096;

uint32_t take_number(std::string_view &text) {
    uint32_t number = kVlans;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc() ? number : kVlans;
}

bool take(std::string_view &text, std::string_view begin) {
    if (!text.starts_with(begin)) return false;
    text.remove_prefix(begin.size());
    return true;
}

// "vlan 10-12,20" as the lines of single VLANs; any other line as it is.
std::vector<std::string> single_blocks(const std::string &block) {
    std::string_view rest = block;
    const char *head = take(rest, "vlan configuration ") ? "vlan configuration " : take(rest, "vlan ") ? "vlan " : "";
    std::vector<std::string> blocks;
    while (*head != '\0' && !rest.empty()) {
        const uint32_t first = take_number(rest), last = take(rest, "-") ? take_number(rest) : first;
        if (first >= kVlans || last >= kVlans || (!rest.empty() && !take(rest, ","))) return {block};
        for (uint32_t vlan = first; vlan <= last; ++vlan)
            blocks.push_back(head + std::to_string(vlan));
    }
    return blocks.empty() ? std::vector{block} : blocks;
}

class Collector {
  public:
    Collector(const Subject &subject, const Origins &origins) : subject_(subject), origins_(origins) {}

    void take_line(std::string_view line, const Piece &piece) {
        if (piece.rule == Rule::kSeparator || piece.rule == Rule::kNotice) return;
        if (piece.rule == Rule::kInterfaceLine && line.empty()) return; // before each block
        if (piece.rule == Rule::kHeader && !line.starts_with("version ")) return;
        const std::string &context = origins_.contexts[piece.context];
        if (piece.rule != Rule::kVlanLine && piece.rule != Rule::kVlanText) return add(piece, context, line);
        for (const std::string &block : single_blocks(context))
            add(piece, block, piece.rule == Rule::kVlanLine ? std::string_view(block) : line);
    }

    std::vector<Part> take_parts() { return std::move(parts_); }

  private:
    void add(const Piece &piece, const std::string &block, std::string_view line) {
        const std::tuple place(piece.has_element, piece.element, piece.senders, block);
        const auto [found, is_new] = positions_.emplace(place, parts_.size());
        if (is_new) parts_.push_back({service_of(piece), piece.has_element ? text_of(piece.element) : "", block, {}});
        parts_[found->second].text.append(line).append("\n");
    }

    std::string service_of(const Piece &piece) const {
        std::string names;
        for (const uint32_t sap : origins_.senders[piece.senders])
            names.append(names.empty() ? "" : "+").append(subject_.names.of_service(sap));
        return names.empty() ? kPlatform : names;
    }

    const Subject &subject_;
    const Origins &origins_;
    std::vector<Part> parts_;
    std::map<std::tuple<bool, Key, uint32_t, std::string>, std::size_t> positions_;
};

void append(std::string &bytes, const std::string &text) {
    bytes.append(std::to_string(text.size())).append(":").append(text);
}

std::string take_text(std::string_view &bytes) {
    std::size_t size = 0;
    const auto [end, error] = std::from_chars(bytes.data(), bytes.data() + bytes.size(), size);
    bytes.remove_prefix(static_cast<std::size_t>(end - bytes.data()));
    if (error != std::errc() || !take(bytes, ":") || size > bytes.size())
        throw std::runtime_error("the parts of a display are not whole");
    std::string text(bytes.substr(0, size));
    bytes.remove_prefix(size);
    return text;
}

} // namespace

std::vector<Part> parts_of(const Subject &subject, const Origins &origins) {
    Collector collector(subject, origins);
    for_each_line(subject.observation, origins,
                  [&](std::string_view line, const Piece &piece) { collector.take_line(line, piece); });
    return collector.take_parts();
}

std::string packed(const std::vector<Part> &parts) {
    std::string bytes;
    for (const Part &part : parts)
        for (const std::string *field : {&part.service, &part.element, &part.block, &part.text})
            append(bytes, *field);
    return bytes;
}

std::vector<Part> parts_in(std::string_view bytes) {
    std::vector<Part> parts;
    while (!bytes.empty()) {
        Part &part = parts.emplace_back();
        for (std::string *field : {&part.service, &part.element, &part.block, &part.text})
            *field = take_text(bytes);
    }
    return parts;
}

} // namespace explain
