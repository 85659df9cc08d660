// The lines that were typed in this and in earlier sessions.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace shell {

inline constexpr std::size_t kMostHistoryLines = 1000;

// The file vsh/history below $XDG_STATE_HOME, or below ~/.local/state. Several sessions may use it at once. The first
// error is reported on standard error, and from then on nothing is kept.
class HistoryFile {
  public:
    HistoryFile();

    // The lines of the file, oldest first. Older ones than the last kMostHistoryLines are removed from the file.
    std::vector<std::string> load();
    // Write a line to the end of the file at once, so that it is kept whatever becomes of the session. A file that has
    // grown too long is shortened as by load().
    void append(const std::string &line);

  private:
    void give_up(const std::string &reason);

    std::string path_;                 // empty: nothing is kept
    std::size_t size_ = 0, lines_ = 0; // of the file after the last append()
};

} // namespace shell
