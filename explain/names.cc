#include "explain/names.h"

namespace explain {

Names::Names(const sim::Switch &sw, const Senders &senders) : senders_(senders) {
    for (const sim::Service &service : sw.services) {
        by_sap_.emplace(service.sap, service.name);
        by_uuid_.emplace(static_cast<uint16_t>(service.uuid), service.name);
    }
}

std::string Names::of_service(uint32_t sap) const {
    const auto found = by_sap_.find(sap);
    return found != by_sap_.end() ? found->second : "SAP " + std::to_string(sap);
}

std::string Names::of_senders(Key element) const {
    std::string all;
    for (const uint32_t sap : senders_.of(element))
        all.append(all.empty() ? "" : "+").append(of_service(sap));
    if (!all.empty()) return all;
    const auto found = by_uuid_.find(element.uuid);
    return found != by_uuid_.end() ? found->second : "UUID " + std::to_string(element.uuid);
}

std::string Names::of_element(Key element) const {
    return of_senders(element).append(" ").append(text_of(element));
}

} // namespace explain
