// A session of the shell: the switch that it simulates, and which of the switch's VDCs commands run on.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/switch.h"

namespace shell {

// What the shell was started with. A shell that the command for all VDCs starts finds the same in its environment.
struct Options {
    std::optional<std::string> command, switch_file, store;
    std::optional<std::uint16_t> vdc;
    std::string display_option; // of a calling shell; says nothing here
    std::uint32_t debug_mask = 0, filter_mode = 0;
    bool script_mode = false;
    std::uint32_t timeout_unit = 1000; // milliseconds
};

class Session {
  public:
    // Throws sim::DescriptionError, sim::StoreError or CommandError.
    explicit Session(const Options &options);

    // One line. Returns the command's exit code.
    int execute(const std::string &line);
    const std::string &prompt() const { return prompt_; }

  private:
    void enter(std::optional<std::uint16_t> vdc); // none: the one that the description is of
    void switch_to(const std::string &name);
    void switch_back();
    bool is_switching(const std::vector<std::string_view> &words);
    int run_line(const std::string &line);

    const Options &options_;
    std::unique_ptr<sim::Switch> switch_;
    std::string prompt_;
    bool is_away_ = false; // in another VDC than at the beginning
};

} // namespace shell
