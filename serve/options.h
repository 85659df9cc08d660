// The options of the program.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace serve {

struct Options {
    std::string switch_file, url;
    std::optional<std::string> credentials, switch_name, vdc;
    std::vector<std::string> services; // names; none: all of the description
    uint32_t timeout_unit = 1000;      // milliseconds
    std::optional<int> ready_fd;
    bool mask = false;

    // Faults of all services, in addition to those of the description.
    bool silent = false, twice = false;
    uint32_t delay = 0, drip = 0; // milliseconds
    std::optional<uint32_t> die_after, wrong_sap;
};

void declare_options(CLI::App &app, Options &options);

} // namespace serve
