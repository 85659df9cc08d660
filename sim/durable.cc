// A write is complete once it is on the disk: fsync of a file for its bytes, of a folder for the names in it.
#include "sim/durable.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "sim/store_lock.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kFolderMode = S_IRWXU, kFileMode = S_IRUSR | S_IWUSR;

class OpenFile {
  public:
    OpenFile(const std::string &path, int flags) : file_(::open(path.c_str(), flags | O_CLOEXEC, kFileMode)) {}
    ~OpenFile() {
        if (file_ >= 0) ::close(file_);
    }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

    bool is_open() const { return file_ >= 0; }
    bool write(const Bytes &bytes) const {
        for (std::size_t at = 0; at < bytes.size();) {
            const ssize_t written = ::write(file_, bytes.data() + at, bytes.size() - at);
            if (written < 0 && errno != EINTR) return false;
            if (written > 0) at += static_cast<std::size_t>(written);
        }
        return true;
    }
    bool sync() const { return ::fsync(file_) == 0; }

  private:
    int file_;
};

std::string folder_above(const std::string &path) {
    const std::string above = fs::path(path).parent_path();
    return above.empty() ? "." : above;
}

// What root writes belongs to the owner of the folder that it is in, or the owner could not read it.
void give_to_owner_of_folder(const std::string &path) {
    struct stat folder = {};
    if (::geteuid() != 0 || ::stat(folder_above(path).c_str(), &folder) != 0 || folder.st_uid == 0) return;
    if (::lchown(path.c_str(), folder.st_uid, folder.st_gid) != 0) fail("cannot give away", path);
}

} // namespace

void fail(const std::string &what, const std::string &path) {
    throw StoreError(what + ' ' + path + ": " + std::strerror(errno));
}

void make_folder(const std::string &path) {
    if (::mkdir(path.c_str(), kFolderMode) != 0) fail("cannot make", path);
    give_to_owner_of_folder(path);
}

void make_folders(const std::string &path, std::vector<std::string> &made) {
    std::error_code error;
    if (path.ends_with('/')) return make_folders(folder_above(path), made);
    if (fs::is_directory(path, error)) return;
    if (fs::exists(fs::symlink_status(path, error))) {
        errno = ENOTDIR;
        fail("cannot use", path);
    }
    make_folders(folder_above(path), made);
    if (::mkdir(path.c_str(), kFolderMode) == 0) {
        made.push_back(path);
    } else if (errno != EEXIST) { // another process may just have made it
        fail("cannot make", path);
    }
    sync_folder(folder_above(path));
}

void write_file(const std::string &path, const Bytes &bytes) {
    const OpenFile file(path, O_WRONLY | O_CREAT | O_EXCL);
    if (!file.is_open() || !file.write(bytes) || !file.sync()) fail("cannot write", path);
    give_to_owner_of_folder(path);
}

void sync_folder(const std::string &path) {
    const OpenFile folder(path, O_RDONLY | O_DIRECTORY);
    if (!folder.is_open() || !folder.sync()) fail("cannot force to the disk", path);
}

void remove_tree(const std::string &path) {
    try {
        fs::remove_all(path);
    } catch (const fs::filesystem_error &error) {
        throw StoreError("cannot remove " + path + ": " + error.code().message());
    }
}

void exchange_folder(const std::string &path, const std::string &fresh) {
    std::error_code error;
    const bool is_first = !fs::exists(fs::symlink_status(path, error));
    const unsigned flags = is_first ? RENAME_NOREPLACE : RENAME_EXCHANGE;
    if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, path.c_str(), flags) != 0) fail("cannot replace", path);
}

} // namespace sim
