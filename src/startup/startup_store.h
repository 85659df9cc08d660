// The startup store of one command: checked, locked, and released again.
#pragma once

#include <qarncli/request.h>

#include <optional>

#include "base/owner.h"

namespace qarn {

struct StartupStore {
    char ascii_path[256] = {}; // of the ASCII startup file; empty in running displays
    Malloced<char> uri;        // base URI, when the lock's response named one
};

// Check that the display can go on, lock the store and derive its base URI. If the display cannot go on, print what
// went wrong, or the ASCII file instead of the configuration, and return the status to end with.
std::optional<uint32_t> open_startup_store(qarn_req &req, StartupStore &store);

// Release the startup store if it is held.
void release_startup_store(uint32_t handle);

} // namespace qarn
