// One process that is all services of one description, for several switches at once:
//   test_services URL DESCRIPTION SWITCH...
// It prints "ready" once they are registered. Its services answer at once and never renew what the server has lost. A
// switch named "partial..." lacks the answer of the first service. One named "gone..." ends in the middle of the last
// answer of several, and stays in the roster, as a process that dies does. One named "strange..." registers under a
// name with control characters.
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "nats/connection.h"
#include "nats/registry.h"
#include "sim/description.h"
#include "sim/reply.h"

namespace {

class Program {
  public:
    Program(const std::string &url, const std::string &file, std::vector<std::string> names)
        : connection_(nats::connect({.url = url, .client_name = "services"}, nats::Reconnects::kNo)),
          registry_(connection_.get(), nats::Registry::Missing::kIsMade) {
        sim::load_description(sw_, file);
        sim::make_current(&sw_);
        for (const std::string &name : names) {
            const std::string all = "qarn." + nats::escaped(name) + ".1.*.*";
            natsSubscription *requests = nullptr;
            nats::check(natsConnection_Subscribe(&requests, connection_.get(), all.c_str(), take, this), "requests");
            subscriptions_.emplace_back(requests);
            claim(name);
        }
        nats::check(natsConnection_Flush(connection_.get()), "flush");
    }

    void renew() {
        for (nats::Registration &registration : registrations_)
            registry_.renew(registration);
    }

  private:
    void claim(const std::string &name) {
        for (const sim::Service &service : sw_.services) {
            nats::Registration &one = registrations_.emplace_back();
            one = {.place = {name, "1"},
                   .opcode = service.consumer ? uint32_t{QARN_OPC_REQUEST} : 0,
                   .sap = service.sap,
                   .name = service.name};
            one.uuid = service.uuid;
            one.host = "host";
            one.pid = 4711;
            one.since = 1772366400;
            if (name.starts_with("strange")) one.name = "\x1b[2J\n";
            one.answer = {100, 5};
            registry_.claim(one);
        }
    }

    static void take(natsConnection *, natsSubscription *, natsMsg *message, void *program) {
        const nats::Message request(message);
        static_cast<Program *>(program)->answer(request);
    }

    void answer(const nats::Message &request) {
        const std::string subject = natsMsg_GetSubject(request.get()), reply = natsMsg_GetReply(request.get());
        const uint32_t wanted = subject.find(".sap.") != std::string::npos ? *nats::last_number(subject) : 0;
        for (const sim::Service &service : sw_.services)
            if (wanted == 0 ? service.consumer : service.sap == wanted) answer(service, subject, request, reply);
        natsConnection_Flush(connection_.get());
    }

    void answer(const sim::Service &service, const std::string &subject, const nats::Message &request,
                const std::string &reply) {
        const bool is_first = &service == &sw_.services.front();
        if (service.is_silent || (is_first && subject.starts_with("qarn.partial"))) return;
        const std::string bytes(natsMsg_GetData(request.get()),
                                static_cast<std::size_t>(natsMsg_GetDataLength(request.get())));
        const auto *config_request = sim::as_request(bytes.data(), bytes.size());
        if (config_request == nullptr) return;
        for (const sim::Message &fragment : sim::answer(service, *config_request)) {
            natsConnection_Publish(connection_.get(), nats::answer_subject(reply, service.sap).c_str(),
                                   fragment.payload.data(), static_cast<int>(fragment.payload.size()));
            if (subject.starts_with("qarn.gone") && !is_first && &service == &sw_.services.back()) end();
        }
    }

    [[noreturn]] void end() {
        natsConnection_Flush(connection_.get());
        for (const nats::Registration &registration : registrations_)
            registry_.expire(registration);
        _exit(1);
    }

    sim::Switch sw_;
    nats::Connection connection_;
    nats::Registry registry_;
    std::vector<nats::Registration> registrations_;
    std::vector<nats::Subscription> subscriptions_;
};

} // namespace

int main(int argc, char **argv) try {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (argc < 4) return 2;
    Program program(argv[1], argv[2], {argv + 3, argv + argc});
    std::puts("ready");
    std::fflush(stdout);
    for (;;) {
        sleep(static_cast<unsigned>(nats::kRenewalPause.count()));
        program.renew();
    }
} catch (const std::exception &error) {
    std::fprintf(stderr, "test_services: %s\n", error.what());
    return 1;
}
