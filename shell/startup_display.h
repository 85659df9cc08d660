// Whether a display of the startup configuration showed what was asked for.
#pragma once

#include <cstdint>

#include <qarncli/qarncli.h>

namespace shell {

// The status of a command after its entry point has returned `status`. A display of the startup configuration fails if
// the library refused it with status 0, or if the store was not whole.
uint32_t status_of_display(const qarn_req &req, uint32_t status);

} // namespace shell
