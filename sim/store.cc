// The layout of the store, and saving. A save writes a new folder beside the old one, forces it to the disk and
// exchanges the two, so that a reader finds either the old state or the new one, also after a crash.
#include "sim/store.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>
#include <vector>

#include "platform/vdc.h"
#include "sim/durable.h"
#include "sim/manifest.h"
#include "sim/service_file.h"

namespace sim {
namespace {

constexpr std::string_view kScheme = "readonly:";
constexpr std::string_view kBinary = "/bin", kDebug = "/dbg"; // suffixes of the two URIs

std::string saved_folder(const std::string &folder) {
    return folder + "/startup-cfg";
}

// Where a save writes.
std::string fresh_folder(const std::string &store) {
    return saved_folder(store) + ".new";
}

// While this lives, signals that would end the process wait, and a file that grows too large is an error.
class SignalsHeld {
  public:
    SignalsHeld() {
        sigemptyset(&held_);
        for (const int signal : {SIGINT, SIGHUP, SIGTERM, SIGQUIT, SIGPIPE})
            sigaddset(&held_, signal);
        sigprocmask(SIG_BLOCK, &held_, &mask_before_);
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGXFSZ, &ignore, &size_before_);
    }
    ~SignalsHeld() {
        sigaction(SIGXFSZ, &size_before_, nullptr);
        sigprocmask(SIG_SETMASK, &mask_before_, nullptr);
    }
    SignalsHeld(const SignalsHeld &) = delete;
    SignalsHeld &operator=(const SignalsHeld &) = delete;

    void throw_if_one_came() const {
        sigset_t pending;
        sigpending(&pending);
        for (const int signal : {SIGINT, SIGHUP, SIGTERM, SIGQUIT, SIGPIPE})
            if (sigismember(&pending, signal) == 1)
                throw StoreError(std::string("interrupted by signal ") + std::to_string(signal) +
                                 "; nothing was saved");
    }

  private:
    sigset_t held_ = {}, mask_before_ = {};
    struct sigaction size_before_ = {};
};

// A locked store with the folder for a new configuration. Its end releases the store, and if the new configuration did
// not take its place, removes all that was made for it.
class Saving {
  public:
    explicit Saving(const std::string &store) : store_(store) {
        try {
            make_folders(store, made_);
            had_lock_ = ::access(lock_path(store).c_str(), F_OK) == 0;
            lock_store(store, LockMode::kExclusive);
        } catch (const StoreError &) {
            remove_made_folders();
            throw;
        }
    }
    ~Saving() {
        try {
            remove_tree(fresh());
        } catch (const StoreError &) { // the next save removes it
        }
        if (!is_done_ && !had_lock_) ::unlink(lock_path(store_).c_str());
        unlock_store();
        if (!is_done_) remove_made_folders();
    }
    Saving(const Saving &) = delete;
    Saving &operator=(const Saving &) = delete;

    std::string fresh() const { return fresh_folder(store_); }
    void exchange() {
        exchange_folder(saved_folder(store_), fresh());
        is_done_ = true;
        sync_folder(store_);
    }

  private:
    void remove_made_folders() const {
        // A folder that another process uses by now is not empty, and stays.
        std::for_each(made_.rbegin(), made_.rend(), [](const std::string &folder) { ::rmdir(folder.c_str()); });
    }

    std::string store_;
    std::vector<std::string> made_;
    bool had_lock_ = false, is_done_ = false;
};

Manifest::SavedService write_service(const std::string &folder, const Service &service) {
    const Bytes contents = contents_of(service);
    write_file(service_path(folder, service.sap), contents);
    return {service.sap, service.name, service.elements.size(), describe_file(contents)};
}

void write_configuration(const std::string &folder, const Switch &sw, const std::string &text) {
    const std::string binary = folder + std::string(kBinary);
    make_folder(folder);
    make_folder(binary);
    Manifest manifest{sw.name, sw.vdc, std::time(nullptr), describe_file(text), {}};
    write_file(text_path(folder), text);
    for (const Service &service : sw.services)
        manifest.services.push_back(write_service(folder, service));
    write_file(manifest_path(folder), manifest_text(manifest));
    sync_folder(binary);
    sync_folder(folder);
}

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

std::string text_path(const std::string &saved_folder) {
    return saved_folder + "/system.cfg";
}

std::string manifest_path(const std::string &saved_folder) {
    return saved_folder + "/manifest";
}

std::string service_path(const std::string &saved_folder, uint32_t sap) {
    return saved_folder + std::string(kBinary) + '/' + std::to_string(sap);
}

qarn_lock_response store_response(const Switch &sw) {
    qarn_lock_response response = {};
    const std::string base = std::string(kScheme) + sw.ascii_startup_dir;
    std::snprintf(response.bin_uri, sizeof response.bin_uri, "%s%s", base.c_str(), kBinary.data());
    std::snprintf(response.debug_uri, sizeof response.debug_uri, "%s%s", base.c_str(), kDebug.data());
    return response;
}

std::string requested_folder(const qarn_cfg_req_msg &request) {
    std::string_view folder(request.startup_uri, strnlen(request.startup_uri, sizeof request.startup_uri));
    if (folder.starts_with(kScheme)) folder.remove_prefix(kScheme.size());
    return std::string(folder);
}

void save_startup(const Switch &sw, const std::string &text) {
    const SignalsHeld signals;
    Saving saving(sw.store);
    remove_tree(saving.fresh()); // left by a process that was killed
    write_configuration(saving.fresh(), sw, text);
    signals.throw_if_one_came();
    saving.exchange();
}

void remove_unfinished_save(const Switch &sw) {
    const std::string left = fresh_folder(sw.store);
    if (::access(left.c_str(), F_OK) != 0) return;
    try {
        lock_store(sw.store, LockMode::kExclusive);
        remove_tree(left);
    } catch (const StoreError &) { // the next save removes it
    }
    unlock_store();
}

} // namespace sim
