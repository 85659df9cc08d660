// Message transport. A message goes to the opened handle or to the service that has its SAP. A carrier may bring the
// messages of services from elsewhere. Without one, a service that receives a configuration request answers at once, in
// fragments that wait for the requester until they are due; only a fault makes a fragment due later. A handle first
// receives the messages that were sent to it, in order, then one fragment of each answer in turn, so that the replies
// of all services arrive interleaved as they do on a real switch. A receive that finds nothing waits for the next
// fragment, but never longer than its time-out.
#include "sim/mts.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>
#include <utility>

#include "platform/mts.h"
#include "sim/reply.h"
#include "sim/switch.h"

namespace sim {
namespace {

constexpr std::chrono::milliseconds kWatchInterval(500);
constexpr uint32_t kReceivedMark = 0x4d545331;

// The transport's record in an mts_msg. The payload is a block of exactly its size, so that sanitizers find a read
// beyond it.
struct Received {
    uint32_t mark, length;
    void *payload;
};
static_assert(sizeof(Received) <= sizeof(mts_msg::opaque));

Received received_in(const mts_msg *msg) {
    Received received;
    std::memcpy(&received, msg->opaque, sizeof received);
    return received.mark == kReceivedMark ? received : Received{};
}

bool hand_over(const Message &message, mts_msg *msg) {
    const std::size_t size = message.payload.size();
    const Received received{kReceivedMark, static_cast<uint32_t>(size), std::malloc(size)};
    if (received.payload == nullptr) return false;
    std::memcpy(received.payload, message.payload.data(), size); // NOLINT(bugprone-not-null-terminated-result): bytes
    std::memset(msg->opaque, 0, sizeof msg->opaque);
    std::memcpy(msg->opaque, &received, sizeof received);
    return true;
}

Transport::Endpoint *endpoint_of_sap(uint32_t sap) {
    for (auto &[handle, endpoint] : current().transport.endpoints)
        if (endpoint.sap == sap) return &endpoint;
    return nullptr;
}

Transport::Endpoint *endpoint_of_handle(uint32_t handle) {
    auto &endpoints = current().transport.endpoints;
    const auto found = endpoints.find(handle);
    return found != endpoints.end() ? &found->second : nullptr;
}

bool consumes(const Service &service, uint32_t opcode) {
    return service.consumer && opcode == QARN_OPC_REQUEST;
}

bool excludes(const qarn_cfg_req_msg &request, uint32_t sap) {
    const std::size_t count = std::min<std::size_t>(request.num_excl_saps, std::size(request.excl_saps));
    const uint32_t *end = request.excl_saps + count;
    return std::find(request.excl_saps, end, sap) != end;
}

void ask(const Service &service, const qarn_cfg_req_msg &request) {
    Transport::Endpoint *asker = endpoint_of_sap(request.src_sap);
    if (asker == nullptr || service.is_silent || excludes(request, service.sap)) return;
    std::deque<Message> fragments = answer(service, request);
    if (!fragments.empty()) asker->streams.push_back({service.sap, std::move(fragments)});
}

void send_to_service(const Service &service, uint32_t opcode, const void *payload, uint32_t length) {
    if (opcode != QARN_OPC_REQUEST) return;
    if (const qarn_cfg_req_msg *request = as_request(payload, length)) ask(service, *request);
}

// A service finishes one answer before it begins the next.
bool may_go_on(const std::vector<Transport::Stream> &streams, std::size_t at) {
    const auto begin = streams.begin();
    return std::none_of(begin, begin + static_cast<std::ptrdiff_t>(at),
                        [&](const auto &earlier) { return earlier.sap == streams[at].sap; });
}

// The stream whose next fragment has arrived, from the one whose turn it is; none if they are all still to come.
std::optional<std::size_t> arrived_stream(const Transport::Endpoint &endpoint) {
    const auto &streams = endpoint.streams;
    for (std::size_t i = 0; i < streams.size(); ++i) {
        const std::size_t at = (endpoint.turn + i) % streams.size();
        if (streams[at].fragments.front().due <= current().transport.now && may_go_on(streams, at)) return at;
    }
    return {};
}

std::optional<Message> next_fragment(Transport::Endpoint &endpoint) {
    const auto at = arrived_stream(endpoint);
    if (!at) return {};
    auto &fragments = endpoint.streams[*at].fragments;
    Message message = std::move(fragments.front());
    fragments.pop_front();
    endpoint.turn = *at + 1;
    if (fragments.empty()) {
        endpoint.streams.erase(endpoint.streams.begin() + static_cast<std::ptrdiff_t>(*at));
        endpoint.turn = *at;
    }
    return message;
}

std::optional<Message> next_queued(Transport::Endpoint &endpoint, uint32_t opcode) {
    const auto queued = std::ranges::find(endpoint.queue, opcode, &Message::opcode);
    if (queued == endpoint.queue.end()) return {};
    Message message = std::move(*queued);
    endpoint.queue.erase(queued);
    return message;
}

// When the next fragment arrives; never if no service has anything left to send.
std::optional<uint64_t> next_arrival(const Transport::Endpoint &endpoint, uint32_t opcode) {
    std::optional<uint64_t> next;
    if (opcode != QARN_OPC_REPLY) return next;
    const auto &streams = endpoint.streams;
    for (std::size_t at = 0; at < streams.size(); ++at) {
        const uint64_t due = streams[at].fragments.front().due;
        if (may_go_on(streams, at) && due < next.value_or(UINT64_MAX)) next = due;
    }
    return next;
}

// Wait for the next arrival, or for the whole time-out if the next arrival is later. A time-out of 0 never ends.
void wait_for_message(const Transport::Endpoint &endpoint, uint32_t opcode, uint32_t timeout) {
    Transport &transport = current().transport;
    const auto arrival = next_arrival(endpoint, opcode);
    if (arrival && (timeout == 0 || *arrival - transport.now <= timeout))
        return transport.wait(*arrival - transport.now, timeout);
    if (timeout != 0) return transport.wait(timeout, timeout);
    transport.wait_for_deadline();
}

// The services of the switch, in this process.
class InProcessCarrier : public Carrier {
  public:
    std::vector<uint32_t> consumers(uint32_t opcode) override {
        std::vector<uint32_t> saps;
        for (const Service &service : current().services)
            if (consumes(service, opcode)) saps.push_back(service.sap);
        return saps;
    }

