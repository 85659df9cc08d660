// Child processes that end together with the process that started them.
#pragma once

#include <sys/types.h>

namespace sim {

// To be called by a child right after fork: from now on the kernel kills the child when `parent`, which called fork,
// ends in whatever way. A child of the child is not killed, and needs a call of its own.
void end_with_parent(pid_t parent);

} // namespace sim
