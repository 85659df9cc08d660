// Services behind a NATS server: the same display as from services in the process, and what is missing otherwise.
#include "transport/nats_carrier.h"

#include "nats/registry.h"
#include "sim/reply.h"
#include "support/story.h"
#include "transport/nats_server.h"

namespace {

constexpr uint32_t kOspf = 20, kBgp = 30;
const nats::Place kPlace = {"leaf 1.2", "1"};

// The process of all services of a switch.
class Services {
  public:
    Services(const sim::Switch &sw, const std::string &url)
        : sw_(sw),
          connection_(nats::connect({.url = url, .client_name = "services"}, nats::Reconnects::kNo)),
          registry_(connection_.get(), nats::Registry::Missing::kIsMade),
          requests_(nats::made<nats::Subscription>("requests", natsConnection_SubscribeSync, connection_.get(),
                                                   nats::opcode_subject(kPlace, QARN_OPC_REQUEST).c_str())) {
        for (const sim::Service &service : sw.services)
            claim({.place = kPlace, .opcode = QARN_OPC_REQUEST, .sap = service.sap, .name = service.name});
        natsConnection_Flush(connection_.get());
    }

    nats::Message next_request() const {
        natsMsg *request = nullptr;
        nats::check(natsSubscription_NextMsg(&request, requests_.get(), 60000), "request");
        return nats::Message(request);
    }

    // Every service answers `request`, where the answer to `asked` is expected.
    void answer(const nats::Message &request, const nats::Message &asked) const {
        const std::string bytes(natsMsg_GetData(request.get()),
                                static_cast<std::size_t>(natsMsg_GetDataLength(request.get())));
        const auto *wanted = sim::as_request(bytes.data(), bytes.size());
        for (const sim::Service &service : sw_.services) {
            if (service.is_silent) continue;
            const std::string subject = nats::answer_subject(natsMsg_GetReply(asked.get()), service.sap);
            for (const sim::Message &message : sim::answer(service, *wanted))
                natsConnection_Publish(connection_.get(), subject.c_str(), message.payload.data(),
                                       static_cast<int>(message.payload.size()));
        }
        natsConnection_Flush(connection_.get());
    }

    void leave(uint32_t sap) { registry_.remove({.place = kPlace, .opcode = QARN_OPC_REQUEST, .sap = sap}); }
    void claim(nats::Registration registration) { registry_.claim(registration); }

  private:
    const sim::Switch &sw_;
    nats::Connection connection_;
    nats::Registry registry_;
    nats::Subscription requests_;
};

void answer_all(Services &services) {
    for (;;) {
        const nats::Message request = services.next_request();
        services.answer(request, request);
    }
}

class NatsCarrier : public test::Story {
  protected:
    NatsCarrier() {
        sw.transport.fragment_size = 16;
        sw.transport.unit = std::chrono::seconds(1); // so that no answer comes too late
        sw.service("ospf", kOspf, 0x1c0).replies(test::line(0x1c0, "router ospf 1\n"));
        sw.service("bgp", kBgp, 0x1c1).replies(test::line(0x1c1, "router bgp 65001\n", 4));
    }

    // Run one command in this process, and then through the server.
    void compare() {
        sw.transport.carrier = nullptr;
        run();
        expected_ = text;
        run_through_server();
    }

    void start(const std::function<void(Services &)> &serve) {
        services_.emplace([&](int ready) {
            Services services(sw, server_.url);
            if (write(ready, "ready", 5) == 5) serve(services);
        });
        ASSERT_EQ(services_->wait_for("ready"), "ready");
    }

    void run_through_server(transport::Answers::Bounds bounds = {}) {
        sw.transport.carrier =
            transport::make_nats_carrier({.access = {.url = server_.url}, .place = kPlace, .bounds = bounds});
        watch([&] {
            sw.transport.carrier->begin();
            status = qarn_cli_run_cfg_gen(&req);
        });
    }

