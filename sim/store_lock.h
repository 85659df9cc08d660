// The lock of a store: a kernel lock on the open file `lock`, which ends when its holder ends. Displays share it, a
// copy excludes everybody. Each holder writes one line about itself into the file.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

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

struct LockError : StoreError {
    LockError(uint32_t failure, const std::string &message) : StoreError(message), status(failure) {}
    uint32_t status;
};

enum class LockMode { kShared, kExclusive };

std::string lock_path(const std::string &folder);

// Lock the store in `folder` for this process, and release it. The end of the process releases it too. A second lock
// and the release of an unlocked store have no effect. Throws LockError; if another process has the lock, the message
// names the holders.
void lock_store(const std::string &folder, LockMode mode);
void unlock_store();

} // namespace sim
