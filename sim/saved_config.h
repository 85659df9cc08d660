// Reading the saved configuration for a display. Everything that is wrong with it is reported on standard error, each
// time with the path.
#pragma once

#include <optional>
#include <string>

#include "sim/manifest.h"
#include "sim/switch.h"

namespace sim {

// The first step of a display: report why the folder of the store cannot be used, if it cannot. False if its text is
// not a file, which could be read without end.
bool begin_startup_display(const Switch &sw);

// The folder whose entries the services saved; empty if they saved nothing.
std::string folder_of_services(const Switch &sw);

// Take up the saved configuration of a locked store, whose files must be those of its manifest: report a manifest that
// is missing, damaged or of another switch or VDC, and files and services that do not match it.
void open_saved_config(const Switch &sw);

// The other switch or VDC that has saved the configuration in the store, for a message; empty if there is none.
std::string foreign_owner(const Switch &sw);

// The manifest of the saved configuration, whoever saved it; none, after a report, if there is none that can be read.
std::optional<Manifest> saved_manifest(const Switch &sw);
// What is wrong with the file of a service; empty if it is what was saved.
std::string fault_of_saved_file(const Switch &sw, const Manifest::SavedService &saved);

// Whether nothing was reported since the current display began.
bool is_saved_config_whole();

// The reply of a service to a request for the startup configuration, from its file below the request's startup_uri. A
// service that is not in the manifest has nothing saved. It fails if its file is missing or not what was saved; without
// a manifest, if its file cannot be decoded.
Bytes answer_from_store(const Service &service, const qarn_cfg_req_msg &request);

} // namespace sim
