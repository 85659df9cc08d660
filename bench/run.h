// Programs that a benchmark runs: how long one takes, and servers that run beside it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace bench {

using Words = std::vector<std::string>; // a program and its arguments

// Of a program and its children, in milliseconds.
struct Cost {
    double wall = 0, cpu = 0;
};

// Run a program with its output going to the file `output`. Throws if its exit status is not 0.
Cost run(const Words &words, const std::string &output = "/dev/null");

double median_of(std::vector<double> values);

// A program that runs until its owner ends it with SIGTERM.
class Server {
  public:
    explicit Server(const Words &words);
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    // The next line that it prints, without the newline. Throws if it ends before.
    std::string next_line();
    pid_t pid() const { return pid_; }

  private:
    Words words_;
    pid_t pid_;
    int output_;
};

// Several commands whose runs alternate. Ratios are to the first one.
class Comparison {
  public:
    void add(std::string what, Words words);
    void measure(int runs);
    // One line per command with median, least and most of the wall or the CPU time.
    void print(double Cost::*time, const char *name) const;

  private:
    struct Command {
        std::string what;
        Words words;
        std::vector<Cost> costs = {};
    };
    static std::vector<double> values_of(const Command &command, double Cost::*time);

    std::vector<Command> commands_;
};

class TemporaryFile {
  public:
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    const std::string &path() const { return path_; }

  private:
    std::string path_ = "/tmp/bench-XXXXXX";
};

} // namespace bench
