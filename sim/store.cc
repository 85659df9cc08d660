// The saved configuration on disk. A save writes a new folder beside the old one and exchanges the two, so that a
// reader finds either the old state or the new one. The lock is a kernel lock on an open file, so that other processes
// see it, and it ends when its holder ends.
#include "sim/store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "platform/vdc.h"
#include "sim/service_file.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kScheme = "readonly:";
constexpr std::string_view kBinary = "/bin", kDebug = "/dbg"; // suffixes of the two URIs

std::string saved_folder(const std::string &folder) {
    return folder + "/startup-cfg";
}

std::string service_path(std::string_view binary_folder, uint32_t sap) {
    return std::string(binary_folder) + '/' + std::to_string(sap);
}

void write_file(const std::string &path, const Bytes &bytes) {
    std::FILE *file = std::fopen(path.c_str(), "we");
    const bool is_written = file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool is_closed = file != nullptr && std::fclose(file) == 0;
    if (!is_written || !is_closed) throw StoreError("cannot write " + path + ": " + std::strerror(errno));
}

// Put the folder `fresh` in the place of `old`, and remove `old`.
void replace_folder(const std::string &old, const std::string &fresh) {
    if (!fs::exists(old)) return fs::rename(fresh, old);
    if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, old.c_str(), RENAME_EXCHANGE) != 0)
        throw StoreError("cannot replace " + old + ": " + std::strerror(errno));
    std::error_code ignored; // the new configuration is in place; the next copy removes what is left of the old one
    fs::remove_all(fresh, ignored);
}

void write_and_replace(const Switch &sw, const std::string &text) {
    const std::string fresh = saved_folder(sw.store) + ".new", binary = fresh + std::string(kBinary);
    fs::remove_all(fresh); // left by a process that was interrupted
    fs::create_directories(binary);
    write_file(fresh + "/system.cfg", text);
    for (const Service &service : sw.services)
        write_file(service_path(binary, service.sap), contents_of(service));
    replace_folder(saved_folder(sw.store), fresh);
}

// The whole file; nothing when it does not exist.
std::optional<Bytes> read_file(const std::string &path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "re"), std::fclose);
    if (!file && errno == ENOENT) return {};
    if (!file) throw DamagedFile();
    Bytes bytes;
    char block[4096];
    while (const std::size_t got = std::fread(block, 1, sizeof block, file.get()))
        bytes.append(block, got);
    if (std::ferror(file.get()) != 0) throw DamagedFile();
    return bytes;
}

std::vector<Element> read_elements(const std::string &path) {
    const std::optional<Bytes> contents = read_file(path);
    return contents ? elements_in(*contents) : std::vector<Element>();
}

// Open while this process holds the lock. Programs that it starts do not inherit it.
int lock_file = -1;

class HeldLock {
  public:
    HeldLock() = default;
    ~HeldLock() { unlock_store(); }
    HeldLock(const HeldLock &) = delete;
    HeldLock &operator=(const HeldLock &) = delete;
};

} // namespace

std::string folder_of_vdc(const std::string &store, uint32_t vdc) {
    return store.empty() || vdc == VDC_DEFAULT_ID ? store : store + "/vdc-" + std::to_string(vdc);
}

void use_store(Switch &sw, const std::string &folder) {
    sw.store = folder;
    sw.ascii_startup_dir = folder.empty() ? "" : saved_folder(folder);
    sw.bin_startup_dir = folder.empty() ? "" : saved_folder(folder) + std::string(kBinary);
    if (kScheme.size() + sw.bin_startup_dir.size() >= sizeof(qarn_lock_response::bin_uri))
        throw StoreError("the path of the store is too long: " + folder);
}

uint32_t lock_store(const std::string &folder) {
    if (lock_file >= 0) return 0;
    const int file = ::open((folder + "/lock").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0) return kStatusStoreUnusable;
    if (::flock(file, LOCK_EX | LOCK_NB) != 0) {
        const bool is_held = errno == EWOULDBLOCK;
        ::close(file);
        return is_held ? kStatusStoreLocked : kStatusStoreUnusable;
    }
    lock_file = file;
    return 0;
}

void unlock_store() {
    if (lock_file >= 0) ::close(std::exchange(lock_file, -1));
}

qarn_lock_response store_response(const Switch &sw) {
    qarn_lock_response response = {};
    const std::string base = std::string(kScheme) + sw.ascii_startup_dir;
    std::snprintf(response.bin_uri, sizeof response.bin_uri, "%s%s", base.c_str(), kBinary.data());
    std::snprintf(response.debug_uri, sizeof response.debug_uri, "%s%s", base.c_str(), kDebug.data());
    return response;
}

void save_startup(const Switch &sw, const std::string &text) {
    try {
        fs::create_directories(sw.store);
        if (const uint32_t status = lock_store(sw.store); status == kStatusStoreLocked)
            throw StoreError("startup configuration is locked by another process");
        else if (status != 0) // NOLINT(readability-else-after-return): the status is of this statement
            throw StoreError("cannot lock " + sw.store + ": " + std::strerror(errno));
        const HeldLock held;
        write_and_replace(sw, text);
    } catch (const fs::filesystem_error &error) {
        throw StoreError(error.what());
    }
}

Bytes answer_from_store(const Service &service, const qarn_cfg_req_msg &request) {
    std::string_view folder(request.startup_uri, strnlen(request.startup_uri, sizeof request.startup_uri));
    if (folder.starts_with(kScheme)) folder.remove_prefix(kScheme.size());
    Service saved;
    saved.sap = service.sap;
    saved.uuid = service.uuid;
    saved.faults.bad_stamp = service.faults.bad_stamp;
    try {
        saved.elements = read_elements(service_path(std::string(folder) + std::string(kBinary), service.sap));
    } catch (const DamagedFile &) {
        saved.status = kStatusStoreDamaged;
    }
    return answer_from_elements(saved, request);
}

} // namespace sim
