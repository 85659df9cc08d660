// Interfaces that no element shows, and texts for them. An interface is printed in the block of the element with the
// UUID 223 and the id of the interface's block.
#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "sim/check/displays.h"
#include "sim/check/subjects.h"
#include "sim/notation.h"

namespace sim {
namespace {

std::unordered_set<uint32_t> shown_blocks(const Elements &elements) {
    std::unordered_set<uint32_t> blocks;
    for (const auto &[service, element] : elements.places())
        if (service->uuid == QARN_UUID_INTERFACE && elements.is_printed(*service, *element)) blocks.insert(element->id);
    return blocks;
}

std::string reason_for(uint32_t block, const Elements &elements) {
    const std::string name = "the element 223/" + std::to_string(block);
    return elements.find(QARN_UUID_INTERFACE, block) == Elements::kNone
               ? "no service has " + name + " for its block"
               : "a display of all services does not contain " + name + ", which shows its block";
}

std::string advice_for(uint32_t block, const Elements &elements) {
    return elements.find(QARN_UUID_INTERFACE, block) == Elements::kNone
               ? "add element " + std::to_string(block) + " to a service with the UUID 223"
               : "remove \"consumer: false\" of its service, or its only_if";
}

// Interfaces without a block, by index.
using Hidden = std::unordered_map<uint32_t, const Interface *>;

// One warning for each entry of the description.
Hidden check_blocks(const Switch &sw, const Elements &elements, Report &report) {
    const std::unordered_set<uint32_t> blocks = shown_blocks(elements);
    Hidden hidden;
    for (std::size_t at = 0; at < sw.interfaces.size();) {
        const Interface &first = sw.interfaces[at];
        const std::size_t begin = at;
        while (at < sw.interfaces.size() && sw.interfaces[at].line == first.line &&
               sw.interfaces[at].block == first.block)
            ++at;
        if (blocks.contains(first.block)) continue;
        for (std::size_t i = begin; i < at; ++i)
            hidden.emplace(sw.interfaces[i].index, &sw.interfaces[i]);
        report.warn("block-not-shown", first.line,
                    "interface " + and_more(quoted(first.name), at - begin) +
                        " is not shown: " + reason_for(first.block, elements),
                    advice_for(first.block, elements));
    }
    return hidden;
}

void check_texts(const Service &service, const Element &element, const Hidden &hidden, Report &report) {
    const Interface *first = nullptr;
    std::size_t lost = 0;
    for (const auto &text : element.intf_texts) {
        const auto found = hidden.find(text.first);
        if (found == hidden.end()) continue;
        if (lost++ == 0) first = found->second;
    }
    if (first == nullptr) return;
    report.warn("interface-text-not-shown", element.line,
                "the text of " + name_of(service, element) + " for interface " + and_more(quoted(first->name), lost) +
                    " is lost: the interface is not shown",
                "add the element for the interface's block");
}

void check_block_element(const Service &service, const Element &element, Report &report) {
    if (service.uuid != QARN_UUID_INTERFACE || (element.text.empty() && element.keys.empty())) return;
    report.warn("block-element-text", element.line,
                "the text and the keys of " + name_of(service, element) +
                    " are lost: an element with the UUID 223 prints interface blocks only",
                "move them to another service");
}

// The first interface that the library leaves out. It takes block after block, in the order of their first interfaces.
const Interface &first_left_out(const Switch &sw) {
    std::unordered_map<uint32_t, std::size_t> positions;
    std::vector<const Interface *> ordered;
    for (const Interface &interface : sw.interfaces) {
        positions.emplace(interface.block, positions.size());
        ordered.push_back(&interface);
    }
    std::ranges::stable_sort(ordered, {}, [&](const Interface *interface) { return positions.at(interface->block); });
    return *ordered[QARN_MAX_IFINDEXES];
}

} // namespace

void check_interfaces(const Switch &sw, Report &report) {
    if (sw.interfaces.size() > QARN_MAX_IFINDEXES) {
        const Interface &first = first_left_out(sw);
        report.warn("too-many-interfaces", first.line,
                    "a complete display asks for 20000 interfaces; the services send no texts for " +
                        and_more(quoted(first.name), sw.interfaces.size() - QARN_MAX_IFINDEXES),
                    "describe fewer interfaces");
    }
    const Elements elements(sw);
    const Hidden hidden = report.is_whole() ? check_blocks(sw, elements, report) : Hidden();
    for (const auto &[service, element] : elements.places()) {
        if (!hidden.empty() && elements.is_printed(*service, *element)) check_texts(*service, *element, hidden, report);
        check_block_element(*service, *element, report);
    }
}

} // namespace sim
