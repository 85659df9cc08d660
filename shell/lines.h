// The lines that a session reads, and the interruptions that arrive while no command runs.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace shell {

inline constexpr std::size_t kLongestLine = 65536; // a list of every second VLAN has 10 KB

class LineTooLong : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Where the lines of a session come from.
class LineReader {
  public:
    enum class Event : uint8_t { kLine, kInterruption, kEnd, kRefused };

    LineReader() = default;
    virtual ~LineReader() = default;
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;

    // Wait for the next line or an interruption, which drops what was typed so far. A refused line was reported, and
    // cannot be run. Throws std::runtime_error if standard input cannot be read.
    virtual Event next(const std::string &prompt, std::string &line) = 0;
    // Forget what was read ahead from a user, who has interrupted a command.
    virtual void drop_input() {}
};

// Reads a descriptor with read(2) only, so that the children inherit no data of the C library. While an object lives,
// SIGINT is blocked in this process and is reported by next(), unless the caller of the shell ignores SIGINT.
class Lines : public LineReader {
  public:
    explicit Lines(int input);
    ~Lines() override;
    Lines(const Lines &) = delete;
    Lines &operator=(const Lines &) = delete;

    // Shows the prompt if the descriptor is a terminal. Refuses a line of more than kLongestLine bytes or with a
    // NUL byte. Throws LineTooLong if a line goes on and on.
    Event next(const std::string &prompt, std::string &line) override;

  private:
    bool take_interruption() const;
    std::optional<Event> take_line(std::string &line);
    bool wait_for_input() const;
    void read_input();

    int input_;
    bool is_terminal_;
    int interruptions_ = -1; // a signalfd, unless SIGINT is ignored
    std::string read_ahead_;
    std::size_t at_ = 0;      // the first byte that was not taken
    std::size_t dropped_ = 0; // bytes of the line that is read
    bool has_ended_ = false;
};

} // namespace shell
