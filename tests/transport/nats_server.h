// A NATS server on a free port of the loopback, and a process with services behind it. Both end with the test.
#pragma once

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

namespace test {

// A child that is ended with its owner.
class Process {
  public:
    // `run` may write to the descriptor; wait_for reads what it writes.
    explicit Process(const std::function<void(int)> &run) {
        int ends[2];
        if (pipe(ends) != 0) std::abort();
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            close(ends[0]);
            run(ends[1]);
            _exit(1);
        }
        close(ends[1]);
        written_ = ends[0];
    }
    ~Process() {
        ::kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        close(written_);
    }
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    // Returns all that was written up to `text`; without `text` if the child ended before.
    std::string wait_for(const std::string &text) const {
        std::string all;
        for (char c = 0; all.find(text) == std::string::npos && read(written_, &c, 1) == 1;)
            all += c;
        return all;
    }
    pid_t pid() const { return pid_; }

  private:
    pid_t pid_ = -1;
    int written_ = -1;
};

class NatsServer {
  public:
    NatsServer() {
        const std::string before = "client connections on ", log = process_.wait_for("Server is ready");
        const std::size_t begin = log.find(before) + before.size();
        if (begin >= before.size()) url = "nats://" + log.substr(begin, log.find('\n', begin) - begin);
    }
    ~NatsServer() { std::filesystem::remove_all(folder_); }

    pid_t pid() const { return process_.pid(); }
    std::string url;

  private:
    static std::string new_folder() {
        std::string folder = std::filesystem::temp_directory_path() / "nats.XXXXXX";
        return mkdtemp(folder.data()) != nullptr ? folder : std::string();
    }

    std::string folder_ = new_folder();
    Process process_{[this](int log) {
        dup2(log, STDERR_FILENO);
        execlp("nats-server", "nats-server", "-a", "127.0.0.1", "-p", "-1", "-js", "-sd", folder_.c_str(), nullptr);
        execl("/usr/sbin/nats-server", "nats-server", "-a", "127.0.0.1", "-p", "-1", "-js", "-sd", folder_.c_str(),
              nullptr);
    }};
};

} // namespace test
