// The message transport of a switch: its handles, and the messages that wait for them.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <qarncli/message.h>

#include "sim/script.h"
#include "sim/tlv.h"

struct mts_msg;

namespace sim {

struct Message {
    uint32_t opcode;
    Bytes payload;
    uint64_t due = 0; // earliest time of arrival, of a fragment that a service still has to send
    // When it came after the beginning of an earlier command that is replayed.
    std::optional<std::chrono::nanoseconds> came_after = {};
};

// Somebody who follows the waits of receives. The time left is that until the receive gives up; none: it never does.
struct Watch {
    std::chrono::steady_clock::time_point next;                                // no call comes earlier
    std::function<void(std::optional<std::chrono::nanoseconds> left)> waiting; // twice a second
    std::function<void()> ended;                                               // after calls, before the receive ends
};

using Moment = std::optional<std::chrono::steady_clock::time_point>; // none: never

// One wait of a receive, which gives up at `limit`, and its calls of the watch.
class WatchedWait {
  public:
    WatchedWait(std::optional<Watch> &watch, Moment limit) : watch_(watch), limit_(limit) {}
    ~WatchedWait() { end(); }
    WatchedWait(const WatchedWait &) = delete;
    WatchedWait &operator=(const WatchedWait &) = delete;

    // When the watch is to be called next.
    Moment next_call() const { return watch_ ? Moment(watch_->next) : std::nullopt; }
    void call();
    void end(); // before anything else is shown

  private:
    std::optional<Watch> &watch_;
    Moment limit_;
    bool is_followed_ = false;
};

class Carrier;

struct Transport : TransportRecord {
    std::chrono::nanoseconds unit = std::chrono::seconds(1); // of the receive time-out
    std::size_t fragment_size = 4096;                        // bytes of reply per fragment
    // The transport's clock, in units. Only waiting moves it, so that the order of arrival does not depend on the
    // machine's speed.
    uint64_t now = 0;
    // No receive waits beyond this moment of the real clock. A command that asks many services, or services that send
    // slowly, waits for many time-outs.
    std::optional<std::chrono::steady_clock::time_point> deadline;
    // Wait for so many units, or until the deadline. The receive would wait for `timeout` units, or for ever if that is
    // 0.
    void wait(uint64_t units, uint64_t timeout = 0);
    void wait_for_deadline(); // for ever if there is none

    std::optional<Watch> watch; // none: nobody follows

    // Whether a SIGINT, which the process has blocked, ends the waits: what has not arrived by then never does.
    bool heeds_interruptions = false;
    bool was_interrupted = false;
    bool is_interrupted() { return heeds_interruptions && !sleep_until(std::chrono::steady_clock::now()); }

    std::shared_ptr<Carrier> carrier; // none: the switch's own services, in this process

    // Open a handle with a SAP of its own.
    uint32_t open(uint32_t sap);
    // Queue a message for a handle. It is received before everything the services still have to send.
    void deliver(uint32_t handle, uint32_t opcode, Bytes payload);

    // What a service still has to send.
    struct Stream {
        uint32_t sap; // of the service, whatever its fragments carry
        std::deque<Message> fragments;
    };
    struct Endpoint {
        uint32_t sap;
        std::deque<Message> queue;   // messages in order
        std::vector<Stream> streams; // one per answer, received in turn
        std::size_t turn = 0;
    };
    std::map<uint32_t, Endpoint> endpoints; // by handle

  private:
    bool sleep_until(Moment end); // false: it was interrupted
    bool sleep_until(Moment end, Moment limit);
};

// What carries messages between the handles of a switch and its services. What a handle sends to a handle does not pass
// through it.
class Carrier {
  public:
    Carrier() = default;
    virtual ~Carrier() = default;
    Carrier(const Carrier &) = delete;
    Carrier &operator=(const Carrier &) = delete;

    // Called once per command, in its process, before a handle is open. Throws if services cannot be reached.
    virtual void begin() {}
    virtual std::vector<uint32_t> consumers(uint32_t opcode) = 0;
    // Send to one service, or to every consumer of the opcode if `sap` is 0. Returns 0 or an errno.
    virtual int send(uint32_t sap, uint32_t opcode, const Bytes &payload) = 0;

    struct Arrival {
        int error; // errno, ETIME after the time-out; 0: there is a message
        Message message;
    };
    // The next message of a service. The time-out is in the transport's unit; 0 never ends.
    virtual Arrival receive(Transport::Endpoint &endpoint, uint32_t opcode, uint32_t timeout) = 0;

    // Why the request of the command was not sent; empty: it was, or the errno says it.
    virtual std::string why_not_sent() const { return ""; }
    // Why this service has sent no complete reply, such as "is not registered"; empty: it had time to.
    virtual std::string why_silent(uint32_t) const { return ""; }
};

// The request in a received message, for in-process services; null when the request is not complete.
const qarn_cfg_req_msg *request_in(const mts_msg *msg);

} // namespace sim
