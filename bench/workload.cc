// Builds what the services of a shape answer.
#include "bench/workload.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <stdexcept>
#include <vector>

#include "sim/reply.h"

namespace bench {
namespace {

constexpr uint32_t kFirstSap = 1000;
constexpr uint32_t kFirstInterface = 0x1a000000;
constexpr uint32_t kInterfaceLevel = 12, kKeyLevel = 3, kLevels = 11;

// Element ids of a service, by purpose.
constexpr uint32_t kPlainIds = 1, kInterfaceIds = 40000, kEmptyIds = 50000, kKeyIds = 60000;

constexpr uint32_t kSharedUuid = 500; // of the elements that every service sends

struct Reply {
    uint32_t sap;
    sim::Bytes bytes;
};

class Builder {
  public:
    Builder(sim::Switch &sw, const Shape &shape) : sw_(sw), shape_(shape) {}

    std::vector<Reply> replies() {
        add_interfaces();
        if (shape_.vlans > 0) add_vlans();
        if (shape_.keys > 0) add_keys();
        if (shape_.feature_keys > 0) add_feature();
        if (shape_.random_edges > 0) shuffle_elements();
        for (int service = 0; service < shape_.services; ++service)
            add_service(service);
        return std::move(replies_);
    }

  private:
    void reply(uint32_t sap, uint32_t uuid, const sim::Tlv &tlv) {
        sw_.service("service-" + std::to_string(sap), sap, uuid).silent();
        replies_.push_back({sap, tlv.reply()});
    }

    std::string line(const std::string &what) const {
        return "  " + what + std::string(static_cast<std::size_t>(shape_.padding), '.') + "\n";
    }

    void add_interfaces() {
        for (int i = 0; i < shape_.interfaces; ++i) {
            const auto index = kFirstInterface + static_cast<uint32_t>(i);
            sim::Interface &port = sw_.interfaces.emplace_back();
            port.index = index;
            port.name = "Ethernet1/" + std::to_string(i + 1);
            port.block = 1;
        }
        if (shape_.interfaces == 0) return;
        sim::Tlv tlv;
        tlv.element({.uuid = QARN_UUID_INTERFACE, .elem_id = 1, .level = kInterfaceLevel});
        reply(100, QARN_UUID_INTERFACE, tlv);
    }

    static std::string vlan_line(int vlan) { return "vlan " + std::to_string(vlan) + "\n"; }
    static std::string key_name(int key) { return "key-" + std::to_string(key); }

    void add_vlans() {
        sim::Tlv tlv;
        tlv.element({.uuid = QARN_UUID_VLAN, .elem_id = 2, .level = kKeyLevel});
        for (int vlan = 1; vlan <= shape_.vlans; ++vlan)
            tlv.key(static_cast<uint32_t>(vlan), "", vlan_line(vlan));
        reply(101, QARN_UUID_VLAN, tlv);
    }

    void add_keys() {
        sim::Tlv tlv;
        tlv.element({.uuid = 41, .elem_id = 1, .level = kKeyLevel});
        for (int key = 0; key < shape_.keys; ++key)
            tlv.key(0, shape_.one_map ? "class-map shared\n" : "class-map " + key_name(key) + "\n", key_name(key));
        reply(102, 41, tlv);
    }

    void add_feature() {
        sim::Tlv tlv;
        tlv.element({.uuid = 42, .elem_id = 1, .level = kKeyLevel});
        for (int key = 0; key < shape_.feature_keys; ++key)
            tlv.key_string("policy " + key_name(key) + "\n", line("action of " + key_name(key)));
        reply(kFeatureSap, 42, tlv);
    }

    void add_service(int service) {
        uuid_ = kFirstSap + static_cast<uint32_t>(service);
        name_ = "service-" + std::to_string(service);
        sim::Tlv tlv;
        add_elements(tlv);
        add_resent_elements(tlv);
        if (shape_.interface_services == 0 || service < shape_.interface_services) {
            add_interface_elements(tlv, service);
        }
        for (int e = 0; e < shape_.empty_interface_elements; ++e)
            open(tlv, kEmptyIds, e, QARN_PROP_INTF);
        add_key_strings(tlv);
        reply(uuid_, uuid_, tlv);
    }

