// A NATS server with a configuration of the test, and somebody who asks the services behind it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <qarncli/message.h>
#include <sys/wait.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "nats/connection.h"
#include "nats/registry.h"
#include "transport/nats_server.h"

namespace test {

// Its configuration decides whether there is JetStream, below store_dir.
class Server {
  public:
    explicit Server(const std::string &configuration = "jetstream {}") {
        std::ofstream(folder_ + "/configuration") << "server_name: test\nmax_control_line: 4096\n" << configuration;
        start();
    }
    ~Server() { std::filesystem::remove_all(folder_); }

    // With the same port.
    void start() {
        process_.emplace([this](int log) {
            dup2(log, STDERR_FILENO);
            const std::string command = "PATH=$PATH:/usr/sbin exec nats-server -c " + folder_ + "/configuration -sd " +
                                        folder_ + " -a 127.0.0.1 -p " + port_;
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        });
        const std::string log = process_->wait_for("Server is ready"), before = "client connections on 127.0.0.1:";
        const std::size_t begin = log.find(before);
        if (begin == std::string::npos) throw std::runtime_error(log);
        port_ = log.substr(begin + before.size(), log.find('\n', begin) - begin - before.size());
        url = "nats://127.0.0.1:" + port_;
    }
    void end() { process_.reset(); }
    void signal(int number) const { ::kill(process_->pid(), number); }

    std::string path(const std::string &name) const { return folder_ + '/' + name; }
    std::string url;

  private:
    std::string new_folder() {
        std::string folder = std::filesystem::temp_directory_path() / "server.XXXXXX";
        return mkdtemp(folder.data()) != nullptr ? folder : throw std::runtime_error("no folder");
    }

    std::string folder_ = new_folder(), port_ = "-1";
    std::optional<Process> process_;
};

// Messages of an answer.
struct Answer {
    std::string data;
    std::vector<std::size_t> sizes; // of the messages
    uint32_t sap = 0;               // in the last one
};

class Requester {
  public:
    Requester(const std::string &url, nats::Place place)
        : place_(std::move(place)),
          connection_(nats::connect({.url = url, .client_name = "test"}, nats::Reconnects::kForever)) {}

    Answer ask(uint32_t sap) { return ask(nats::sap_subject(place_, sap), sap); }
    Answer ask_all(uint32_t answering) { return ask(nats::opcode_subject(place_, QARN_OPC_REQUEST), answering); }

    // Until the last fragment, or until nothing more comes for `patience` milliseconds.
    Answer ask(const std::string &subject, uint32_t sap, int64_t patience = 20000) {
        const std::string reply = nats::new_reply_subject(place_, "test");
        const auto answers = nats::made<nats::Subscription>("answers", natsConnection_SubscribeSync, connection_.get(),
                                                            nats::answer_subject(reply, sap).c_str());
        send(subject, reply);
        Answer answer;
        while (add_next(answer, answers.get(), patience)) {
        }
        return answer;
    }

    // A request whose answer goes to the reply subject.
    void send(const std::string &subject, const std::string &reply) {
        std::string request(sizeof(qarn_cfg_req_msg), '\0');
        const uint32_t source = QARN_SOURCE_RUNNING;
        std::memcpy(request.data() + offsetof(qarn_cfg_req_msg, cfg_source), &source, sizeof source);
        natsConnection_PublishRequest(connection_.get(), subject.c_str(), reply.c_str(), request.data(),
                                      static_cast<int>(request.size()));
    }

    std::vector<std::string> registered() {
        std::vector<std::string> names;
        nats::Registry registry(connection_.get(), nats::Registry::Missing::kIsEmpty);
        for (const nats::Registration &one : registry.list(place_))
            names.push_back((one.is_registered ? "" : "missing: ") + one.name);
        return names;
    }

  private:
    static bool add_next(Answer &answer, natsSubscription *answers, int64_t patience) {
        natsMsg *next = nullptr;
        if (natsSubscription_NextMsg(&next, answers, patience) != NATS_OK) return false;
        const nats::Message message(next);
        qarn_cfg_frag header;
        const auto size = static_cast<std::size_t>(natsMsg_GetDataLength(next));
        std::memcpy(&header, natsMsg_GetData(next), sizeof header);
        answer.sizes.push_back(size);
        answer.data.append(natsMsg_GetData(next) + sizeof header, size - sizeof header);
        answer.sap = header.sap;
        return header.last == 0;
    }

    nats::Place place_;
    nats::Connection connection_;
};

// A program whose standard error is kept.
class Program {
  public:
    static constexpr int kReadyDescriptor = 9; // standard error too, which a program may close

    explicit Program(const std::vector<std::string> &words)
        : process_([&](int errors) {
              dup2(errors, STDERR_FILENO);
              dup2(errors, kReadyDescriptor);
              std::vector<char *> arguments;
              for (const std::string &word : words)
                  arguments.push_back(const_cast<char *>(word.c_str()));
              arguments.push_back(nullptr);
              execv(arguments[0], arguments.data());
          }) {}

    void signal(int number) const { ::kill(process_.pid(), number); }
    std::string wait_for(const std::string &text) const { return process_.wait_for(text); }
    // Its exit status, or minus the signal that ended it.
    int wait() const {
        siginfo_t info = {};
        waitid(P_PID, static_cast<id_t>(process_.pid()), &info, WEXITED | WNOWAIT);
        return info.si_code == CLD_EXITED ? info.si_status : -info.si_status;
    }

  private:
    Process process_;
};

} // namespace test
