// The signals of switchd, which are blocked and read from descriptors.
#pragma once

#include <exception>

#include "switchd/process.h"

namespace switchd {

// A signal has come that ends switchd.
struct Ended : std::exception {};

void block_signals();

// Readable when one has come of those that end switchd, and with `children` also when a child ended.
enum class Children { kIgnored, kIncluded };
Descriptor descriptor_of_signals(Children children);

} // namespace switchd
