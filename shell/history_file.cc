// The file has one line of text for each line. Everything happens under a lock on the file. A session that shortens
// the file replaces it, so whoever has waited for the lock opens the file once more.
#include "shell/history_file.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "shell/lines.h"
#include "shell/message.h"
#include "sim/visible.h"

namespace shell {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostBytes = std::size_t{1} << 20; // read from the end of the file
// A session that adds lines lets the file grow to these before it shortens the file.
constexpr std::size_t kMostBytesBetween = kMostBytes + kMostBytes / 10;
constexpr std::size_t kMostLinesBetween = kMostHistoryLines + kMostHistoryLines / 10;
constexpr int kMostAttempts = 100; // to lock the file: half a second

[[noreturn]] void fail(const std::string &what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

std::string file_of_user() {
    const char *const state = std::getenv("XDG_STATE_HOME"), *const home = std::getenv("HOME");
    if (state != nullptr && state[0] == '/') return std::string(state) + "/vsh/history";
    if (home != nullptr && home[0] == '/') return std::string(home) + "/.local/state/vsh/history";
    throw std::runtime_error("neither HOME nor XDG_STATE_HOME is set");
}

// New folders are for their owner only.
void make_folders(const fs::path &folder) {
    if (folder.empty() || mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) return;
    if (errno == ENOENT && folder.has_relative_path()) {
        make_folders(folder.parent_path());
        if (mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) return;
    }
    fail(folder);
}

// An open file with its lock, which ends with the object.
class LockedFile {
  public:
    explicit LockedFile(const std::string &path) {
        for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
            descriptor_ = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600);
            if (descriptor_ < 0) fail(path);
            if (flock(descriptor_, LOCK_EX | LOCK_NB) == 0 && is_still(path)) {
                check(path);
                return;
            }
            close(std::exchange(descriptor_, -1));
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        throw std::runtime_error(path + " is locked by another process");
    }
    ~LockedFile() { close(descriptor_); }
    LockedFile(const LockedFile &) = delete;
    LockedFile &operator=(const LockedFile &) = delete;

    std::size_t size() const {
        struct stat file = {};
        fstat(descriptor_, &file);
        return static_cast<std::size_t>(file.st_size);
    }

    std::string read_from(std::size_t at) const {
        std::string text(size() - at, '\0');
        const ssize_t got = pread(descriptor_, text.data(), text.size(), static_cast<off_t>(at));
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        return text;
    }

    void append(const std::string &text) const { write_all(descriptor_, text); }

    static void write_all(int descriptor, const std::string &text) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written >= 0 && static_cast<std::size_t>(written) < text.size()) errno = ENOSPC;
        if (written != static_cast<ssize_t>(text.size())) fail("cannot write");
    }

  private:
    bool is_still(const std::string &path) const {
        struct stat opened = {}, named = {};
        return fstat(descriptor_, &opened) == 0 && stat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
               opened.st_dev == named.st_dev;
    }

    void check(const std::string &path) {
        struct stat file = {};
        const bool is_regular = fstat(descriptor_, &file) == 0 && S_ISREG(file.st_mode);
        if (is_regular && ((file.st_mode & 0077) == 0 || fchmod(descriptor_, 0600) == 0)) return;
        close(std::exchange(descriptor_, -1));
        throw std::runtime_error(path + (is_regular ? " can be read by others" : " is not a regular file"));
    }

    int descriptor_ = -1;
};

// What can be typed.
bool is_presentable(std::string_view line) {
    return !line.empty() && line.size() <= kLongestLine && !sim::has_control(line) &&
           g_utf8_validate(line.data(), static_cast<gssize>(line.size()), nullptr);
}

std::vector<std::string> presentable_lines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (is_presentable(line)) lines.emplace_back(line);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return lines;
}

std::size_t count_lines(const LockedFile &file) {
    const std::string text = file.read_from(0);
    return static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

std::vector<std::string> newest_lines(const LockedFile &file) {
    const std::size_t size = file.size(), begin = size > kMostBytes ? size - kMostBytes : 0;
    std::string text = file.read_from(begin);
    if (begin > 0) text.erase(0, text.find('\n')); // the rest of a line
    std::vector<std::string> lines = presentable_lines(text);
    const std::size_t excess = lines.size() > kMostHistoryLines ? lines.size() - kMostHistoryLines : 0;
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(excess));
    return lines;
}

void replace(const std::string &path, const std::vector<std::string> &lines) {
    const std::string beside = path + ".new";
    unlink(beside.c_str()); // of a session that was killed
    const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0) fail(beside);
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    try {
        LockedFile::write_all(file, text);
    } catch (const std::runtime_error &) {
        close(file);
        unlink(beside.c_str());
        throw;
    }
    close(file);
    if (rename(beside.c_str(), path.c_str()) != 0) fail(path);
}

} // namespace

HistoryFile::HistoryFile() {
    try {
        const fs::path file = file_of_user();
        make_folders(file.parent_path());
        std::error_code error;
        path_ = fs::weakly_canonical(file, error); // a symbolic link stays
        if (error) path_ = file;
    } catch (const std::runtime_error &error) {
        give_up(error.what());
    }
}

std::vector<std::string> HistoryFile::load() {
    if (path_.empty()) return {};
    try {
        const LockedFile file(path_);
        std::vector<std::string> lines = newest_lines(file);
        if (file.size() > kMostBytes || count_lines(file) > kMostHistoryLines) replace(path_, lines);
        return lines;
    } catch (const std::runtime_error &error) {
        give_up(error.what());
    }
    return {};
}

void HistoryFile::append(const std::string &line) {
    if (path_.empty() || !is_presentable(line)) return;
    try {
        const LockedFile file(path_);
        const std::size_t size = file.size();
        const bool is_torn = size > 0 && file.read_from(size - 1) != "\n"; // by a full disk
        file.append((is_torn ? "\n" : "") + line + '\n');
        lines_ = size == size_ ? lines_ + 1 : count_lines(file); // another session may have added lines
        size_ = file.size();
        if (size_ > kMostBytesBetween || lines_ > kMostLinesBetween) replace(path_, newest_lines(file));
    } catch (const std::runtime_error &error) {
        give_up(error.what());
    }
}

void HistoryFile::give_up(const std::string &reason) {
    path_.clear();
    print_message("no history is kept: %s", reason.c_str());
}

} // namespace shell
