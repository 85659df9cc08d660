// The saved configuration on disk: a folder with the text as `startup-cfg/system.cfg`, the elements of each service as
// a file in `startup-cfg/bin`, the manifest of these files as `startup-cfg/manifest`, and `lock`, which the process
// that uses the store holds locked.
#pragma once

#include <cstdint>
#include <string>

#include "sim/store_lock.h"
#include "sim/switch.h"

namespace sim {

// Give a switch the store in `folder`, which need not exist yet; "" removes it. Throws StoreError when the paths in it
// would not fit into the platform's records.
void use_store(Switch &sw, const std::string &folder);

// The folder of a VDC's store: a folder within the switch's store, or for the default VDC that store itself.
std::string folder_of_vdc(const std::string &store, uint32_t vdc);

// Paths within the folder of a saved configuration.
std::string text_path(const std::string &saved_folder);
std::string manifest_path(const std::string &saved_folder);
std::string service_path(const std::string &saved_folder, uint32_t sap);

// The answer to a lock exchange.
qarn_lock_response store_response(const Switch &sw);
// The folder of the saved configuration that a request names.
std::string requested_folder(const qarn_cfg_req_msg &request);

// Replace the saved configuration by `text` and the elements of every service, in one step. If this fails, the old
// configuration remains and nothing else does. Throws StoreError. SIGINT, SIGHUP, SIGTERM, SIGQUIT and SIGPIPE make it
// fail until the moment of the replacement, and take effect at its end.
void save_startup(const Switch &sw, const std::string &text);
// Remove what a process that was killed while it saved has left, unless another process saves now.
void remove_unfinished_save(const Switch &sw);

} // namespace sim
