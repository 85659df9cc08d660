// The faults of a service in a switch description. A bad_stamp or wrong_sap that could have no effect is an
// error.
#include "sim/description/faults.h"

#include <algorithm>
#include <system_error>

#include "sim/notation.h"

namespace sim {
namespace {

constexpr uint32_t kLongestTime = 86400; // units; far beyond every time-out

std::optional<uint32_t> optional_number(const Mapping &entry, std::string_view key, uint32_t low) {
    if (!entry.has(key)) return {};
    return entry.number(key, low, UINT32_MAX);
}

std::shared_ptr<LastRequest> last_request(const Document &document, const YAML::Node &node) {
    try {
        return std::make_shared<LastRequest>();
    } catch (const std::system_error &error) {
        document.fail(node, Error::kUnreadable,
                      std::string("no memory for the request of a late service: ") + error.what());
    }
}

} // namespace

void read_faults(const Document &document, const Mapping &entry, Service &service) {
    Faults &faults = service.faults;
    faults.delay = entry.number("delay", 1, kLongestTime, 0);
    faults.drip = entry.number("drip", 1, kLongestTime, 0);
    faults.die_after = entry.number("die_after", 1, UINT32_MAX, 0);
    faults.cut = optional_number(entry, "cut", 0);
    faults.count = optional_number(entry, "count", 0);
    faults.wrong_sap = optional_number(entry, "wrong_sap", 0);
    faults.twice = entry.flag("twice", false);
    faults.bad_stamp = entry.flag("bad_stamp", false);
    if (entry.flag("late", false)) faults.late = last_request(document, entry["late"]);
    if (faults.wrong_sap == service.sap) {
        document.fail(entry["wrong_sap"], Error::kConflict,
                      "wrong_sap of service " + quoted(service.name) + " is its own SAP; give any other");
    }
}

void check_faults(const Document &document, const YAML::Node &entry, const Service &service) {
    const auto sends_commands = [](const Element &element) {
        return element.val_type == QARN_VAL_COMMAND && !element.intf_texts.empty();
    };
    if (!service.faults.bad_stamp || std::ranges::any_of(service.elements, sends_commands)) return;
    document.fail(entry["bad_stamp"], Error::kConflict,
                  "service " + quoted(service.name) +
                      " sends no command messages; bad_stamp needs an element with interfaces and values: command");
}

} // namespace sim
