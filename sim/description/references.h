// References from one part of a switch description to the services and elements of another part.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "sim/description/document.h"
#include "sim/switch.h"

namespace sim {

// The names of items that a check left out because of their errors. A reference to one of them is no error of its own.
class LeftOut {
  public:
    void add(const std::string &name) { names_.insert(name); }
    void add_unknown() { any_ = true; } // an item whose name cannot be read
    // Throws FollowUp if the item may have been left out.
    void excuse(const std::string &name) const {
        if (any_ || names_.contains(name)) throw FollowUp();
    }

  private:
    bool any_ = false;
    std::unordered_set<std::string> names_;
};

// The services that have been read, and their unique names, SAPs and UUIDs.
class ServiceNames {
  public:
    // Fails if another service has the name, the SAP or the UUID of this one. The service must stay where it is.
    void check_unique(const Document &document, const Mapping &entry, const Service &service) const;
    void add(const Service &service);
    LeftOut &left_out() { return left_out_; }

    // The service that the node names; messages call the node `what`.
    const Service &named(const Document &document, const YAML::Node &node, const std::string &what) const;

  private:
    std::unordered_map<std::string, const Service *> by_name_;
    std::unordered_map<uint32_t, const Service *> by_sap_, by_uuid_;
    LeftOut left_out_;
};

// The UUID and the element id in a pair [service name or UUID, element id].
std::pair<uint32_t, uint32_t> element_reference(const Document &document, const YAML::Node &node,
                                                const std::string &what, const ServiceNames &services);

} // namespace sim
