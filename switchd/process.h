// Children. The kernel kills them when switchd ends in whatever way.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace switchd {

class Descriptor {
  public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    int get() const { return number_; }
    void close() {
        if (number_ >= 0) ::close(number_);
        number_ = -1;
    }

  private:
    int number_;
};

struct Pipe {
    Descriptor read, write; // not inherited
};
Pipe new_pipe();

// A descriptor that the child gets under a number.
struct Handed {
    int from, to;
};

// Permit this process, and the children that it starts from now on, as many open files as the system allows. Returns
// their number.
uint64_t raise_limit_of_files();

// Where PATH, or /usr/sbin, has the program.
std::optional<std::string> find_program(const std::string &name);

// `words` begin with the path of the program. Standard input is empty. The child has a process group of its own, so
// that Ctrl-C reaches switchd alone. Throws nats::Error if the program cannot be started.
pid_t start(const std::vector<std::string> &words, const std::vector<Handed> &handed);

// Run to its end. Returns whether it succeeded; `output` gets what it wrote.
bool run(const std::vector<std::string> &words, std::string &output);

// "status 1" or "signal 9".
std::string describe_end(int wait_status);

// Ask them to end, and kill those that have not ended after five seconds. Returns when all have ended.
void end(std::vector<pid_t> children);

} // namespace switchd
