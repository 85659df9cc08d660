// A service of libqarnservice behind a NATS server.
#include <poll.h>
#include <qarnservice/qarnservice.h>

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "service/requester.h"

namespace {

constexpr uint32_t kSap = 20, kUuid = 21;
const nats::Place kPlace = {"leaf 1.2", "1"};

void fill(qarn_service_reply *reply, std::size_t size) {
    const qarn_service_element element = {.uuid = kUuid, .id = 1, .level = 3, .property = 0, .values = 0};
    qarn_service_reply_element(reply, &element);
    qarn_service_reply_text(reply, std::string(size, 'x').c_str(), QARN_SERVICE_TEXT);
}

std::string reply_of(std::size_t size) {
    const std::unique_ptr<qarn_service_reply, decltype(&qarn_service_reply_free)> reply(qarn_service_reply_new(),
                                                                                        qarn_service_reply_free);
    fill(reply.get(), size);
    const void *bytes = nullptr;
    qarn_service_reply_bytes(reply.get(), &bytes, &size);
    return {static_cast<const char *>(bytes), size};
}

// What differs from test to test.
struct Settings {
    const char *name = "ospf", *credentials = nullptr;
    uint32_t by_sap_only = 0, max_data = 0, sap = kSap;
};

// A service with a thread that runs it.
class Running {
  public:
    using Answer = std::function<int(const qarn_service_request *, qarn_service_reply *)>;

    Running(const std::string &url, Answer answer, Settings settings = {}) : answer_(std::move(answer)) {
        qarn_service_options options = {};
        options.size = sizeof options;
        options.url = url.c_str();
        options.switch_name = kPlace.switch_name.c_str();
        options.credentials = settings.credentials;
        options.name = settings.name;
        options.by_sap_only = settings.by_sap_only;
        options.max_data = settings.max_data;
        options.sap = settings.sap;
        options.uuid = kUuid;
        options.event = [](void *self, const char *text) { static_cast<Running *>(self)->note(text); };
        code = qarn_service_open(&options, call, this, &service, &error);
    }
    ~Running() {
        if (thread_.joinable()) stop();
        qarn_service_close(service);
    }

    void start() {
        thread_ = std::thread([this] { code = qarn_service_run(service, &error); });
    }
    void stop() {
        qarn_service_stop(service);
        thread_.join();
    }
    // Wait for an event.
    void wait_for(const std::string &text) {
        std::unique_lock lock(mutex_);
        noted_.wait_for(lock, std::chrono::seconds(30), [&] { return events_.find(text) != std::string::npos; });
        EXPECT_NE(events_.find(text), std::string::npos) << events_;
    }

    qarn_service *service = nullptr;
    qarn_service_error error = {};
    int code = -1;

  private:
    static int call(void *self, const qarn_service_request *request, qarn_service_reply *reply) {
        return static_cast<Running *>(self)->answer_(request, reply);
    }
    void note(const char *text) {
        const std::lock_guard lock(mutex_);
        events_ += text + std::string("\n");
        noted_.notify_all();
    }

