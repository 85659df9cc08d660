// Texts that are filed under a key that prints them nowhere. An ordinary key prints what is filed under its name only
// if it has a header. A VLAN prints what is filed under its line.
#include <unordered_map>
#include <vector>

#include "sim/check/displays.h"
#include "sim/check/subjects.h"

namespace sim {
namespace {

// What keys print.
class Printed {
  public:
    void add(const Service &service, const Element &element) {
        if (lists_vlans(service, element)) {
            for (const Key &key : element.keys)
                names_[vlan_line(element, key.index)].prints = true;
        } else if (service.uuid != QARN_UUID_VLAN && service.uuid != QARN_UUID_INTERFACE) {
            for (const Key &key : element.keys) {
                Entry &entry = names_[key.name];
                entry.prints = entry.prints || !key.map.empty();
                entry.key = &key;
            }
        }
    }

    bool has(const std::string &name) const {
        const auto found = names_.find(name);
        return found != names_.end() && found->second.prints;
    }
    // The key that only lacks a header, or null.
    const Key *without_header(const std::string &name) const {
        const auto found = names_.find(name);
        return found != names_.end() && !found->second.prints ? found->second.key : nullptr;
    }

  private:
    struct Entry {
        bool prints = false;
        const Key *key = nullptr;
    };

    std::unordered_map<std::string, Entry> names_;
};

std::string advice_for(const std::string &name, const Printed &printed) {
    if (printed.has(name + "\n")) return "end the name with \\n";
    if (name.starts_with("vlan ")) return "add the VLAN to the keys of element 2 or 5 of the service with UUID 383";
    return "correct the name, or add a key of this name with a header";
}

// The texts of one line that no key prints.
struct Lost {
    const KeyString *first;
    std::size_t count;
};

// What the keys of all elements print, and those of a display of all services.
struct PrintedKeys {
    Printed anywhere, together;

    explicit PrintedKeys(const Elements &elements) {
        for (const auto &[service, element] : elements.places()) {
            anywhere.add(*service, *element);
            if (elements.is_printed(*service, *element)) together.add(*service, *element);
        }
    }
};

void warn(const Service &service, const Element &element, const Lost &lost, const PrintedKeys &keys, Report &report) {
    const std::string text = "the text of " + name_of(service, element) + " for key " +
                             and_more(shown(lost.first->name), lost.count) + " is lost: ";
    if (keys.anywhere.has(lost.first->name)) {
        report.warn("key-string-unread", lost.first->line,
                    text + "a display of all services does not contain the key with this name",
                    "remove \"consumer: false\" of the key's service, or the only_if of its element");
    } else {
        report.warn("key-string-unread", lost.first->line, text + "no key with this name prints it",
                    advice_for(lost.first->name, keys.anywhere));
    }
}

void check_element(const Service &service, const Element &element, const Printed &printed, const PrintedKeys &keys,
                   Report &report, std::unordered_map<const Key *, std::size_t> &dropped) {
    std::vector<Lost> lines;
    for (const KeyString &filed : element.key_strings) {
        if (filed.text.empty() || printed.has(filed.name)) continue;
        if (const Key *key = printed.without_header(filed.name)) {
            ++dropped[key];
            continue;
        }
        if (lines.empty() || lines.back().first->line != filed.line) lines.push_back({&filed, 0});
        ++lines.back().count;
    }
    for (const Lost &lost : lines)
        warn(service, element, lost, keys, report);
}

} // namespace

void check_key_strings(const Switch &sw, Report &report) {
    if (!report.is_whole()) return; // the key may be missing
    const Elements elements(sw);
    const PrintedKeys keys(elements);
    std::unordered_map<const Key *, std::size_t> dropped;
    for (const auto &[service, element] : elements.places()) {
        const bool is_together = elements.is_printed(*service, *element);
        check_element(*service, *element, is_together ? keys.together : keys.anywhere, keys, report, dropped);
    }
    for (const auto &[key, count] : dropped) {
        report.warn("key-without-header", key->line,
                    "key " + shown(key->name) +
                        " has no header and drops what is filed under it (texts: " + std::to_string(count) + ")",
                    "repeat its name as its header");
    }
}

} // namespace sim
