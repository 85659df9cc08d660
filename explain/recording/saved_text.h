// The saved text of a recording as a file, which the library opens by its name.
#pragma once

#include <sys/types.h>

#include <string>

namespace explain::recording {

// A folder for one text. A process of its own makes it, and removes it when the owner has gone, however that ended.
class KeptFolder {
  public:
    KeptFolder(); // throws std::runtime_error
    ~KeptFolder();
    KeptFolder(const KeptFolder &) = delete;
    KeptFolder &operator=(const KeptFolder &) = delete;

    const std::string &path() const { return path_; }

  private:
    void start_keeper();
    void receive_path();
    void end_keeper() const;

    std::string path_;
    int connection_ = -1; // shut to end the keeper
    pid_t keeper_ = -1;
};

// A folder with one text, until it goes out of scope.
class SavedText {
  public:
    explicit SavedText(const std::string &text); // throws std::runtime_error

    const std::string &folder() const { return folder_.path(); }

  private:
    KeptFolder folder_;
};

} // namespace explain::recording
