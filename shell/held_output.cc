// A file is written without a name on the disk of its folder, then synchronized, given a temporary name and renamed. A
// reader finds the old text or the whole new one, after a power failure too, and a shell that is killed leaves nothing.
#include "shell/held_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "shell/message.h"

namespace shell {
namespace {

[[noreturn]] void fail(const std::string &path) {
    throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
}

// The file behind symbolic links, so that the links stay. It need not exist.
std::string target_of(const std::string &path) {
    constexpr int kMostLinks = 40; // as for the kernel
    std::filesystem::path target = path;
    std::error_code error;
    for (int links = 0; links < kMostLinks; ++links) {
        const std::filesystem::path next = std::filesystem::read_symlink(target, error);
        if (error) return target.string();
        target = target.parent_path() / next;
    }
    errno = ELOOP;
    fail(path);
}

std::string folder_of(const std::string &path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

// The permissions of the file that is replaced, or those of a new file.
mode_t mode_for(const std::string &path) {
    struct stat old;
    if (stat(path.c_str(), &old) == 0) {
        if (!S_ISREG(old.st_mode)) throw std::runtime_error("cannot write " + path + ": it is not a regular file");
        return old.st_mode & 0777;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

void sync_folder(const std::string &path) {
    const int folder = open(folder_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool is_synced = folder >= 0 && fsync(folder) == 0;
    if (folder >= 0) close(folder);
    if (!is_synced) fail(path);
}

// Root leaves the file to its owner.
bool keep_owner(const std::string &path, int file) {
    struct stat old;
    if (geteuid() != 0 || stat(path.c_str(), &old) != 0) return true;
    return fchown(file, old.st_uid, old.st_gid) == 0;
}

// Some file systems know no file without a name. There the file has its temporary name from the start.
int open_beside(const std::string &path, std::string &temporary) {
    const int file = open(folder_of(path).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0) return file;
    temporary = folder_of(path) + "/.vsh.XXXXXX";
    const int named = mkostemp(temporary.data(), O_CLOEXEC);
    if (named < 0) temporary.clear();
    return named;
}

// Gives a file without a name one that no other file has.
std::string link_beside(const std::string &path, int file) {
    const std::string self = "/proc/self/fd/" + std::to_string(file), beside = folder_of(path) + "/.vsh.";
    for (int attempt = 0;; ++attempt) {
        std::string name = beside + std::to_string(getpid()) + '.' + std::to_string(attempt);
        if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) return name;
        if (errno != EEXIST) fail(path);
    }
}

} // namespace

HeldOutput::HeldOutput(const std::optional<std::string> &path) {
    if (!path) {
        descriptor_ = memfd_create("output", MFD_CLOEXEC);
        if (descriptor_ < 0) fail("standard output");
        return;
    }
    name_ = *path;
    path_ = target_of(name_);
    const mode_t mode = mode_for(path_);
    descriptor_ = open_beside(path_, temporary_);
    if (descriptor_ >= 0 && keep_owner(path_, descriptor_) && fchmod(descriptor_, mode) == 0) return;
    const int reason = errno;
    if (descriptor_ >= 0) close(descriptor_);
    if (!temporary_.empty()) unlink(temporary_.c_str());
    errno = reason;
    fail(path_);
}

HeldOutput::~HeldOutput() {
    close(descriptor_);
    if (!temporary_.empty()) unlink(temporary_.c_str());
}

void HeldOutput::publish() {
    if (fsync(descriptor_) != 0) fail(path_);
    if (temporary_.empty()) temporary_ = link_beside(path_, descriptor_);
    if (rename(temporary_.c_str(), path_.c_str()) != 0) fail(path_);
    temporary_.clear();
    sync_folder(path_);
}

void HeldOutput::write(const std::string &text) const {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = ::write(descriptor_, text.data() + done, text.size() - done);
        if (written < 0) fail("what the command has printed");
        done += static_cast<std::size_t>(written);
    }
    lseek(descriptor_, 0, SEEK_SET);
}

std::string HeldOutput::contents() const {
    std::string text;
    char block[65536];
    while (const ssize_t got = pread(descriptor_, block, sizeof block, static_cast<off_t>(text.size()))) {
        if (got < 0) fail("what the command has printed");
        text.append(block, static_cast<std::size_t>(got));
    }
    return text;
}

void HeldOutput::report_withheld() const {
    if (name_.empty()) {
        print_message("nothing was printed");
    } else {
        print_message("%s is left as it was", name_.c_str());
    }
}

} // namespace shell
