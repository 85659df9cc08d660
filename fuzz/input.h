// What the targets share: the bytes of one input, and the switch on which it runs.
#pragma once

#include <qarncli/qarncli.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "sim/switch.h"
#include "support/globals.h"

namespace fuzz {

// The bytes of one input, read as whatever a target needs. After their end everything reads as zero.
class Input {
  public:
    Input(const uint8_t *data, std::size_t size) : rest_(reinterpret_cast<const char *>(data), size) {}

    bool empty() const { return rest_.empty(); }
    uint8_t byte() {
        if (rest_.empty()) return 0;
        const auto byte = static_cast<uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return byte;
    }
    uint32_t word16() {
        const uint32_t low = byte();
        return low | static_cast<uint32_t>(byte()) << 8;
    }
    uint32_t word() {
        const uint32_t low = word16();
        return low | word16() << 16;
    }
    // Up to `size` bytes.
    std::string bytes(std::size_t size) {
        std::string taken(rest_.substr(0, size));
        rest_.remove_prefix(taken.size());
        return taken;
    }

  private:
    std::string_view rest_;
};

// A switch on which nothing waits, current as long as it lives. The library starts as if it were just loaded.
class CurrentSwitch : public sim::Switch {
  public:
    CurrentSwitch() {
        test::reset_globals();
        transport.unit = std::chrono::nanoseconds(0);
        sim::make_current(this);
    }
    ~CurrentSwitch() { sim::make_current(nullptr); }
    CurrentSwitch(const CurrentSwitch &) = delete;
    CurrentSwitch &operator=(const CurrentSwitch &) = delete;

    void add_interface(uint32_t index, const std::string &port_name, uint32_t block) {
        sim::Interface &interface = interfaces.emplace_back();
        interface.index = index;
        interface.name = port_name;
        interface.block = block;
    }

    // A request that the shell accepted, with a transport handle of its own.
    qarn_req accepted_request() {
        qarn_req req = {};
        req.valid = 1;
        req.mts_handle = transport.open(4000);
        return req;
    }
};

inline void select_every_vsan(qarn_req &req) {
    std::memset(req.vsan_mask.bits, 0xff, sizeof req.vsan_mask.bits);
}

} // namespace fuzz
