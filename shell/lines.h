// The lines that a session reads, and the interruptions that arrive while no command runs.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace shell {

class LineTooLong : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Reads standard input with read(2) only, so that the children inherit no data of the C library. While an object lives,
// SIGINT is blocked in this process and is reported by next(), unless the caller of the shell ignores SIGINT.
class Lines {
  public:
    enum class Event : uint8_t { kLine, kInterruption, kEnd };

    Lines();
    ~Lines();
    Lines(const Lines &) = delete;
    Lines &operator=(const Lines &) = delete;

    // Wait for the next line or an interruption; an interruption drops the input that was read ahead. Throws
    // LineTooLong, or another std::runtime_error if standard input cannot be read.
    Event next(std::string &line);

  private:
    bool take_interruption() const;
    bool take_line(std::string &line);
    bool wait_for_input() const;
    void read_input();

    int interruptions_ = -1; // a signalfd, unless SIGINT is ignored
    std::string input_;      // read ahead
    bool has_ended_ = false;
};

} // namespace shell
