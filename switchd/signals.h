// The signals of switchd, which are blocked and read from descriptors.
#pragma once

#include <exception>

#include "switchd/process.h"

namespace switchd {

// A signal has come that ends switchd.
struct Ended : std::exception {};

// To be called first of all, so that no signal ends the process in another way. One that was ignored, as nohup leaves
// SIGHUP, stays ignored.
void block_signals();

// Throws Ended if a signal has come that ends switchd.
void throw_if_ended();

// Readable when one has come of those that end switchd, and with `children` also when a child ended.
enum class Children { kIgnored, kIncluded };
Descriptor descriptor_of_signals(Children children);

} // namespace switchd
