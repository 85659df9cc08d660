// Keys that print differently from what their description says: without a line end, without their VLAN, or not at all.
#include <map>
#include <vector>

#include "sim/check/subjects.h"

namespace sim {
namespace {

constexpr char kVlanLine[] = "vlan ", kConfigurationLine[] = "vlan configuration ";

bool is_vlan_name(std::string_view name, std::string_view line) {
    if (!name.starts_with(line) || !name.ends_with('\n')) return false;
    name.remove_prefix(line.size());
    return name.size() > 1 && name.find_first_not_of("0123456789") == name.size() - 1;
}

bool is_vlan_name(std::string_view name) {
    return is_vlan_name(name, kVlanLine) || is_vlan_name(name, kConfigurationLine);
}

// What the display prints for an ordinary key.
const std::string &header_of(const Key &key) {
    return key.map.empty() ? key.name : key.map;
}

// Warns of an element's keys. The keys of a line differ only in their ids, so a line has one warning of a kind.
class KeyCheck {
  public:
    KeyCheck(const Service &service, const Element &element, Report &report)
        : service_(service), element_(element), report_(report) {}

    void run() {
        if (service_.uuid == QARN_UUID_INTERFACE) return; // interfaces.cc
        check_repeated();
        if (lists_vlans(service_, element_)) {
            check_vlans();
        } else if (service_.uuid == QARN_UUID_VLAN) {
            warn("vlan-keys-unread", {&element_.keys.front(), 1},
                 "the keys of " + name() + " are not printed: the VLAN service lists VLANs in its elements 2 and 5",
                 "move the VLANs to element 2, and VLAN configurations to element 5");
        } else {
            check_ordinary();
        }
    }

  private:
    struct Lost {
        const Key *first;
        std::size_t count;

        std::string text() const { return "key " + and_more(shown(first->name), count); }
    };

    std::string name() const { return name_of(service_, element_); }
    void warn(const char *finding, const Lost &lost, const std::string &message, const std::string &advice) {
        report_.warn(finding, lost.first->line, message, advice);
    }

    // The keys that `is_lost` accepts, line by line.
    template <typename IsLost>
    std::vector<Lost> lost(IsLost is_lost) const {
        std::vector<Lost> lines;
        for (const Key &key : element_.keys) {
            if (!is_lost(key)) continue;
            if (lines.empty() || lines.back().first->line != key.line) lines.push_back({&key, 0});
            ++lines.back().count;
        }
        return lines;
    }

    // Whether the later key takes the place of the earlier one, and something is lost by that.
    bool replaces(const Key &later, const Key &earlier) const {
        return later.map != earlier.map || (lists_vlans(service_, element_) && later.index != earlier.index);
    }

    void check_repeated() {
        std::map<std::string_view, const Key *> last;
        for (const Key &key : element_.keys)
            last[key.name] = &key;
        for (const Lost &line : lost([&](const Key &key) { return replaces(*last[key.name], key); })) {
            warn("key-repeated", line, line.text() + " of " + name() + " gives way to a later key of the same name",
                 "give each key a name of its own; {n} is its id");
        }
    }

    void check_vlans() {
        for (const Lost &line : lost([](const Key &key) { return !key.map.empty() && key.map != key.name; })) {
            warn("vlan-key-header", line, line.text() + " of " + name() + " prints no VLAN, because it has a header",
                 "remove the header");
        }
        for (const Lost &line : lost([&](const Key &key) { return key.name != vlan_line(element_, key.index); })) {
            warn("vlan-key-name", line,
                 line.text() + " of " + name() + " stands for " + shown(vlan_line(element_, line.first->index)) +
                     "; only texts that are filed under that name are printed",
                 "give it ids and the name " + shown(vlan_line_of_ids()));
        }
    }

    std::string vlan_line_of_ids() const {
        return (element_.id == kVlans ? kVlanLine : kConfigurationLine) + std::string("{n}\n");
    }

    void check_ordinary() {
        for (const Lost &line : lost([](const Key &key) { return !header_of(key).ends_with('\n'); })) {
            warn("key-without-newline", line,
                 line.text() + " of " + name() + " has a line without end; what follows is printed on the same line",
                 "end its header, or the name of a key without header, with \\n");
        }
        for (const Lost &line : lost([](const Key &key) { return is_vlan_name(header_of(key)); })) {
            warn("vlan-keys-elsewhere", line,
                 line.text() + " of " + name() +
                     " is an ordinary line: VLANs with the same lines are not joined, and no VLAN range selects it",
                 "move it to the element 2 or 5 of the service with UUID 383");
        }
    }

    const Service &service_;
    const Element &element_;
    Report &report_;
};

} // namespace

void check_keys(const Switch &sw, Report &report) {
    for (const Service &service : sw.services)
        for (const Element &element : service.elements)
            if (!element.keys.empty()) KeyCheck(service, element, report).run();
}

} // namespace sim
