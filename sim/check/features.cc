// Elements that a feature lists and that none of its services has.
#include <algorithm>

#include "sim/check/subjects.h"
#include "sim/notation.h"

namespace sim {
namespace {

bool has_element(const Service &service, uint32_t id) {
    return id == 0 || std::ranges::find(service.elements, id, &Element::id) != service.elements.end();
}

bool is_asked_for(const Switch &sw, const Feature &feature, const ElementReference &shown) {
    return std::ranges::any_of(sw.services, [&](const Service &service) {
        return service.uuid == shown.uuid && has_element(service, shown.id) &&
               std::ranges::find(feature.saps, service.sap) != feature.saps.end();
    });
}

std::string name_of(const Switch &sw, const ElementReference &shown) {
    const auto found = std::ranges::find(sw.services, shown.uuid, &Service::uuid);
    return (found != sw.services.end() ? found->name : std::to_string(shown.uuid)) + "/" + std::to_string(shown.id);
}

} // namespace

void check_features(const Switch &sw, Report &report) {
    if (!report.is_whole()) return; // the element may be missing
    for (const auto &[name, feature] : sw.features) {
        for (const ElementReference &shown : feature.elements) {
            if (is_asked_for(sw, feature, shown)) continue;
            report.warn("feature-element-nobody", shown.line,
                        "feature " + quoted(name) + " shows " + name_of(sw, shown) +
                            ", an element that none of its services has",
                        "correct the reference, or add the service to the feature");
        }
    }
}

} // namespace sim
