// The saved configuration on disk: a folder with the text as `startup-cfg/system.cfg`, the elements of each service as
// a file in `startup-cfg/bin`, and `lock`, which the process that uses the store holds locked.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "sim/switch.h"

namespace sim {

class StoreError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Failure statuses, whose texts syserr2str knows.
enum : uint32_t {
    kStatusStoreLocked = 0x40440001, // by another process
    kStatusStoreUnusable = 0x40440002,
    kStatusStoreDamaged = 0x40440003 // of a service whose file is not what was saved
};

// Give a switch the store in `folder`, which need not exist yet; "" removes it. Throws StoreError when the paths in it
// would not fit into the platform's records.
void use_store(Switch &sw, const std::string &folder);

// Lock the store for this process, and release it. The end of the process releases it too. A second lock and the
// release of an unlocked store succeed. Returns 0 or a status.
uint32_t lock_store(const std::string &folder);
void unlock_store();

// The answer to a lock exchange.
qarn_lock_response store_response(const Switch &sw);

// Replace the saved configuration by `text` and the elements of every service, in one step. Throws StoreError.
void save_startup(const Switch &sw, const std::string &text);

// The reply of a service to a request for the startup configuration, from its file below the request's startup_uri. A
// service without a file has nothing saved; a service with a damaged file fails.
Bytes answer_from_store(const Service &service, const qarn_cfg_req_msg &request);

} // namespace sim
