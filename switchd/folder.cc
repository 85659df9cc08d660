// The kernel frees the lock when switchd ends in whatever way. A temporary folder whose switchd was killed is removed
// by the next one: its lock file exists, but is free. A lock file gets its name only when it is locked, and is removed
// last, so that a folder that is being made or removed is never taken for such a one. A folder without a lock file,
// whose switchd was killed at the beginning or the end, is removed when it is older than a minute.
#include "switchd/folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <system_error>

#include "nats/objects.h"
#include "switchd/usage.h"

namespace switchd {
namespace {

namespace fs = std::filesystem;

constexpr char kPrefix[] = "switchd.", kLock[] = "lock";

[[noreturn]] void fail(const std::string &what) {
    throw nats::Error(what + ": " + std::strerror(errno));
}

fs::path base() {
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    return runtime != nullptr && fs::is_directory(runtime) ? fs::path(runtime) : fs::temp_directory_path();
}

bool is_private(const fs::path &path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & 077) == 0;
}

// The caller holds the lock.
void remove_folder(const fs::path &path) {
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(path, error))
        if (entry.path().filename() != kLock) fs::remove_all(entry.path(), error);
    fs::remove_all(path, error);
}

bool is_old(const fs::path &path) {
    std::error_code error;
    const auto changed = fs::last_write_time(path, error);
    return !error && fs::file_time_type::clock::now() - changed > std::chrono::minutes(1);
}

void remove_if_left(const fs::path &path) {
    if (!path.filename().string().starts_with(kPrefix) || !is_private(path)) return;
    const Descriptor file(open((path / kLock).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    const bool has_no_lock = file.get() < 0 && errno == ENOENT && is_old(path);
    if (has_no_lock || (file.get() >= 0 && flock(file.get(), LOCK_EX | LOCK_NB) == 0)) remove_folder(path);
}

void remove_what_is_left(const fs::path &base) {
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(base, error))
        remove_if_left(entry.path());
}

fs::path new_folder() {
    remove_what_is_left(base());
    std::string path = base() / (std::string(kPrefix) + "XXXXXX");
    if (mkdtemp(path.data()) == nullptr) fail("cannot make the folder " + path);
    return path;
}

fs::path own_folder(const std::string &given) {
    fs::path path = fs::absolute(given);
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) fail("cannot make the folder " + given);
    struct stat status;
    if (lstat(path.c_str(), &status) != 0) fail("cannot use the folder " + given);
    if (!S_ISDIR(status.st_mode)) throw UsageError(given + " is no folder");
    if (status.st_uid != geteuid()) throw nats::Error("the folder " + given + " belongs to another user");
    if ((status.st_mode & 077) != 0)
        throw nats::Error("others have access to the folder " + given + "; change that with chmod 700");
    return path;
}

std::string first_line_of(const fs::path &path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

} // namespace

Folder::Folder(const std::optional<std::string> &given)
    : path_(given ? own_folder(*given) : new_folder()), is_temporary_(!given) {
    lock();
}

Folder::~Folder() {
    if (is_temporary_) remove_folder(path_);
}

void Folder::lock() {
    const fs::path path = path_ / kLock, making = path_ / "lock.new";
    const fs::path &opened = is_temporary_ ? making : path;
    lock_ = Descriptor(open(opened.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (lock_.get() < 0) fail("cannot use the folder " + path_.string());
    if (flock(lock_.get(), LOCK_EX | LOCK_NB) != 0)
        throw nats::Error("the folder " + path_.string() + " is in use by another switchd, pid " + first_line_of(path) +
                          "; end that one, or name another folder");
    const std::string pid = std::to_string(getpid()) + '\n';
    if (ftruncate(lock_.get(), 0) != 0 || ::write(lock_.get(), pid.data(), pid.size()) < 0)
        fail("cannot use the folder " + path_.string());
    if (is_temporary_) fs::rename(making, path);
}

void Folder::write(const std::string &name, const std::string &text) const {
    const std::string path = path_of(name), part = path + ".new";
    unlink(part.c_str());
    const Descriptor file(open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (file.get() < 0 || ::write(file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        rename(part.c_str(), path.c_str()) != 0)
        fail("cannot write " + path);
}

void Folder::remove(const std::string &name) const {
    std::error_code error;
    fs::remove_all(path_ / name, error);
}

} // namespace switchd
