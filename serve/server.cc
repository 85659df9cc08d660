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

constexpr int kMostEvents = 64; // that are handled before a moment of sending is looked for

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
    for (sim::Service &service : sw.services) {
        const bool is_named = std::ranges::find(options.services, service.name) != options.services.end();
        if (options.services.empty() || is_named)
            open(service, options.switch_name.value_or(sw.name), options.vdc.value_or(std::to_string(sw.vdc)));
    }
}

Server::~Server() {
    ::close(signals_);
    ::close(loop_);
}

void Server::open(sim::Service &service, const std::string &switch_name, const std::string &vdc) {
    add_faults(service, switch_, options_);
    const uint32_t die_after = std::exchange(service.faults.die_after, 0); // its process dies, and not its answer only
    auto served = std::make_unique<Served>(Served{this, &service, die_after, {nullptr, qarn_service_close}});
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
    const std::size_t max_data = qarn_service_max_data(opened);
    service.fragment_size = service.fragment_size != 0 ? std::min(service.fragment_size, max_data) : max_data;
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

// The request is kept until the last message has gone.
int Server::on_request(void *served, const qarn_service_request *request, qarn_service_reply *) {
    const Request kept(request,
                       [](const auto *freed) { qarn_service_request_free(const_cast<qarn_service_request *>(freed)); });
    Served &asked = *static_cast<Served *>(served);
    if (!asked.service->is_silent) asked.server->answer(asked, kept);
    return QARN_SERVICE_LATER;
}

// A store is what the request names, whether the description has one or not.
void Server::answer(Served &served, const Request &request) {
    const qarn_cfg_req_msg &message = message_of(request.get());
    switch_.store = sim::requested_folder(message);
    const auto start = Clock::now() + milliseconds(options_.delay);
    uint32_t number = 0;
    std::deque<sim::Message> messages = sim::answer(*served.service, message);
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
