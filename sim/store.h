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
enum : std::uint32_t {
    kStatusStoreLocked = 0x40440001, // by another process
    kStatusStoreUnusable = 0x40440002,
    kStatusStoreDamaged = 0x40440003 // of a service: its file is not what was saved
};

// Let a switch have its store in `folder`, which need not exist yet; "" takes it away. Throws StoreError when the paths
// in it would not fit into the platform's records.
void use_store(Switch &sw, const std::string &folder);

// Lock the store in the name of this process, and release it. A process that ends releases it too; to lock it again, or
// to release what is not locked, succeeds. Returns 0 or a status.
std::uint32_t lock_store(const std::string &folder);
void unlock_store();

// What the lock exchange answers.
qarn_lock_response store_response(const Switch &sw);

// Replace what is saved by `text` and the elements of every service, both at once. Throws StoreError.
void save_startup(const Switch &sw, const std::string &text);

// The reply of a service to a request for the startup configuration: from its file below the request's startup_uri.
// A service without a file has nothing saved; one whose file is damaged fails.
Bytes answer_from_store(const Service &service, const qarn_cfg_req_msg &request);

} // namespace sim
