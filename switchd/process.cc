#include "switchd/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "nats/objects.h"
#include "sim/child.h"

namespace switchd {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(5); // for a child that was asked to end
constexpr int kFirstFree = 64;               // descriptors below this are for what a child is handed

std::vector<char *> arguments_of(const std::vector<std::string> &words) {
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    return arguments;
}

// Runs between fork and exec, where other threads may have held locks: it makes system calls only.
[[noreturn]] void become(char *const *arguments, const std::vector<Handed> &handed, pid_t parent, int failure) {
    sim::end_with_parent(parent);
    setpgid(0, 0);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    for (const auto &[from, to] : handed)
        dup2(from, to);
    execv(arguments[0], arguments);
    const int error = errno;
    if (write(failure, &error, sizeof error) != sizeof error) _exit(126);
    _exit(127);
}

[[noreturn]] void refuse_descriptor() {
    throw nats::Error(std::string("no descriptor: ") + std::strerror(errno) +
                      "; allow more open files (ulimit -n, LimitNOFILE in a unit of systemd)");
}

Descriptor moved_up(int number) {
    const int copy = fcntl(number, F_DUPFD_CLOEXEC, kFirstFree);
    if (copy < 0) refuse_descriptor();
    close(number);
    return Descriptor(copy);
}

std::string all_of(const Descriptor &stream) {
    std::string all;
    char part[4096];
    for (ssize_t size = 0; (size = read(stream.get(), part, sizeof part)) > 0;)
        all.append(part, static_cast<std::size_t>(size));
    return all;
}

// Returns whether it ended before the limit.
bool wait_for(pid_t child, Clock::time_point limit) {
    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    struct pollfd ended = {.fd = process.get(), .events = POLLIN, .revents = 0};
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
    poll(&ended, 1, static_cast<int>(std::max<int64_t>(left, 0)));
    return waitpid(child, nullptr, WNOHANG) != 0;
}

void signal_all(const std::vector<pid_t> &children, int number) {
    for (const pid_t child : children)
        kill(child, number);
}

} // namespace

Pipe new_pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) refuse_descriptor();
    return {moved_up(ends[0]), moved_up(ends[1])};
}

uint64_t raise_limit_of_files() {
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
    const rlim_t before = std::exchange(limit.rlim_cur, limit.rlim_max);
    return setrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_max : before;
}

std::optional<std::string> find_program(const std::string &name) {
    const char *path = std::getenv("PATH");
    std::istringstream folders((path != nullptr ? std::string(path) : "/usr/bin:/bin") + ":/usr/sbin");
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::string program = folder;
        program.append("/").append(name);
        if (folder.starts_with('/') && access(program.c_str(), X_OK) == 0) return program;
    }
    return {};
}

pid_t start(const std::vector<std::string> &words, const std::vector<Handed> &handed) {
    const std::vector<char *> arguments = arguments_of(words);
    const Descriptor null = moved_up(open("/dev/null", O_RDONLY | O_CLOEXEC));
    std::vector<Handed> all = {{null.get(), STDIN_FILENO}};
    all.insert(all.end(), handed.begin(), handed.end());
    Pipe failure = new_pipe();
    const pid_t parent = getpid(), child = fork();
    if (child < 0)
        throw nats::Error(std::string("no process: ") + std::strerror(errno) +
                          "; allow more processes (ulimit -u, TasksMax in a unit of systemd)");
    if (child == 0) become(arguments.data(), all, parent, failure.write.get());
    failure.write.close();
    int error = 0;
    if (read(failure.read.get(), &error, sizeof error) != sizeof error) return child;
    waitpid(child, nullptr, 0);
    throw nats::Error("cannot start " + words[0] + ": " + std::strerror(error));
}

bool run(const std::vector<std::string> &words, std::string &output) {
    Pipe pipe = new_pipe();
    const pid_t child = start(words, {{pipe.write.get(), STDOUT_FILENO}, {pipe.write.get(), STDERR_FILENO}});
    pipe.write.close();
    output = all_of(pipe.read);
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string describe_end(int wait_status) {
    if (WIFSIGNALED(wait_status)) return "signal " + std::to_string(WTERMSIG(wait_status));
    return "status " + std::to_string(WEXITSTATUS(wait_status));
}

void end(std::vector<pid_t> children) {
    signal_all(children, SIGTERM);
    const Clock::time_point limit = Clock::now() + kPatience;
    std::erase_if(children, [&](pid_t child) { return wait_for(child, limit); });
    signal_all(children, SIGKILL);
    for (const pid_t child : children)
        waitpid(child, nullptr, 0);
}

} // namespace switchd
