// The program that shows a long text on a terminal.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace shell {

// $PAGER, or "less". SIGINT is for the pager alone as long as it runs; SIGTERM is passed on to it.
class Pager {
  public:
    Pager() = default;
    ~Pager();
    Pager(const Pager &) = delete;
    Pager &operator=(const Pager &) = delete;

    // False where no process can be made, after a message.
    bool start();
    // Give it as much of the text as it takes now. Returns the number of bytes.
    std::size_t feed(std::string_view text) const;
    void end_text();
    // Wait until the pager ends, or there is `input`, or the pager takes more text.
    void wait(int input, bool has_text);
    bool has_ended();
    // After its end: whether its program could not be started. Whoever tried has reported it.
    bool has_failed() const;
    bool was_killed() const; // by a signal
    // What it has not read.
    std::string take_back() const;

  private:
    [[noreturn]] void run(int text, pid_t parent) const;

    int read_end_ = -1, write_end_ = -1, end_ = -1; // end_ becomes readable when the process ends
    pid_t process_ = -1;
    int status_ = -1; // after its end
};

} // namespace shell
