// The faults of a service: what a switch description may make wrong with an answer, to try what a display then shows.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "sim/tlv.h"

namespace sim {

struct Message;

// The request that a service received last. Processes that are forked later share it, because a shell runs each command
// in a child process.
class LastRequest {
  public:
    LastRequest(); // throws std::system_error
    ~LastRequest();
    LastRequest(const LastRequest &) = delete;
    LastRequest &operator=(const LastRequest &) = delete;

    // Keep a request, and return the one before it; nothing if there is none. Throws std::system_error if memory runs
    // out.
    Bytes replace(const Bytes &request) const;

  private:
    int file_;
};

struct Faults {
    uint32_t delay = 0;                // before the first fragment, in units of the receive time-out
    uint32_t drip = 0;                 // between two fragments, in the same units
    uint32_t die_after = 0;            // fragments after which it sends nothing more; 0: it sends all
    bool twice = false;                // sends the answer a second time
    bool bad_stamp = false;            // its command messages have a wrong stamp
    std::optional<uint32_t> cut;       // bytes after which the reply ends; its fragments announce the whole reply
    std::optional<uint32_t> count;     // announced TLVs, in place of the true number
    std::optional<uint32_t> wrong_sap; // in its fragments, in place of its own
    std::shared_ptr<LastRequest> late; // set: it replies to the request before the one that it receives
};

// `count` and `cut`, in a whole reply.
void damage(const Faults &faults, Bytes &reply);
// `twice`, `die_after`, `delay` and `drip`, in an answer that begins at the transport's time `now`.
void disturb(const Faults &faults, uint64_t now, std::deque<Message> &answer);

} // namespace sim
