// The file `lock` has two uses. A flock on the whole file is the lock itself. The file is also divided into slots of
// one line each: a holder locks a slot of its own and writes its line there. A line whose slot is not locked is left
// over from a process that has ended.
#include "sim/store_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <utility>

namespace sim {
namespace {

constexpr int kSlotSize = 256, kSlots = 64; // the holders beyond these have the lock, but no line

// Open while this process holds the lock. Programs that it starts do not inherit it.
int lock_file = -1;

// The command line of this process, on one line.
std::string own_command() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::string command{std::istreambuf_iterator<char>(file), {}};
    if (command.ends_with('\0')) command.pop_back();
    std::ranges::replace_if(
        command, [](unsigned char c) { return c < ' '; }, ' ');
    return command;
}

// Filled with blanks up to the size of a slot.
std::string own_line() {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    char since[32];
    std::strftime(since, sizeof since, "%F %T", localtime_r(&now, &local));
    std::string line = "pid " + std::to_string(::getpid()) + " since " + since + ": " + own_command();
    line.resize(kSlotSize - 1, ' ');
    return line + '\n';
}

struct flock lock_of_slot(int slot) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = slot * kSlotSize;
    lock.l_len = kSlotSize;
    return lock;
}

// A file that can only be read, or a full disk, costs the line but not the lock.
void write_own_line(int file) {
    for (int slot = 0; slot < kSlots; ++slot) {
        struct flock lock = lock_of_slot(slot);
        if (::fcntl(file, F_OFD_SETLK, &lock) != 0) continue;
        const std::string line = own_line();
        [[maybe_unused]] const ssize_t written = ::pwrite(file, line.data(), line.size(), lock.l_start);
        return;
    }
}

// The line in a slot; empty if no process holds the slot.
std::string line_of_holder(int file, int slot) {
    struct flock lock = lock_of_slot(slot);
    if (::fcntl(file, F_OFD_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) return {};
    char line[kSlotSize];
    const ssize_t got = ::pread(file, line, sizeof line, slot * kSlotSize);
    std::string text(line, got > 0 ? static_cast<std::size_t>(got) : 0);
    text.erase(text.find_last_not_of(" \n") + 1);
    return text;
}

std::string holders(int file) {
    std::string text;
    for (int slot = 0; slot < kSlots; ++slot)
        if (const std::string line = line_of_holder(file, slot); !line.empty())
            text.append(text.empty() ? ": " : "; ").append(line);
    return text;
}

class OpenLockFile {
  public:
    // A store that this process may only read can be locked too, once its lock file exists.
    explicit OpenLockFile(const std::string &path) {
        constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        file_ = ::open(path.c_str(), O_RDWR | O_CREAT | kFlags, S_IRUSR | S_IWUSR);
        const int reason = errno;
        if (file_ < 0 && (reason == EACCES || reason == EROFS)) file_ = ::open(path.c_str(), O_RDONLY | kFlags);
        if (file_ < 0) {
            errno = reason; // not that the file does not exist, if it could not be made
            fail(path);
        }
        refuse_foreign_file(path);
        if (::geteuid() == 0) leave_to_owner_of_store(path);
    }
    ~OpenLockFile() {
        if (file_ >= 0) ::close(file_);
    }
    OpenLockFile(const OpenLockFile &) = delete;
    OpenLockFile &operator=(const OpenLockFile &) = delete;

    void lock(const std::string &path, LockMode mode) const {
        if (::flock(file_, (mode == LockMode::kShared ? LOCK_SH : LOCK_EX) | LOCK_NB) == 0) return;
        if (errno != EWOULDBLOCK) fail(path);
        throw LockError(kStatusStoreLocked, "startup configuration is locked by another process" + holders(file_));
    }
    // False after a copy that failed has removed the lock file that it had made.
    bool is_at(const std::string &path) const {
        struct stat opened = {}, present = {};
        return ::fstat(file_, &opened) == 0 && ::stat(path.c_str(), &present) == 0 && opened.st_ino == present.st_ino &&
               opened.st_dev == present.st_dev;
    }
    int release() { return std::exchange(file_, -1); }

  private:
    // Holders write into the file, which must therefore be the store's own: no link to another file.
    void refuse_foreign_file(const std::string &path) {
        struct stat opened = {};
        if (::fstat(file_, &opened) == 0 && S_ISREG(opened.st_mode) && opened.st_nlink <= 1) return;
        ::close(std::exchange(file_, -1));
        throw LockError(kStatusStoreUnusable,
                        "cannot lock " + path + ": it is not a regular file of its own; remove it");
    }
    // Or the owner could not lock the store after root has.
    void leave_to_owner_of_store(const std::string &path) const {
        struct stat folder = {};
        const std::string store = path.substr(0, path.rfind('/'));
        if (::stat(store.c_str(), &folder) != 0) return;
        if (::fchown(file_, folder.st_uid, folder.st_gid) != 0) fail(path);
    }
    [[noreturn]] static void fail(const std::string &path) {
        const std::string why = errno == ELOOP ? "it is a symbolic link; remove it" : std::strerror(errno);
        throw LockError(kStatusStoreUnusable, "cannot lock " + path + ": " + why);
    }
    int file_ = -1;
};

bool try_to_lock(const std::string &path, LockMode mode) {
    OpenLockFile file(path);
    file.lock(path, mode);
    if (!file.is_at(path)) return false;
    lock_file = file.release();
    write_own_line(lock_file);
    return true;
}

// On a medium that nobody can write, such as a mounted backup.
bool cannot_be_written(const std::string &folder) {
    return ::access(lock_path(folder).c_str(), F_OK) != 0 && ::access(folder.c_str(), W_OK) != 0 && errno == EROFS;
}

} // namespace

std::string lock_path(const std::string &folder) {
    return folder + "/lock";
}

void lock_store(const std::string &folder, LockMode mode) {
    const std::string path = lock_path(folder);
    if (mode == LockMode::kShared && cannot_be_written(folder)) return;
    while (lock_file < 0 && !try_to_lock(path, mode)) {
    }
}

void unlock_store() {
    if (lock_file >= 0) ::close(std::exchange(lock_file, -1));
}

} // namespace sim
