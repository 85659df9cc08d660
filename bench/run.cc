#include "bench/run.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void execute(const Words &words) {
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

double milliseconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

} // namespace

Cost run(const Words &words, const std::string &output) {
    const auto begin = Clock::now();
    const pid_t child = fork();
    if (child == 0) {
        const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (out < 0 || dup2(out, STDOUT_FILENO) < 0) _exit(127);
        execute(words);
    }
    int status = 0;
    rusage usage = {};
    if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(words[0] + " failed");
    return {std::chrono::duration<double, std::milli>(Clock::now() - begin).count(),
            milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime)};
}

double median_of(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

Server::Server(const Words &words) : words_(words) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        dup2(ends[1], STDOUT_FILENO);
        execute(words);
    }
    close(ends[1]);
    output_ = ends[0];
}

Server::~Server() {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
    close(output_);
}

std::string Server::next_line() {
    std::string line;
    for (char c = 0; read(output_, &c, 1) == 1;) {
        if (c == '\n') return line;
        line += c;
    }
    throw std::runtime_error(words_[0] + " ended early");
}

void Comparison::add(std::string what, Words words) {
    commands_.push_back({std::move(what), std::move(words)});
}

void Comparison::measure(int runs) {
    for (int i = 0; i < runs; ++i)
        for (Command &command : commands_)
            command.costs.push_back(run(command.words));
}

std::vector<double> Comparison::values_of(const Command &command, double Cost::*time) {
    std::vector<double> values;
    values.reserve(command.costs.size());
    for (const Cost &cost : command.costs)
        values.push_back(cost.*time);
    return values;
}

void Comparison::print(double Cost::*time, const char *name) const {
    const double base = median_of(values_of(commands_.front(), time));
    for (const Command &command : commands_) {
        const std::vector<double> values = values_of(command, time);
        const auto [least, most] = std::ranges::minmax(values);
        std::printf("%-40s %s median %7.1f ms   min %7.1f   max %7.1f   x%.2f   (%zu runs)\n", command.what.c_str(),
                    name, median_of(values), least, most, median_of(values) / base, values.size());
    }
}

TemporaryFile::TemporaryFile() {
    const int file = mkstemp(path_.data());
    if (file < 0) throw std::runtime_error("no temporary file");
    close(file);
}

TemporaryFile::~TemporaryFile() {
    unlink(path_.c_str());
}

} // namespace bench
