// Shared libraries that a switch description names.
#pragma once

#include <string>

namespace sim {

struct Library {
    void *handle = nullptr; // null: not loaded; closed by the caller
    std::string error;      // why, with the places that were tried
};

// Open a library. A path is relative to the description's folder; a name without a slash is searched for in that
// folder, where the loader searches, beside the running program, and in the folder lib of an installation. `folder`
// ends with a slash, or is empty if the description is no file. `flags` are flags of dlopen besides RTLD_NOW.
Library open_library(const std::string &name, const std::string &folder, int flags);

// This program also defines dlopen, for libqarncli: the path of the platform's display conversion library gives
// Switch::conversion_library where the platform's own is not installed. A library that cannot be opened is reported on
// standard error.

} // namespace sim
