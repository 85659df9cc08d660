// Lines that two elements print in one block.
#pragma once

#include <vector>

#include "explain/check/rule.h"
#include "explain/origins.h"
#include "explain/subject.h"

namespace explain {

// A finding of `rule` for the second element and each further one.
std::vector<Finding> find_shared_lines(const Subject &subject, const Origins &origins, const CheckRule &rule);

} // namespace explain
