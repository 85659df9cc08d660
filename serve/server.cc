#include "serve/server.h"

#include <signal.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "sim/notation.h"
#include "sim/reply.h"
#include "sim/store.h"

namespace serve {
namespace {

using std::chrono::milliseconds;

constexpr int kMostEvents = 64;            // that are handled before a moment of sending is looked for
constexpr std::size_t kMostWaiting = 1000; // messages, before a further request is dropped

int checked(int descriptor, const char *what) {
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), what);
    return descriptor;
}

int open_signals() {
    sigset_t signals;
    pthread_sigmask(SIG_BLOCK, nullptr, &signals);
    return checked(signalfd(-1, &signals, SFD_CLOEXEC), "signals");
}

void print(void *, const char *text) {
    std::fprintf(stderr, "qarn-service: %s\n", text);
}

void throw_if(int code, const qarn_service_error &error) {
    if (code != QARN_SERVICE_OK) throw std::runtime_error(error.text);
}

// A process of its own has no function in a library that the shell loads, in place of which it answers.
bool answers_in_the_shell(const sim::Service &service, const sim::Switch &sw) {
    return std::ranges::find(sw.in_process, service.sap, &sim::InProcess::sap) != sw.in_process.end();
}

void add_faults(sim::Service &service, const sim::Switch &sw, const Options &options) {
    service.is_silent = (service.is_silent && !answers_in_the_shell(service, sw)) || options.silent;
    service.faults.twice = service.faults.twice || options.twice;
    if (options.die_after) service.faults.die_after = *options.die_after;
    if (options.wrong_sap) service.faults.wrong_sap = options.wrong_sap;
}

const qarn_cfg_req_msg &message_of(const qarn_service_request *request) {
    const void *bytes = nullptr;
    std::size_t size = 0;
    qarn_service_request_bytes(request, &bytes, &size);
    return *sim::as_request(bytes, size); // which the library has checked
}

} // namespace

Server::Server(sim::Switch &sw, const Options &options)
    : switch_(sw), options_(options), loop_(checked(epoll_create1(EPOLL_CLOEXEC), "epoll")), signals_(open_signals()) {
    watch(signals_, nullptr);
    const std::string name = options.switch_name.value_or(sw.name);
    if (sim::printable(name) != name)
        throw std::runtime_error("the name of the switch has a control character: \"" + sim::printable(name) +
                                 "\"; choose another one with --switch-name");
    for (sim::Service &service : sw.services) {
        const bool is_named = std::ranges::find(options.services, service.name) != options.services.end();
        if (options.services.empty() || is_named) open(service, name, options.vdc.value_or(std::to_string(sw.vdc)));
    }
}

Server::~Server() {
    ::close(signals_);
    ::close(loop_);
}

void Server::open(sim::Service &service, const std::string &switch_name, const std::string &vdc) {
    add_faults(service, switch_, options_);
    const uint32_t die_after = std::exchange(service.faults.die_after, 0); // its process dies, and not its answer only
    auto served = std::make_unique<Served>(
        Served{this, &service, die_after, service.fragment_size, {nullptr, qarn_service_close}});
    qarn_service_options options = {};
    options.size = sizeof options;
    options.url = options_.url.c_str();
    options.credentials = options_.credentials ? options_.credentials->c_str() : nullptr;
    options.switch_name = switch_name.c_str();
    options.vdc = vdc.c_str();
    options.name = service.name.c_str();
    options.sap = service.sap;
    options.uuid = service.uuid;
    options.by_sap_only = service.consumer ? 0 : 1;
    options.event = print;
    qarn_service *opened = nullptr;
    qarn_service_error error;
    throw_if(qarn_service_open(&options, on_request, served.get(), &opened, &error), error);
    served->connected.reset(opened);
    watch(qarn_service_descriptor(opened), served.get());
    served_.push_back(std::move(served));
}

