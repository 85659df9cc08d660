// Access to the saved configuration: whether its two forms are there, the display of the ASCII file as it is stored,
// the lock of the binary store (start_cfg_locked, startup_resp_data), and the line-card manager's module list.
// Responses of the platform's exchanges stay the platform's.
#include <qarncli/startup.h>

#include <qarncli/globals.h>
#include <qarncli/message.h>
#include <qarncli/request.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "base/owner.h"
#include "base/trace.h"
#include "platform/csm.h"
#include "platform/programs.h"
#include "platform/sysmgr.h"

namespace {

constexpr int kPathSize = 256;
constexpr std::size_t kModuleListRequestSize = 132;

bool exists(const char *path) {
    struct stat status;
    return stat(path, &status) == 0;
}

// Number of entries that count in a directory, -1 when it cannot be read.
int count_entries(const char *directory) {
    dirent **entries = nullptr;
    const int count = scandir(directory, &entries, dir_empty_check, nullptr);
    for (int i = 0; i < count; ++i)
        std::free(entries[i]);
    if (count >= 0) std::free(entries);
    return count;
}

void print_modules(const qarn_module_list &modules) {
    csm_qarn_sp_print("Received modlist from lcm with count:%d\n", modules.count);
    for (uint32_t i = 0; i < modules.count; ++i)
        csm_qarn_sp_print("Module %d status %d\n", i + 1, modules.status[i]);
}

} // namespace

int32_t qarn_is_startup_cfg_present(qarn_req *req, char *path) {
    const char *directory = sysmgrcmi_dir_get(req->mts_handle, SYSMGR_DIR_ASCII_STARTUP, 0);
    if (directory == nullptr) return 0;
    if (std::snprintf(path, kPathSize, "%s/%s", directory, "system.cfg") >= kPathSize) {
        path[0] = '\0'; // a cut path would name another file
        return 0;
    }
    return exists(path) ? 1 : 0;
}

int32_t qarn_is_startup_bin_cfg_present(qarn_req *req) {
    const char *directory = sysmgrcmi_dir_get(req->mts_handle, SYSMGR_DIR_BIN_STARTUP, 0);
    if (directory == nullptr) return 0;
    const int count = count_entries(directory);
    if (qarn::debugging(QARN_DEBUG_STORE)) qarn::trace("Startup bin cfg dir %s count:%d\n", directory, count);
    return count != 0 ? 1 : 0;
}

int dir_empty_check(const dirent *entry) {
    return entry->d_name[0] != '.' ? 1 : 0;
}

int32_t qarn_merge_cat_file(const char *path) {
    if (!exists(path)) return -1;
    execute_program_and_wait("/bin/cat", path, static_cast<char *>(nullptr));
    return 0;
}

uint32_t qarn_startup_cfg_lock(uint32_t mts_handle, uint32_t lock) {
    const qarn_lock_request request = {lock, static_cast<uint32_t>(getpid())};
    uint32_t length = sizeof request;
    void *response = nullptr;
    const uint32_t status =
        cmi_req_resp(QARN_OPC_STORE_LOCK, 3, &request, &response, &length, "", "", 76, mts_handle, 20);
    if (status != 0) {
        csm_qarn_sp_print("%s\n", syserr2str(status));
        return status;
    }
    start_cfg_locked = lock;
    startup_resp_data = response;
    if (response != nullptr && qarn::debugging(QARN_DEBUG_STORE)) {
        const auto *answer = static_cast<const qarn_lock_response *>(response);
        qarn::trace("Bin Config URI base = %.*s\n", static_cast<int>(sizeof answer->bin_uri), answer->bin_uri);
        qarn::trace("Debug Config URI base = %.*s\n", static_cast<int>(sizeof answer->debug_uri), answer->debug_uri);
        qarn::trace("Status is  %s\n", syserr2str(answer->status));
    }
    return 0;
}

uint32_t qarn_startup_cfg_modlist_get(qarn_req *req) {
    char request[kModuleListRequestSize] = {};
    std::snprintf(request, sizeof request, "%s/bin", QARN_DEFAULT_STARTUP_URI);
    uint32_t length = sizeof request;
    if (qarn::debugging(QARN_DEBUG_STORE)) {
        qarn::trace("LCM ascii_command is %s psspath is %s \n", req->startup_uri, request);
    }
    void *response = nullptr;
    const uint32_t status =
        cmi_req_resp(QARN_OPC_MODULE_LIST, 1, request, &response, &length, "", "", 16, req->mts_handle, 0);
    if (status != 0) {
        csm_qarn_sp_print("Unable to communicate with Linecard manager:0x%x\n", status);
        return 0;
    }
    req->modlist = response;
    if (req->modlist_flag != 0 && response != nullptr) print_modules(*static_cast<const qarn_module_list *>(response));
    return 0;
}
