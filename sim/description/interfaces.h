// The interfaces and port profiles of a switch description.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "sim/description/document.h"
#include "sim/description/references.h"
#include "sim/switch.h"

namespace sim {

// Turn a text without indentation into the lines below a header: each indented by two blanks and ended by a newline.
std::string as_block(std::string_view lines);

class PortProfiles {
  public:
    explicit PortProfiles(Switch &sw) : sw_(sw) {}

    void read(const Document &document, const YAML::Node &node);
    // The name of a port profile of the switch.
    std::string named(const Document &document, const YAML::Node &node) const;
    LeftOut &left_out() { return left_out_; }

  private:
    Switch &sw_;
    LeftOut left_out_;
};

// Reads the interfaces, and then finds them for the elements that refer to them.
class Interfaces {
  public:
    Interfaces(const Document &document, Switch &sw, const PortProfiles &profiles)
        : document_(document), sw_(sw), profiles_(profiles) {}

    void read(const YAML::Node &node);
    // The index of the interface called `name`. An error is reported at `node`, which holds the name.
    uint32_t index_of(const YAML::Node &node, const std::string &name) const;
    LeftOut &left_out() { return left_out_; } // names in lower case

  private:
    void read_entry(const YAML::Node &node);
    void leave_out(const YAML::Node &node);
    void read_members(const YAML::Node &node);
    void add(const Mapping &entry, const Interface &interface);

    const Document &document_;
    Switch &sw_;
    const PortProfiles &profiles_;
    LeftOut left_out_;
    std::unordered_map<std::string, uint32_t> indexes_;   // by name in lower case
    std::unordered_map<uint32_t, std::size_t> positions_; // in Switch::interfaces, by index
};

} // namespace sim
