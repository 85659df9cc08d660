// The names of services and elements in explanations.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "explain/senders.h"
#include "sim/switch.h"

namespace explain {

class Names {
  public:
    Names(const sim::Switch &sw, const Senders &senders);

    std::string of_service(uint32_t sap) const;
    // Those that sent the element, joined by "+"; without any, the service that has the UUID.
    std::string of_senders(Key element) const;
    // Such as: ospf (334,1)
    std::string of_element(Key element) const;

  private:
    std::map<uint32_t, std::string> by_sap_;
    std::map<uint16_t, std::string> by_uuid_;
    const Senders &senders_;
};

} // namespace explain
