// Standard output of a command that is held back until it is known whether the configuration is complete.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace shell {

class HeldOutput {
  public:
    // For a file, which takes the place of `path` in one step; without a path, for standard output. Throws
    // std::runtime_error where that is impossible.
    explicit HeldOutput(const std::optional<std::string> &path);
    ~HeldOutput();
    HeldOutput(const HeldOutput &) = delete;
    HeldOutput &operator=(const HeldOutput &) = delete;

    // Where the command writes.
    int descriptor() const { return descriptor_; }

    // Write, and make what was written readable from the descriptor.
    void write(const std::string &text) const;
    // What was written.
    std::string contents() const;
    // Bring what was written to the file's place. Throws std::runtime_error.
    void publish();
    // Say that it was not brought there.
    void report_withheld() const;

  private:
    std::string name_;             // as the user gave it; empty for standard output
    std::string path_, temporary_; // temporary_ is empty as long as, and again when, no file has that name
    int descriptor_;
};

} // namespace shell
