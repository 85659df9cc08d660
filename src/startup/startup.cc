// Access to the saved configuration: whether its two forms are there, the display of the ASCII file as it is stored,
// the lock of the binary store (start_cfg_locked, startup_resp_data), and the line-card manager's module list.
// The platform owns the responses of its exchanges.
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
#include "outcome/outcome.h"
#include "platform/csm.h"
#include "platform/programs.h"
#include "platform/sysmgr.h"

namespace qarn {
namespace {

constexpr int kPathSize = 256;
constexpr std::size_t kModuleListRequestSize = 132;

// An exchange with a manager of the platform. The library passes the numbers on; their meaning belongs to the
// platform's request service.
struct Exchange {
    uint32_t opcode;
    uint32_t second, eighth, tenth; // arguments of cmi_req_resp
};
constexpr Exchange kStoreLock = {.opcode = QARN_OPC_STORE_LOCK, .second = 3, .eighth = 76, .tenth = 20};
constexpr Exchange kModuleList = {.opcode = QARN_OPC_MODULE_LIST, .second = 1, .eighth = 16, .tenth = 0};

// Returns 0 and stores the response, or returns an error code.
uint32_t request(const Exchange &exchange, uint32_t handle, const void *bytes, uint32_t length, void **response) {
    *response = nullptr;
    return cmi_req_resp(exchange.opcode, exchange.second, bytes, response, &length, "", "", exchange.eighth, handle,
                        exchange.tenth);
}

bool exists(const char *path) {
    struct stat status;
    return stat(path, &status) == 0;
}

// The number of entries of a directory that dir_empty_check accepts; -1 if the directory cannot be read.
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
} // namespace qarn

int32_t qarn_is_startup_cfg_present(qarn_req *req, char *path) {
    const char *directory = sysmgrcmi_dir_get(req->mts_handle, SYSMGR_DIR_ASCII_STARTUP, 0);
    if (directory == nullptr) return 0;
    if (std::snprintf(path, qarn::kPathSize, "%s/%s", directory, "system.cfg") >= qarn::kPathSize) {
        path[0] = '\0'; // a cut path would name another file
        return 0;
    }
    return qarn::exists(path) ? 1 : 0;
}

int32_t qarn_is_startup_bin_cfg_present(qarn_req *req) {
    const char *directory = sysmgrcmi_dir_get(req->mts_handle, SYSMGR_DIR_BIN_STARTUP, 0);
    if (directory == nullptr) return 0;
    const int count = qarn::count_entries(directory);
    if (qarn::debugging(QARN_DEBUG_STORE)) qarn::trace("Startup bin cfg dir %s count:%d\n", directory, count);
    return count != 0 ? 1 : 0;
}

int dir_empty_check(const dirent *entry) {
    return entry->d_name[0] != '.' ? 1 : 0;
}

int32_t qarn_merge_cat_file(const char *path) {
    if (!qarn::exists(path)) {
        qarn::note_refusal(QARN_OUTCOME_NO_STARTUP);
        return -1;
    }
    if (execute_program_and_wait("/bin/cat", path, static_cast<char *>(nullptr)) != 0) {
        qarn::note_refusal(QARN_OUTCOME_PROGRAM);
    }
    qarn::note_printed();
    return 0;
}

uint32_t qarn_startup_cfg_lock(uint32_t mts_handle, uint32_t lock) {
    const qarn_lock_request lock_request = {lock, static_cast<uint32_t>(getpid())};
    void *response = nullptr;
    const uint32_t status = qarn::request(qarn::kStoreLock, mts_handle, &lock_request, sizeof lock_request, &response);
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
    char path[qarn::kModuleListRequestSize] = {};
    std::snprintf(path, sizeof path, "%s/bin", QARN_DEFAULT_STARTUP_URI);
    if (qarn::debugging(QARN_DEBUG_STORE)) {
        qarn::trace("LCM ascii_command is %s psspath is %s \n", req->startup_uri, path);
    }
    void *response = nullptr;
    const uint32_t status = qarn::request(qarn::kModuleList, req->mts_handle, path, sizeof path, &response);
    if (status != 0) {
        csm_qarn_sp_print("Unable to communicate with Linecard manager:0x%x\n", status);
        return 0;
    }
    req->modlist = response;
    if (req->modlist_flag != 0 && response != nullptr)
        qarn::print_modules(*static_cast<const qarn_module_list *>(response));
    return 0;
}
