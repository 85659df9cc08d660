// Messages to the user. They go to standard error.
#pragma once

#include <string>

namespace shell {

// Write "vsh: ", the place of the command, the text and a newline.
void print_message(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Where the command that runs comes from, such as "backup.cmds:3", as long as the object lives. An empty place, of a
// command that someone types, is not written. The processes of the command inherit it.
class Place {
  public:
    explicit Place(std::string place);
    ~Place();
    Place(const Place &) = delete;
    Place &operator=(const Place &) = delete;
};

} // namespace shell
