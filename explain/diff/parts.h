// A display as the parts that its elements have printed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "explain/origins.h"
#include "explain/subject.h"

namespace explain {

// What one element has printed in one block, wherever it stands.
struct Part {
    std::string service; // names, joined by "+"; "(platform)" for what no element has printed alone
    std::string element; // such as (45,1); empty: none
    std::string block;   // interface, VLAN or key under which it is printed; empty: none
    std::string text;

    bool is_same_as(const Part &other) const {
        return service == other.service && element == other.element && block == other.block;
    }
};

// In the order in which they begin. Each VLAN of a group has the group's parts: a group ends where a VLAN differs. Of
// the header, only the version counts; messages and the lines between levels do not.
std::vector<Part> parts_of(const Subject &subject, const Origins &origins);

// The parts as bytes, for another process. Of other bytes parts_in() throws std::runtime_error.
std::string packed(const std::vector<Part> &parts);
std::vector<Part> parts_in(std::string_view bytes);

} // namespace explain
