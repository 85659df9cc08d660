// Reading the saved configuration for a display. Everything that is wrong with it is reported on standard error, each
// time with the path.
#pragma once

#include <optional>
#include <string>
#include <vector>

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

// What the services saved, and what is wrong with the file of each; empty if it is what was saved.
struct SavedServices {
    Manifest manifest;
    std::vector<std::string> faults;
};
// Read under the lock of the store. None if nothing was saved, or after a report if there is no manifest that can be
// read. Throws StoreError.
std::optional<SavedServices> list_saved_services(const Switch &sw);

// What was reported since the current display began, each with its path.
const std::vector<std::string> &saved_config_problems();

// Report again what an earlier command has reported, for a switch without that store.
void report_earlier_problem(const std::string &problem);

// What a display finds out about a folder: whether there is anything in it, and whether it has a text.
bool has_entries(const std::string &folder);
Fact describe_text_in(const std::string &folder);

// The reply of a service to a request for the startup configuration, from its file below the request's startup_uri. A
// service that is not in the manifest has nothing saved. It fails if its file is missing or not what was saved; without
// a manifest, if its file cannot be decoded.
Bytes answer_from_store(const Service &service, const qarn_cfg_req_msg &request);

} // namespace sim