    test::NatsServer server_;
    std::optional<test::Process> services_;
    std::string expected_;
};

TEST_F(NatsCarrier, ShowsWhatServicesInTheProcessShow) {
    start(answer_all);
    compare();
    EXPECT_EQ(text, expected_);
    EXPECT_EQ(body(), "router ospf 1\n\nrouter bgp 65001\n\n");
    EXPECT_EQ(status, 0u);
}

TEST_F(NatsCarrier, WaitsForASilentServiceAsLongAsInTheProcess) {
    sw.service("mute", 40, 0x1c2).silent();
    sw.transport.unit = std::chrono::milliseconds(5);
    start(answer_all);
    compare();
    EXPECT_EQ(text, expected_);
    EXPECT_EQ(status, 1u);
}

// The ordinary time-out is longer than a test may take.
TEST_F(NatsCarrier, DoesNotWaitForAServiceThatIsNotRegistered) {
    sw.service("gone", 40, 0x1c2).silent();
    sw.transport.unit = std::chrono::nanoseconds(0);
    start([](Services &services) {
        const nats::Message request = services.next_request();
        services.answer(request, request);
        services.leave(40);
        answer_all(services);
    });
    run();
    expected_ = text;
    sw.transport.unit = std::chrono::seconds(1);
    for (const char *when : {"left during the command", "never registered"}) {
        run_through_server();
        EXPECT_EQ(text, expected_) << when;
    }
}

// It was started again, but the new process has not been asked.
TEST_F(NatsCarrier, DoesNotWaitForTheNextProcessOfAService) {
    start([](Services &services) {
        services.next_request();
        for (const uint32_t sap : {kOspf, kBgp}) {
            services.leave(sap);
            services.claim({.place = kPlace, .opcode = QARN_OPC_REQUEST, .sap = sap, .since = 1});
        }
        pause();
    });
    run_through_server();
    EXPECT_EQ(qarn_outcome_last()->verdict, QARN_OUTCOME_INCOMPLETE);
    EXPECT_EQ(sw.transport.carrier->why_silent(kBgp), "ended before it had sent its reply") << errors;
}

TEST_F(NatsCarrier, DropsAFragmentUnderTheNameOfAnother) {
    sw.find_service("bgp")->faults.wrong_sap = kOspf;
    sw.transport.unit = std::chrono::milliseconds(5);
    start(answer_all);
    run_through_server();
    EXPECT_EQ(body().find("bgp"), std::string::npos);
    EXPECT_NE(errors.find("transport: an answer of bgp (SAP 30) was dropped, because it names ospf (SAP 20)\n"),
              std::string::npos)
        << errors;
    EXPECT_EQ(qarn_outcome_last()->verdict, QARN_OUTCOME_INCOMPLETE);
}

TEST_F(NatsCarrier, NeverReceivesTheAnswerToAnEarlierCommand) {
    sw.transport.unit = std::chrono::milliseconds(5);
    start([](Services &services) {
        const nats::Message first = services.next_request(), second = services.next_request();
        services.answer(first, first);
        services.answer(second, second);
        pause();
    });
    run_through_server();
    EXPECT_EQ(qarn_outcome_last()->verdict, QARN_OUTCOME_INCOMPLETE);
    compare();
    EXPECT_EQ(text, expected_);
    EXPECT_EQ(qarn_outcome_last()->verdict, QARN_OUTCOME_COMPLETE);
}

TEST_F(NatsCarrier, ReportsThatAnswersCameFasterThanTheyWereRead) {
    start(answer_all);
    run_through_server({.bytes = 16}); // a fragment has more
    EXPECT_EQ(qarn_outcome_last()->verdict, QARN_OUTCOME_INCOMPLETE);
    EXPECT_NE(errors.find("transport: answers were lost: they came faster than they were read\n"), std::string::npos)
        << errors;
}

TEST_F(NatsCarrier, EndsAtOnceWhenTheServerEnds) {
    start([&](Services &services) {
        services.next_request();
        ::kill(server_.pid(), SIGKILL);
        pause();
    });
    run_through_server();
    EXPECT_EQ(qarn_outcome_last()->verdict, QARN_OUTCOME_INCOMPLETE);
    EXPECT_NE(errors.find("transport: answers were lost: the connection broke"), std::string::npos) << errors;
}

} // namespace
