// One line on a terminal about a command that waits for services.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "sim/switch.h"

namespace shell {

struct Awaited {
    std::size_t answered, asked;
    std::vector<std::string> names; // of the services that are still to answer
    std::optional<std::chrono::seconds> left;
};
// "12 of 37 services have answered; waiting for ospf, bgp, 3 more; 118 s left", with as many names as fit into `width`
// columns.
std::string waiting_line(const Awaited &awaited, std::size_t width);

// Whether standard error is a terminal on which a line can be erased.
bool can_erase_lines();

// To be called before a command: if it waits for longer than half a second, its child shows the line on standard error,
// and erases it when the wait ends. Does nothing where standard error is no terminal that can erase a line.
void show_waits(sim::Switch &sw);

// Erase the line that a child has left because it was ended while it waited.
void erase_waiting_line();

} // namespace shell