    void add_elements(sim::Tlv &tlv) {
        for (int e = 0; e < shape_.elements; ++e) {
            const uint32_t id = kPlainIds + static_cast<uint32_t>(e);
            const bool one_level = shape_.chain != Chain::kNone || shape_.random_edges > 0;
            tlv.element({.uuid = uuid_,
                         .elem_id = id,
                         .level = one_level ? 1 : id % kLevels,
                         .property = shape_.of_interfaces ? uint32_t{QARN_PROP_INTF} : 0});
            for (int edge = 1; edge <= std::min(shape_.edges, e); ++edge)
                tlv.after(uuid_, kPlainIds + std::uniform_int_distribution<uint32_t>(0, id - 2)(random_));
            add_random_edges(tlv, id);
            add_chain(tlv, id);
            for (int text = 0; text < shape_.texts; ++text)
                tlv.text(line(name_ + " setting " + std::to_string(id) + "." + std::to_string(text)));
        }
    }

    // A random order of all elements. Each waits for elements that come earlier in it, so that there is no loop.
    void shuffle_elements() {
        order_.resize(static_cast<std::size_t>(shape_.services) * static_cast<std::size_t>(shape_.elements));
        std::iota(order_.begin(), order_.end(), 0);
        std::shuffle(order_.begin(), order_.end(), random_);
        place_.resize(order_.size());
        for (uint32_t place = 0; place < order_.size(); ++place)
            place_[order_[place]] = place;
    }

    void add_random_edges(sim::Tlv &tlv, uint32_t id) {
        if (shape_.random_edges == 0) return;
        const auto per_service = static_cast<uint32_t>(shape_.elements);
        const uint32_t place = place_[(uuid_ - kFirstSap) * per_service + id - kPlainIds];
        for (int edge = 0; edge < shape_.random_edges && place > 0; ++edge) {
            const uint32_t earlier = order_[std::uniform_int_distribution<uint32_t>(0, place - 1)(random_)];
            tlv.after(kFirstSap + earlier / per_service, kPlainIds + earlier % per_service);
        }
    }

    // The chain runs through all services.
    void add_chain(sim::Tlv &tlv, uint32_t id) const {
        const auto last = static_cast<uint32_t>(shape_.elements);
        const auto last_uuid = kFirstSap + static_cast<uint32_t>(shape_.services) - 1;
        if (shape_.chain == Chain::kAscending) {
            if (id > kPlainIds) tlv.after(uuid_, id - 1);
            if (id == kPlainIds && uuid_ > kFirstSap) tlv.after(uuid_ - 1, last);
        } else if (shape_.chain == Chain::kDescending) {
            if (id < last) tlv.after(uuid_, id + 1);
            if (id == last && uuid_ < last_uuid) tlv.after(uuid_ + 1, kPlainIds);
        }
    }

    void add_resent_elements(sim::Tlv &tlv) const {
        for (int e = 0; e < shape_.resent; ++e) {
            const uint32_t id = kPlainIds + static_cast<uint32_t>(e);
            tlv.element({.uuid = kSharedUuid, .elem_id = id, .level = id % kLevels});
            tlv.text(line(name_ + " adds to " + std::to_string(id)));
        }
    }

    int share_of_lines(int service) const {
        return shape_.shared_lines / shape_.services + (service < shape_.shared_lines % shape_.services ? 1 : 0);
    }

    int interface_elements(int service) const {
        if (shape_.shared_lines == 0) return shape_.interface_elements;
        return shape_.lines_apart ? share_of_lines(service) : 1;
    }

    int lines_of_text(int service) const {
        return shape_.shared_lines == 0 || shape_.lines_apart ? 1 : share_of_lines(service);
    }

    void add_interface_elements(sim::Tlv &tlv, int service) {
        const int lines = lines_of_text(service);
        const int spread = shape_.spread == 0 ? shape_.interfaces : std::min(shape_.spread, shape_.interfaces);
        for (int e = 0; e < interface_elements(service); ++e) {
            open(tlv, kInterfaceIds, e, QARN_PROP_INTF);
            for (int i = 0; i < spread; ++i) {
                const int port = (shape_.spread == 0 ? i : (e * spread + i) % shape_.interfaces) + 1;
                tlv.intf_text(kFirstInterface + static_cast<uint32_t>(port) - 1, interface_text(e, port, lines));
            }
        }
    }

    std::string interface_text(int element, int port, int lines) const {
        std::string text;
        for (int l = 1; l <= lines; ++l) {
            text += line(name_ + " line " + std::to_string(element) + "." + std::to_string(l) + " of port " +
                         std::to_string(port));
        }
        return text;
    }

