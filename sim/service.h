// The services of a switch: their elements as data, and the reply that a service makes of them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <qarncli/qarncli.h>

#include "sim/fault.h"
#include "sim/tlv.h"

namespace sim {

// `line` is where the switch description describes the record; 0 for a switch that is made in code.

struct Dependency {
    uint32_t uuid, elem_id, type = QARN_DEP_ORDER;
    uint32_t line = 0;
};
struct Key {
    uint32_t index;  // interface index or VLAN id
    std::string map; // header; empty: the name is the header
    std::string name;
    uint32_t line = 0;
};
struct KeyString {
    KeyString(std::string of, std::string lines, uint32_t at = 0)
        : name(std::move(of)), text(std::move(lines)), line(at) {}

    std::string name, text;
    uint32_t line;
};

// One configuration element.
struct Element {
    uint32_t id = 0, level = 0, property = 0;
    bool every_view = false;  // carries the property bit of the view that a command requests, except the VLAN view
    std::string port_profile; // set: the element configures that port profile; a display of the profile shows only it
    uint32_t val_type = QARN_VAL_TEXT;
    std::string text;
    std::vector<std::pair<uint32_t, std::string>> intf_texts; // with QARN_VAL_COMMAND sent as command messages
    std::vector<Key> keys;                                    // of the VLAN service: index is the VLAN id
    std::vector<KeyString> key_strings;
    std::vector<Dependency> dependencies;
    std::optional<uint32_t> secret; // words of each line of its texts that are no secret; none: nothing is
    uint32_t line = 0;
};

struct Service {
    std::string name;
    uint32_t sap = 0, uuid = 0;
    bool consumer = true; // registered for configuration requests; otherwise reached by its SAP only
    std::vector<Element> elements;
    uint32_t line = 0;

    uint32_t status = 0;           // non-zero: the failure status of its replies
    bool is_silent = false;        // never answers on the transport
    std::size_t fragment_size = 0; // bytes of data per fragment; 0: the transport's setting
    Faults faults;
    // Replaces the elements: returns the whole qarn_cfg_reply for a request.
    std::function<Bytes(const qarn_cfg_req_msg &)> script;

    Service &replies(const Tlv &tlv); // `script` returns this array
    Service &silent();
    Element &element(uint32_t id, uint32_t level, uint32_t property = 0);
};

// The reply of a service from its elements, reduced by the filters of the request.
Bytes answer_from_elements(const Service &service, const qarn_cfg_req_msg &request);

} // namespace sim
