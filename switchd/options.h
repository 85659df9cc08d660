// The command line of switchd.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace switchd {

struct Options {
    std::string switch_file = {};
    std::string listen = "127.0.0.1:0";
    std::optional<std::string> folder = {};
    std::optional<std::string> switch_name = {}; // none: the description's
    std::optional<std::string> join = {};        // address of another machine's engine; none: one is started
    std::optional<std::string> credentials = {}; // for it: a file, or a folder with a file per user
    std::string service_program = {};
    uint32_t timeout_unit = 1000;           // milliseconds
    std::vector<std::string> services = {}; // names of those that are started; empty: all
};

// What is wrong with the name of a switch; empty: nothing.
std::string fault_of_name(const std::string &name);

// Declare the options so that a parse of the command line sets them.
void declare_options(CLI::App &app, Options &options);

} // namespace switchd