    // Ten neighbouring VLANs have the same text.
    void add_key_strings(sim::Tlv &tlv) {
        int id = 0;
        for (int e = 0; shape_.vlans > 0 && e < shape_.vlan_elements; ++e) {
            open(tlv, kKeyIds, id++, 0);
            for (int vlan = 1; vlan <= shape_.vlans; ++vlan)
                tlv.key_string(vlan_line(vlan), line(name_ + " setting " + std::to_string(e) + " of group " +
                                                     std::to_string(vlan / 10)));
        }
        for (int e = 0; shape_.keys > 0 && e < shape_.key_elements; ++e) {
            open(tlv, kKeyIds, id++, 0);
            for (int key = 0; key < shape_.keys; ++key)
                tlv.key_string(key_name(key), line("match " + name_ + "." + std::to_string(e)));
        }
        if (shape_.unused_names == 0) return;
        open(tlv, kKeyIds, id, 0);
        for (int n = 0; n < shape_.unused_names; ++n)
            tlv.key_string("unused " + std::to_string(n), line("never printed"));
    }

    void open(sim::Tlv &tlv, uint32_t first_id, int element, uint32_t property) const {
        const uint32_t id = first_id + static_cast<uint32_t>(element);
        tlv.element({.uuid = uuid_, .elem_id = id, .level = id % kLevels, .property = property});
    }

    sim::Switch &sw_;
    const Shape &shape_;
    std::vector<Reply> replies_;
    std::mt19937 random_{1};
    std::vector<uint32_t> order_, place_; // elements counted through all services in the random order; and back
    uint32_t uuid_ = 0;                   // of the current service; also its SAP
    std::string name_;
};

// Queues one fragment of each reply in turn.
void queue_replies(sim::Switch &sw, uint32_t handle, const std::vector<Reply> &replies, std::size_t size) {
    std::vector<std::deque<sim::Message>> streams;
    streams.reserve(replies.size());
    for (const Reply &reply : replies)
        streams.push_back(sim::fragments(reply.sap, reply.bytes, size));
    for (bool more = true; more;) {
        more = false;
        for (auto &stream : streams) {
            if (stream.empty()) continue;
            sw.transport.deliver(handle, QARN_OPC_REPLY, std::move(stream.front().payload));
            stream.pop_front();
            more = true;
        }
    }
}

Shape small_switch() {
    return {
        .interfaces = 50, .services = 15, .interface_elements = 1, .elements = 10, .edges = 1, .vlans = 50, .keys = 20};
}

Shape medium_switch() {
    return {.interfaces = 2000,
            .services = 30,
            .interface_elements = 1,
            .elements = 100,
            .edges = 1,
            .vlans = 1000,
            .keys = 200};
}

// About 65,000 elements and 1,050,000 contributions.
Shape large_switch() {
    return {.interfaces = 20000,
            .services = 60,
            .interface_elements = 1,
            .interface_services = 40,
            .elements = 1083,
            .edges = 1,
            .vlans = 4094,
            .keys = 100};
}

} // namespace

const std::vector<NamedShape> &named_shapes() {
    static const std::vector<NamedShape> kShapes = {
        {"S", small_switch()},
        {"M", medium_switch()},
        {"L", large_switch()},
        {"random", {.services = 60, .elements = 1084, .random_edges = 2}},
        {"interface chain", {.services = 60, .elements = 1084, .of_interfaces = true, .chain = Chain::kDescending}},
        {"edges", {.services = 60, .elements = 500, .edges = 32}},
        {"re-sent", {.services = 128, .resent = 512}},
        {"feature keys", {.services = 0, .feature_keys = 100000}},
        {"full blocks", {.interfaces = 16, .services = 40, .interface_elements = 100}},
    };
    return kShapes;
}

std::vector<std::string> shape_names() {
    std::vector<std::string> names;
    for (const NamedShape &named : named_shapes())
        names.emplace_back(named.name);
    return names;
}

const Shape &shape_of(std::string_view name) {
    for (const NamedShape &named : named_shapes()) {
        if (named.name == name) return named.shape;
    }
    throw std::runtime_error("unknown shape \"" + std::string(name) + '"');
}

uint32_t set_up(sim::Switch &sw, const Shape &shape) {
    sw.version = "1.0";
    const uint32_t handle = sw.transport.open(1);
    queue_replies(sw, handle, Builder(sw, shape).replies(), shape.fragment_size);
    return handle;
}

} // namespace bench
