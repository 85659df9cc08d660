// What the checks of all subjects share: the list of warnings, and the words that messages use.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "sim/findings.h"
#include "sim/service.h"

namespace sim {

class Report {
  public:
    explicit Report(bool is_whole) : is_whole_(is_whole) {}

    void warn(const char *name, uint32_t line, const std::string &message, const std::string &advice);
    // False if a part of the description could not be read. What seems to be missing may then be in that part.
    bool is_whole() const { return is_whole_; }
    Findings take() { return std::move(findings_); }

  private:
    const bool is_whole_;
    Findings findings_;
};

// "vlan/2"
std::string name_of(const Service &service, const Element &element);
// In quotes, with \n for a newline.
std::string shown(std::string_view name);
// "first" or "first (and 3 more)"
std::string and_more(const std::string &first, std::size_t count);

// The elements of the VLAN service that list VLANs.
constexpr uint32_t kVlans = 2, kVlanConfigurations = 5;
bool lists_vlans(const Service &service, const Element &element);
// The name under which the texts of a VLAN are filed; the display prints the VLAN under the same line.
std::string vlan_line(const Element &element, uint32_t vlan);

} // namespace sim
