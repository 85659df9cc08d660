// Somebody who follows what passes between the library and the switch during a command.
#pragma once

#include <cstdint>
#include <string_view>

#include "sim/facts.h"
#include "sim/tlv.h"

namespace sim {

struct Message;

class Observer {
  public:
    Observer() = default;
    virtual ~Observer() = default;
    Observer(const Observer &) = delete;
    Observer &operator=(const Observer &) = delete;

    // The library prints a text to the output, made from a format. `argument` is what the format "%s" was given; null
    // for every other format.
    virtual void printed(const char *format, const char *argument, std::string_view text) = 0;
    // A program has printed the saved text.
    virtual void program_printed(std::string_view) {}
    // The shell has rendered a command message for the library.
    virtual void rendered(std::string_view text) = 0;
    // The library asks a service; SAP 0: every consumer of the opcode.
    virtual void sent(uint32_t sap, uint32_t opcode, const Bytes &payload) = 0;
    virtual void receives() {}       // the library begins to receive; it has decoded what came before
    virtual void send_failed(int) {} // the last one, with this errno
    virtual void received(const Message &message) = 0;
    // A receive has ended without a message, with this errno.
    virtual void received_nothing(int error) = 0;
    // Something outside of the switch has been looked at.
    virtual void learned(const Fact &) {}
};

} // namespace sim
