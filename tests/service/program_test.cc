// The program qarn-service: services of a description, with faults, behind a NATS server.
#include "service/requester.h"

namespace {

const nats::Place kPlace = {"spine", "1"};
constexpr uint32_t kOspf = 20, kProbe = 30;
constexpr char kDescription[] = R"(
name: spine
services:
  - name: ospf
    sap: 20
    uuid: 448
    fragment_size: 32
    elements:
      - {id: 1, level: 3, text: router ospf 1}
      - {id: 2, level: 4, text: router ospf 2}
  - {name: probe, sap: 30, uuid: 449, consumer: false}
)";

class Program : public testing::Test {
  protected:
    Program() { std::ofstream(file_) << kDescription; }

    std::unique_ptr<test::Program> start(std::vector<std::string> more = {}) const {
        std::vector<std::string> words = {QARN_SERVICE, "-s", file_, "--connect", server_.url};
        words.insert(words.end(), more.begin(), more.end());
        return std::make_unique<test::Program>(words);
    }
    // Started, with all services registered.
    std::unique_ptr<test::Program> serve(std::vector<std::string> more = {}) const {
        more.insert(more.end(), {"--ready-fd", std::to_string(test::Program::kReadyDescriptor)});
        auto program = start(more);
        EXPECT_EQ(program->wait_for("\n"), "\n");
        return program;
    }

    const test::Server server_;
    const std::string file_ = server_.path("spine.yaml");
    test::Requester requester_{server_.url, kPlace};
};

TEST_F(Program, ServesTheDescriptionUntilItIsEnded) {
    const auto program = serve();
    EXPECT_EQ(requester_.registered(), (std::vector<std::string>{"ospf", "probe"}));
    const test::Answer answer = requester_.ask_all(kOspf);
    EXPECT_NE(answer.data.find("router ospf 2"), std::string::npos);
    EXPECT_EQ(answer.sizes.front(), 48u);
    EXPECT_EQ(requester_.ask(kProbe).sap, kProbe);
    EXPECT_EQ(requester_.ask(nats::opcode_subject(kPlace, QARN_OPC_REQUEST), kProbe, 1).sizes.size(), 0u);
    program->signal(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
    EXPECT_EQ(requester_.registered(), std::vector<std::string>{});
}

TEST_F(Program, TakesTheSapOfAProcessThatDied) {
    serve({"ospf"})->signal(SIGKILL);
    const auto second = serve({"ospf"});
    EXPECT_EQ(requester_.registered(), std::vector<std::string>{"ospf"});
}

// The server is stopped: it keeps the connection, and does not answer.
TEST_F(Program, EndsSoonWhileTheRegistryDoesNotAnswer) {
    const auto program = serve();
    server_.signal(SIGSTOP);
    EXPECT_NE(program->wait_for("; trying again\n").find("the registry of services cannot be reached (Timeout)"),
              std::string::npos);
    program->signal(SIGTERM);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(program->wait(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2)); // nobody waits for it again
    server_.signal(SIGCONT);
}

TEST_F(Program, HasFaults) {
    const auto ask = [this](const std::vector<std::string> &faults) {
        const auto program = serve(faults);
        const auto begin = std::chrono::steady_clock::now();
        const test::Answer answer = requester_.ask(nats::sap_subject(kPlace, kOspf), kOspf, 1000);
        const auto took = std::chrono::steady_clock::now() - begin;
        program->signal(SIGTERM);
        return std::tuple(answer, took, program->wait());
    };
    using std::chrono::milliseconds;
    EXPECT_EQ(std::get<0>(ask({"--silent"})).sizes.size(), 0u);
    EXPECT_EQ(std::get<0>(ask({"--wrong-sap", "77"})).sap, 77u);
    EXPECT_GE(std::get<1>(ask({"--delay", "150"})), milliseconds(150));
    EXPECT_GE(std::get<1>(ask({"--drip", "50"})), milliseconds(100));
    const auto [answer, took, status] = ask({"--die-after", "1"});
    EXPECT_EQ(answer.sizes.size(), 1u);
    EXPECT_EQ(status, -SIGKILL);
}

TEST_F(Program, ExplainsWhatIsWrong) {
    const auto explanation = [this](const std::vector<std::string> &more) {
        const auto program = start(more);
        const std::string text = program->wait_for("no such text");
        EXPECT_EQ(program->wait(), 1);
        return text;
    };
    EXPECT_EQ(explanation({"osqf"}), "qarn-service: unknown service \"osqf\"; the nearest of " + file_ + ": ospf\n");
    EXPECT_EQ(explanation({"--delay", "x"}).find("qarn-service: "), 0u);
    EXPECT_EQ(explanation({"--switch-name", "a\nb"}),
              "qarn-service: the name of the switch has a control character: \"a?b\"; choose another one with "
              "--switch-name\n");
    EXPECT_EQ(explanation({"--switch-name", std::string(67, '.')}).find("qarn-service: the name of the switch \"..."),
              0u);
    EXPECT_EQ(explanation({"--vdc", "65536"}).find("qarn-service: --vdc: "), 0u);
    EXPECT_NE(explanation({"-s"}).find("qarn-service: --help describes the options\n"), std::string::npos);
    const auto first = serve();
    EXPECT_NE(explanation({"ospf"}).find("qarn-service: SAP 20 of switch \"spine\", VDC 1 belongs to \"ospf\""),
              std::string::npos);
}

} // namespace