    Answer answer_;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable noted_;
    std::string events_;
};

int answer_shortly(const qarn_service_request *, qarn_service_reply *reply) {
    fill(reply, 100);
    return QARN_SERVICE_OK;
}

TEST(Service, AnswersWithWhatItBuiltInFragments) {
    const test::Server server;
    Running running(server.url, answer_shortly, {.max_data = 64});
    running.start();
    test::Requester requester(server.url, kPlace);
    EXPECT_EQ(requester.ask(kSap).data, reply_of(100));
    const test::Answer answer = requester.ask_all(kSap);
    EXPECT_EQ(answer.data, reply_of(100));
    EXPECT_EQ(answer.sap, kSap);
    EXPECT_EQ(answer.sizes, (std::vector<std::size_t>{80, 80, answer.data.size() - 128 + 16}));
    running.stop();
    EXPECT_EQ(running.code, QARN_SERVICE_OK) << running.error.text;
}

TEST(Service, RefusesASapThatBelongsToAnother) {
    const test::Server server;
    const Running first(server.url, answer_shortly);
    ASSERT_EQ(first.code, QARN_SERVICE_OK) << first.error.text;
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    for (const uint32_t by_sap_only : {0u, 1u}) {
        const Running second(server.url, answer_shortly, {.name = "bgp", .by_sap_only = by_sap_only});
        EXPECT_EQ(second.code, QARN_SERVICE_TAKEN);
        EXPECT_EQ(second.error.text, "SAP 20 of switch \"leaf 1.2\", VDC 1 belongs to \"ospf\" (host " +
                                         std::string(host) + ", pid " + std::to_string(getpid()) +
                                         "); \"bgp\" cannot have it too: end that process, or choose another SAP");
    }
    EXPECT_EQ(test::Requester(server.url, kPlace).registered(), std::vector<std::string>{"ospf"});
}

TEST(Service, IsNotRegisteredOnceItIsClosed) {
    const test::Server server;
    test::Requester requester(server.url, kPlace);
    {
        const Running running(server.url, answer_shortly);
        EXPECT_EQ(requester.registered(), std::vector<std::string>{"ospf"});
    }
    EXPECT_EQ(requester.registered(), std::vector<std::string>{});
}

TEST(Service, AnswersLaterAndInALoopOfItsOwner) {
    const test::Server server;
    qarn_service_request *asked = nullptr;
    Running running(server.url, [&](const qarn_service_request *request, qarn_service_reply *) {
        asked = const_cast<qarn_service_request *>(request);
        return QARN_SERVICE_LATER;
    });
    ASSERT_EQ(running.code, QARN_SERVICE_OK) << running.error.text;
    test::Answer answer;
    std::thread asking([&] { answer = test::Requester(server.url, kPlace).ask(kSap); });
    while (asked == nullptr) {
        struct pollfd descriptor = {qarn_service_descriptor(running.service), POLLIN, 0};
        if (poll(&descriptor, 1, 20000) != 1) break;
        EXPECT_EQ(qarn_service_process(running.service, nullptr), QARN_SERVICE_OK);
    }
    qarn_service_reply *reply = qarn_service_reply_new();
    fill(reply, 5);
    EXPECT_EQ(qarn_service_answer(running.service, asked, reply, nullptr), QARN_SERVICE_OK);
    asking.join();
    EXPECT_EQ(answer.data, reply_of(5));
    qarn_service_reply_free(reply);
    qarn_service_request_free(asked);
}

TEST(Service, RegistersAgainWithAServerThatStartedAgain) {
    test::Server server;
    Running running(server.url, answer_shortly);
    running.start();
    server.end();
    running.wait_for("service \"ospf\": the connection to " + server.url + " was lost; it is being made again\n");
    server.start();
    running.wait_for("service \"ospf\": registered again\n");
    test::Requester requester(server.url, kPlace);
    EXPECT_EQ(requester.registered(), std::vector<std::string>{"ospf"});
    EXPECT_EQ(requester.ask(kSap).data, reply_of(100));
}

TEST(Service, AnswersUnderAReplySubjectOfItsPlaceOnly) {
    const test::Server server;
    Running running(server.url, answer_shortly);
    running.start();
    test::Requester requester(server.url, kPlace);
    const std::string own_key = "$KV.qarn-services." + nats::key(kPlace, QARN_OPC_REQUEST, kSap),
                      good = nats::new_reply_subject(kPlace, "a b");
    for (const std::string &reply :
         {own_key.substr(0, own_key.rfind('.')), nats::new_reply_subject({"leaf 1.2", "2"}, "a"), good + ".x",
          good.substr(0, good.rfind('.'))}) {
        requester.send(nats::sap_subject(kPlace, kSap), reply);
        running.wait_for("service \"ospf\": a request was dropped: \"" + reply +
                         "\" is no reply subject of this switch and VDC\n");
    }
    EXPECT_EQ(requester.registered(), std::vector<std::string>{"ospf"});
    EXPECT_EQ(requester.ask(kSap).data, reply_of(100));
}

TEST(Service, KeepsALimitedNumberOfRequests) {
    const test::Server server;
    int answered = 0;
    Running running(server.url, [&](const qarn_service_request *, qarn_service_reply *) {
        ++answered;
        return QARN_SERVICE_OK;
    });
    test::Requester requester(server.url, kPlace);
    for (int i = 0; i < 1100; ++i)
        requester.send(nats::sap_subject(kPlace, kSap), nats::new_reply_subject(kPlace, "test"));
    Running other(server.url, answer_shortly, {.name = "other", .sap = 30}); // its requests come over the same thread
    other.start();
    EXPECT_EQ(requester.ask(30).data, reply_of(100));
    EXPECT_EQ(qarn_service_process(running.service, nullptr), QARN_SERVICE_OK);
    EXPECT_EQ(answered, 1000);
    running.wait_for("service \"ospf\": 1000 requests wait to be answered; further ones are dropped\n");
}

TEST(Service, CutsAnAnswerToThePayloadOfTheServer) {
    const test::Server server("max_payload: 4096\njetstream {}");
    constexpr std::size_t kSize = 100000;
    Running running(server.url, [](const qarn_service_request *, qarn_service_reply *reply) {
        fill(reply, kSize);
        return QARN_SERVICE_OK;
    });
    running.start();
    const test::Answer answer = test::Requester(server.url, kPlace).ask(kSap);
    EXPECT_EQ(answer.data, reply_of(kSize));
    EXPECT_EQ(*std::ranges::max_element(answer.sizes), 4096u);
}

TEST(Service, SendsAReplyWithAnErrorAsAFailure) {
    const test::Server server;
    Running running(server.url, [](const qarn_service_request *, qarn_service_reply *reply) {
        const qarn_service_element element = {.uuid = kUuid, .id = 1, .level = 13, .property = 0, .values = 0};
        return qarn_service_reply_element(reply, &element);
    });
    running.start();
    const test::Answer answer = test::Requester(server.url, kPlace).ask(kSap);
    EXPECT_EQ(answer.data.substr(0, 4), std::string("\x01\x00\x5f\x40", 4));
    running.wait_for("service \"ospf\": element (21,1): level 13 is not between 0 and 12; the answer is a failure\n");
}

TEST(Service, ReportsAServerThatItCannotUse) {
    const test::Server server("authorization {user: ospf, password: right}");
    const std::string credentials = server.path("credentials");
    std::ofstream(credentials) << "user ospf\npassword wrong\n";
    chmod(credentials.c_str(), 0600);
    const Running wrong(server.url, answer_shortly, {.credentials = credentials.c_str()});
    std::ofstream(credentials) << "user ospf\npassword right\n";
    const Running without_jetstream(server.url, answer_shortly, {.credentials = credentials.c_str()});
    const Running nowhere("nats://127.0.0.1:1", answer_shortly);
    EXPECT_EQ(wrong.error.text, "cannot connect to " + server.url +
                                    ": Authentication Violation; the server does not accept the user: check the file "
                                    "of --credentials");
    EXPECT_EQ(without_jetstream.error.text,
              std::string("the NATS server has no JetStream, in which services register; start it with -js, or with "
                          "jetstream {} in its configuration"));
    EXPECT_EQ(nowhere.error.text,
              std::string("cannot connect to nats://127.0.0.1:1: No server available for connection; check the "
                          "address, and that nats-server runs there"));
    for (const Running *one : {&wrong, &without_jetstream, &nowhere})
        EXPECT_EQ(one->code, QARN_SERVICE_NO_SERVER);
}

TEST(Service, RefusesCredentialsOfAnotherServiceAtOnce) {
    const test::Server server(R"(
        jetstream {}
        authorization {users: [{user: bgp, password: right, permissions: {subscribe: ["_INBOX.>", "qarn.*.*.sap.30"]}}]}
    )");
    const std::string credentials = server.path("credentials");
    std::ofstream(credentials) << "user bgp\npassword right\n";
    chmod(credentials.c_str(), 0600);
    const Running running(server.url, answer_shortly, {.credentials = credentials.c_str()});
    EXPECT_EQ(running.code, QARN_SERVICE_NO_SERVER);
    EXPECT_NE(std::string(running.error.text).find("; check that the credentials are those of this service"),
              std::string::npos)
        << running.error.text;
}

TEST(Service, ExampleAnswersUntilItIsEnded) {
    const test::Server server;
    const test::Program example({EXAMPLE_SERVICE, server.url, kPlace.switch_name});
    test::Requester requester(server.url, kPlace);
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (requester.registered().empty() && std::chrono::steady_clock::now() < limit) {
    }
    const std::string data = requester.ask_all(207).data;
    EXPECT_NE(data.find("feature tunnel\n"), std::string::npos);
    EXPECT_EQ(data.find("tunnel source\n"), std::string::npos); // no interface was named
    example.signal(SIGTERM);
    EXPECT_EQ(example.wait(), 0) << example.wait_for("\n");
    EXPECT_EQ(requester.registered(), std::vector<std::string>{});
}

} // namespace
