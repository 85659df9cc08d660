// Messages to the user. They go to standard error. If that is a terminal, control characters in them are visible.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace shell {

// Write "vsh: ", the place of the command, the text and a newline.
void print_message(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Write lines that are messages already.
void write_messages(std::string_view lines);

// Where the command that runs comes from, such as "backup.cmds:3", as long as the object lives. An empty place, of a
// command that someone types, is not written. The processes of the command inherit it.
class Place {
  public:
    explicit Place(std::string place);
    ~Place();
    Place(const Place &) = delete;
    Place &operator=(const Place &) = delete;
};

// Keeps the messages of a command and of its processes too, as long as the object lives.
class MessageLog {
  public:
    MessageLog();
    ~MessageLog();
    MessageLog(const MessageLog &) = delete;
    MessageLog &operator=(const MessageLog &) = delete;
};
// What the log holds. Empty without a log.
std::vector<std::string> logged_messages();

} // namespace shell
