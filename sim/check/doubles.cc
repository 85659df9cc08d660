// Lines that a display prints twice: below equal headers of one element, or below two keys of the same name.
#include <map>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "sim/check/displays.h"
#include "sim/check/subjects.h"

namespace sim {
namespace {

using Names = std::unordered_set<std::string_view>;

// A line of the description gets one warning of a kind, whatever number of keys and displays it concerns.
struct Warned {
    std::set<std::pair<uint32_t, std::string_view>> lines;

    bool is_new(const Key &key, std::string_view kind) { return lines.emplace(key.line, kind).second; }
};

bool prints_keys(const Service &service) {
    return service.uuid != QARN_UUID_VLAN && service.uuid != QARN_UUID_INTERFACE;
}

// The elements that come together in one display, and the names under which they file texts.
struct Company {
    std::vector<Place> places;
    Names filed;
};

std::map<std::size_t, Company> companies_of(const Display &display, const Elements &elements) {
    std::map<std::size_t, Company> companies;
    for (std::size_t at = 0; at < display.size(); ++at) {
        if (display[at] == kAbsent) continue;
        Company &company = companies[display[at]];
        company.places.push_back(elements.places()[at]);
        for (const KeyString &filed : elements.places()[at].element->key_strings)
            if (!filed.text.empty()) company.filed.insert(filed.name);
    }
    return companies;
}

class DoubleCheck {
  public:
    DoubleCheck(const Company &company, Warned &warned, Report &report)
        : company_(company), warned_(warned), report_(report) {}

    void run() {
        for (const Place &place : company_.places) {
            if (!prints_keys(*place.service)) continue;
            const std::vector<const Key *> keys = keys_of(*place.element);
            check_headers(place, keys);
            for (const Key *key : keys)
                check_name(place, *key);
        }
    }

  private:
    // Of keys with the same name, the library keeps the last.
    static std::vector<const Key *> keys_of(const Element &element) {
        std::unordered_map<std::string_view, const Key *> last;
        for (const Key &key : element.keys)
            last[key.name] = &key;
        std::vector<const Key *> keys;
        for (const Key &key : element.keys)
            if (last[key.name] == &key) keys.push_back(&key);
        return keys;
    }

    bool has_lines(const Key &key) const { return !key.map.empty() && company_.filed.contains(key.name); }

    // Below each header the library prints the texts of all keys that have this header. A key without a header is
    // printed as a header too.
    void check_headers(const Place &place, const std::vector<const Key *> &keys) {
        Names headers, with_lines;
        for (const Key *key : keys)
            if (has_lines(*key)) with_lines.insert(key->map);
        for (const Key *key : keys) {
            const std::string &header = key->map.empty() ? key->name : key->map;
            const bool is_repeated = !headers.insert(header).second;
            if (!is_repeated || !with_lines.contains(header) || !warned_.is_new(*key, "header-repeated")) continue;
            report_.warn("header-repeated", key->line,
                         "header " + shown(header) + " of " + name_of(*place.service, *place.element) +
                             " belongs to several keys; below each of them the lines of all are printed",
                         "give each key a header of its own");
        }
    }

    void check_name(const Place &place, const Key &key) {
        if (!has_lines(key)) return;
        const auto [first, is_first] = printers_.emplace(key.name, &place);
        if (is_first || !warned_.is_new(key, "key-in-two-elements")) return;
        report_.warn("key-in-two-elements", key.line,
                     "key " + shown(key.name) + " of " + name_of(*place.service, *place.element) + " is also in " +
                         name_of(*first->second->service, *first->second->element) + "; both print its lines",
                     "remove one of the keys");
    }

    const Company &company_;
    Warned &warned_;
    Report &report_;
    std::unordered_map<std::string_view, const Place *> printers_; // by name of the key
};

} // namespace

void check_doubles(const Switch &sw, Report &report) {
    const Elements elements(sw);
    Warned warned;
    for (const Display &display : displays_of(sw, elements))
        for (const auto &[number, company] : companies_of(display, elements))
            DoubleCheck(company, warned, report).run();
}

} // namespace sim
