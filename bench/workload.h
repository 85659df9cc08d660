// Generated switches, for the benchmarks. Every service's reply is built and cut into fragments beforehand, so that a
// run measures the library and the transport's queue only. The same shape always makes the same switch.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/switch.h"

namespace bench {

enum class Chain { kNone, kAscending, kDescending };

// What a switch has. Numbers "per service" count for each service.
struct Shape {
    int interfaces = 0;
    int services = 1;

    int interface_elements = 0;       // per service: elements with a text for interfaces
    int interface_services = 0;       // services that have those; 0: all
    int spread = 0;                   // interfaces that each of them has a text for; 0: all
    int shared_lines = 0;             // instead: lines of every interface, shared out to the services
    bool lines_apart = false;         // each of those in an element of its own, not one text per service
    int empty_interface_elements = 0; // per service: without a text for any interface

    int elements = 0;           // per service: elements with text of their own
    bool of_interfaces = false; // those are interface elements too
    int texts = 1;              // TLVs that make up an element's text
    int edges = 0;              // elements of the same service that each element waits for
    int random_edges = 0;       // elements anywhere on the switch that each element waits for
    Chain chain = Chain::kNone; // every element of the switch waits for the next lower, or next higher, one
    int resent = 0;             // elements that every service sends again, each time with another text

    int vlans = 0;
    int vlan_elements = 1; // per service: elements with a text for every VLAN
    int keys = 0;          // headers of key tables
    int key_elements = 1;  // per service: elements with a text for every key
    bool one_map = false;  // all keys share one header
    int unused_names = 0;  // per service: key strings that nothing prints

    int feature_keys = 0; // key strings of a service whose configuration alone is asked for

    int padding = 0; // characters added to every line
    std::size_t fragment_size = 4096;
};

// A switch that the reports know by name: the whole switches "S", "M" and "L", and the shapes that stress one thing.
struct NamedShape {
    const char *name;
    Shape shape;
};
const std::vector<NamedShape> &named_shapes();
// Their names, in the same order.
std::vector<std::string> shape_names();
// Throws when there is no such shape.
const Shape &shape_of(std::string_view name);

// Fills a switch and queues the replies of its services, fragments in turn, for a new handle; returns the handle.
uint32_t set_up(sim::Switch &sw, const Shape &shape);

// SAP of the service with the feature's key strings.
constexpr uint32_t kFeatureSap = 900;

} // namespace bench
