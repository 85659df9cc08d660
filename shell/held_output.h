// Standard output of a command that is held back until it is known whether the configuration is complete.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace shell {

// Nothing reads standard output any more.
class NoReader : public std::runtime_error {
  public:
    NoReader() : std::runtime_error("nothing reads standard output") {}
};

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
    // Bring what was written to its place. Throws std::runtime_error, or NoReader.
    void publish();
    // Say that it was not brought there.
    void report_withheld() const;

  private:
    void replace_file();
    void copy_to_standard_output() const;

    std::string name_;             // as the user gave it; empty for standard output
    std::string path_, temporary_; // temporary_ is empty as long as, and again when, no file has that name
    int descriptor_;
};

} // namespace shell
