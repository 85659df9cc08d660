// The file that holds the saved elements of one service.
#pragma once

#include <vector>

#include "sim/service.h"

namespace sim {

// Thrown when a file is not what was saved.
struct DamagedFile {};

// The contents of the service's file.
Bytes contents_of(const Service &service);
// The elements in such contents; throws DamagedFile.
std::vector<Element> elements_in(const Bytes &contents);

} // namespace sim
