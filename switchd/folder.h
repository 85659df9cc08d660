// The folder of one switchd: configuration, credentials and certificates, which only its owner may read.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "switchd/process.h"

namespace switchd {

class Folder {
  public:
    // A given folder is made if it does not exist, and stays. Without one, a new folder is made, and removed in the
    // end. Throws nats::Error if others have access, or if another switchd uses it, and UsageError if it is no folder.
    explicit Folder(const std::optional<std::string> &given);
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    std::string path() const { return path_; }
    std::string path_of(const std::string &name) const { return path_ / name; }
    bool has(const std::string &name) const { return std::filesystem::exists(path_ / name); }
    // Replace a file in one step. Throws nats::Error.
    void write(const std::string &name, const std::string &text) const;
    void remove(const std::string &name) const; // with what it holds

  private:
    void lock();

    std::filesystem::path path_;
    bool is_temporary_;
    Descriptor lock_;
};

} // namespace switchd