    int send(uint32_t sap, uint32_t opcode, const Bytes &payload) override {
        const auto &services = current().services;
        const auto length = static_cast<uint32_t>(payload.size());
        if (sap == 0) {
            for (const Service &service : services)
                if (consumes(service, opcode)) send_to_service(service, opcode, payload.data(), length);
            return 0;
        }
        const auto service = std::ranges::find(services, sap, &Service::sap);
        if (service == services.end()) return EPIPE;
        send_to_service(*service, opcode, payload.data(), length);
        return 0;
    }

    Arrival receive(Transport::Endpoint &endpoint, uint32_t opcode, uint32_t timeout) override {
        const auto next = [&] { return opcode == QARN_OPC_REPLY ? next_fragment(endpoint) : std::nullopt; };
        auto message = next();
        if (!message) {
            wait_for_message(endpoint, opcode, timeout);
            message = next();
        }
        return message ? Arrival{0, std::move(*message)} : Arrival{ETIME, {}};
    }
};

Carrier &carrier() {
    static InProcessCarrier in_process;
    const auto &chosen = current().transport.carrier;
    return chosen ? *chosen : in_process;
}

void report(const Switch &sw, const Carrier::Arrival &arrival) {
    for (Observer *observer : sw.observers)
        arrival.error == 0 ? observer->received(arrival.message) : observer->received_nothing(arrival.error);
}

int send_observed(const Switch &sw, uint32_t sap, uint32_t opcode, const Bytes &payload) {
    for (Observer *observer : sw.observers)
        observer->sent(sap, opcode, payload);
    const int error = carrier().send(sap, opcode, payload);
    for (Observer *observer : sw.observers)
        if (error != 0) observer->send_failed(error);
    return error;
}

int32_t fail(int error) {
    errno = error;
    return -1;
}

// Waits for a blocked SIGINT, and takes it.
bool takes_interruption_before(Moment end) {
    using std::chrono::nanoseconds, std::chrono::steady_clock;
    sigset_t interruption;
    sigemptyset(&interruption);
    sigaddset(&interruption, SIGINT);
    do {
        constexpr nanoseconds kHour = std::chrono::hours(1);
        const auto now = steady_clock::now();
        const nanoseconds left = std::min(end ? std::max(*end, now) - now : kHour, kHour);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const struct timespec time = {seconds.count(), (left - seconds).count()};
        if (sigtimedwait(&interruption, nullptr, &time) == SIGINT) return true;
    } while (!end || steady_clock::now() < *end); // another signal, or more than an hour
    return false;
}

} // namespace

void WatchedWait::call() {
    using Clock = std::chrono::steady_clock;
    watch_->next = Clock::now() + kWatchInterval;
    watch_->waiting(limit_ ? std::optional(*limit_ - Clock::now()) : std::nullopt);
    is_followed_ = true;
}

void WatchedWait::end() {
    if (!is_followed_) return;
    is_followed_ = false;
    watch_->ended();
    watch_->next = std::chrono::steady_clock::now(); // of the next wait at once
}

uint32_t Transport::open(uint32_t sap) {
    const uint32_t handle = endpoints.empty() ? 1 : endpoints.rbegin()->first + 1;
    endpoints[handle].sap = sap;
    return handle;
}

void Transport::wait(uint64_t units, uint64_t timeout) {
    const auto begin = std::chrono::steady_clock::now();
    const std::chrono::steady_clock::time_point end = begin + unit * units;
    Moment limit = deadline;
    if (timeout != 0) {
        const std::chrono::steady_clock::time_point own = begin + unit * timeout;
        limit = std::min(own, deadline.value_or(own));
    }
    const bool is_in_time = !deadline || end <= *deadline;
    const bool is_over = sleep_until(is_in_time ? Moment(end) : deadline, limit);
    if (is_in_time && is_over) now += units; // otherwise, what would arrive later never does
}

void Transport::wait_for_deadline() {
    sleep_until(deadline, deadline);
}

bool Transport::sleep_until(Moment end, Moment limit) {
    WatchedWait wait(watch, limit);
    for (Moment call = wait.next_call(); call && (!end || *call < *end); call = wait.next_call()) {
        if (!sleep_until(*call)) return false;
        wait.call();
    }
    return sleep_until(end);
}

// Without an end, only a signal ends the wait: one that ends the process, or an interruption that is heeded.
bool Transport::sleep_until(Moment end) {
    if (heeds_interruptions) {
        was_interrupted = takes_interruption_before(end);
        if (was_interrupted) deadline = std::chrono::steady_clock::now();
        return !was_interrupted;
    }
    while (!end)
        ::pause();
    std::this_thread::sleep_until(*end);
    return true;
}

void Transport::deliver(uint32_t handle, uint32_t opcode, Bytes payload) {
    endpoints[handle].queue.push_back({opcode, std::move(payload)});
}

const qarn_cfg_req_msg *request_in(const mts_msg *msg) {
    const Received received = received_in(msg);
    return as_request(received.payload, received.length);
}

extern "C" {

int32_t mts_opc_consumers_list(uint32_t handle, uint32_t opcode, uint32_t *consumers, uint32_t capacity) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("mts_opc_consumers_list", "%u, %u, %u", handle, opcode, capacity))
        return static_cast<int32_t>(outcome->result);
    const std::vector<uint32_t> saps = carrier().consumers(opcode);
    std::copy_n(saps.begin(), std::min<std::size_t>(saps.size(), capacity), consumers);
    return static_cast<int32_t>(saps.size());
}

