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

// Names in each message, as long as the object lives, where a command comes from, such as "backup.cmds:3". An empty
// place, of a command that someone types, is not written. The processes of the command inherit it.
class Place {
  public:
    explicit Place(std::string place);
    ~Place();
    Place(const Place &) = delete;
    Place &operator=(const Place &) = delete;
};

// Names in each message what it concerns: a VDC, or one of two configurations. A log has this too.
class Subject {
  public:
    explicit Subject(std::string subject);
    ~Subject();
    Subject(const Subject &) = delete;
    Subject &operator=(const Subject &) = delete;
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
// Let the programs that this process starts write into the log, if there is one.
void share_message_log();
// Write into the log of the program that started this one, if it shares one.
void join_message_log();

} // namespace shell