void Server::watch(int descriptor, Served *served) const {
    epoll_event event = {.events = EPOLLIN, .data = {.ptr = served}};
    checked(epoll_ctl(loop_, EPOLL_CTL_ADD, descriptor, &event), "epoll");
}

void Server::run() {
    epoll_event events[kMostEvents];
    for (;;) {
        const int count = epoll_wait(loop_, events, kMostEvents, milliseconds_to_next());
        for (int i = 0; i < count; ++i) {
            const auto *const served = static_cast<Served *>(events[i].data.ptr);
            if (served == nullptr) return; // a signal
            qarn_service_error error;
            throw_if(qarn_service_process(served->connected.get(), &error), error);
        }
        send_due();
    }
}

int Server::milliseconds_to_next() const {
    if (sendings_.empty()) return -1;
    const auto left = std::chrono::ceil<milliseconds>(sendings_.begin()->first - Clock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, INT_MAX));
}

// No exception may pass through the library. The request belongs to this program once it is in a Request.
int Server::on_request(void *served, const qarn_service_request *request, qarn_service_reply *) try {
    Served &asked = *static_cast<Served *>(served);
    Server &server = *asked.server;
    std::deque<sim::Message> messages;
    if (server.has_room() && !asked.service->is_silent) messages = server.messages_for(asked, request);
    try {
        const auto free = [](const auto *freed) {
            qarn_service_request_free(const_cast<qarn_service_request *>(freed));
        };
        server.keep(asked, Request(request, free), std::move(messages));
    } catch (const std::exception &failure) {
        print(nullptr, ("an answer was not sent: " + std::string(failure.what())).c_str());
    }
    return QARN_SERVICE_LATER;
} catch (const std::exception &failure) {
    print(nullptr, ("a request could not be answered: " + std::string(failure.what())).c_str());
    return QARN_SERVICE_INVALID; // the library answers with a failure
}

bool Server::has_room() {
    const bool was_full = std::exchange(is_full_, sendings_.size() >= kMostWaiting);
    if (is_full_ && !was_full)
        print(nullptr,
              (std::to_string(kMostWaiting) + " messages wait to be sent; further requests are dropped").c_str());
    return !is_full_;
}

// A store is what the request names, whether the description has one or not. The server's limit may be another one
// after a reconnection.
std::deque<sim::Message> Server::messages_for(Served &served, const qarn_service_request *request) {
    const qarn_cfg_req_msg &message = message_of(request);
    const std::size_t max_data = qarn_service_max_data(served.connected.get());
    served.service->fragment_size = served.fragment_size != 0 ? std::min(served.fragment_size, max_data) : max_data;
    switch_.store = sim::requested_folder(message);
    return sim::answer(*served.service, message);
}

// The request is kept until the last message has gone.
void Server::keep(Served &served, const Request &request, std::deque<sim::Message> messages) {
    const auto start = Clock::now() + milliseconds(options_.delay);
    uint32_t number = 0;
    for (sim::Message &one : messages) {
        const auto due = start + milliseconds(options_.timeout_unit) * one.due + milliseconds(options_.drip) * number;
        const bool is_the_last = ++number == served.die_after && number < messages.size();
        sendings_.emplace(due, Sending{&served, request, std::move(one.payload), is_the_last});
    }
    send_due();
}

void Server::send_due() {
    while (!sendings_.empty() && sendings_.begin()->first <= Clock::now()) {
        const auto next = sendings_.extract(sendings_.begin());
        send(next.mapped());
    }
}

void Server::send(const Sending &sending) {
    qarn_service_error error;
    const int code = qarn_service_send(sending.served->connected.get(), sending.request.get(), sending.message.data(),
                                       sending.message.size(), &error);
    if (code != QARN_SERVICE_OK)
        print(nullptr, ("service " + sim::quoted(sending.served->service->name) + ": " + error.text).c_str());
    if (sending.is_the_last) raise(SIGKILL);
}

} // namespace serve