uint32_t mts_sap_get(uint32_t handle) {
    const auto *endpoint = endpoint_of_handle(handle);
    return endpoint != nullptr ? endpoint->sap : 0;
}

int32_t mts_send(uint32_t handle, uint32_t address, uint32_t sap, uint32_t opcode, const void *payload, uint32_t length,
                 uint32_t, uint32_t, uint32_t) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("mts_send", "%u, 0x%x, %u, %u, %u", handle, address, sap, opcode, length))
        return static_cast<int32_t>(outcome->result);
    if (endpoint_of_handle(handle) == nullptr) return fail(EBADF);

    Bytes bytes;
    if (length != 0) bytes.assign(static_cast<const char *>(payload), length);
    if (sw.recording) sw.transport.sent.push_back({handle, address, sap, opcode, bytes});
    auto *endpoint = sap != 0 ? endpoint_of_sap(sap) : nullptr;
    if (endpoint != nullptr) {
        endpoint->queue.push_back({opcode, std::move(bytes)});
        return 0;
    }
    const int error = send_observed(sw, sap, opcode, bytes);
    return error == 0 ? 0 : fail(error);
}

int32_t mts_recv(uint32_t handle, struct mts_msg *msg, const struct qarn_recv_opts *opts) {
    Switch &sw = current();
    const uint32_t timeout = opts->word[MTS_OPT_TIMEOUT], opcode = opts->word[MTS_OPT_OPCODE];
    if (sw.recording) sw.transport.timeouts.push_back(timeout);
    if (const auto outcome = sw.enter("mts_recv", "%u, %u, %u", handle, timeout, opcode))
        return static_cast<int32_t>(outcome->result);
    auto *endpoint = endpoint_of_handle(handle);
    if (endpoint == nullptr) return fail(EBADF);

    for (Observer *observer : sw.observers)
        observer->receives();
    auto queued = next_queued(*endpoint, opcode);
    const Carrier::Arrival arrival =
        queued ? Carrier::Arrival{0, std::move(*queued)} : carrier().receive(*endpoint, opcode, timeout);
    report(sw, arrival);
    if (arrival.error != 0) return fail(arrival.error);
    return hand_over(arrival.message, msg) ? 0 : fail(ENOMEM);
}

void *mts_payload_get(struct mts_msg *msg) {
    if (current().enter("mts_payload_get")) return nullptr;
    return received_in(msg).payload;
}

int32_t mts_drop(uint32_t handle, struct mts_msg *msg) {
    if (const auto outcome = current().enter("mts_drop", "%u", handle)) return static_cast<int32_t>(outcome->result);
    const Received received = received_in(msg);
    if (received.mark == 0) return fail(EINVAL); // dropped before, or never received
    std::free(received.payload);
    std::memset(msg->opaque, 0, sizeof msg->opaque);
    return 0;
}

} // extern "C"

} // namespace sim
