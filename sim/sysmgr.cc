// System manager: the folders and the lock of the saved configuration, the line-card modules, the names of the services
// and the texts of the error codes. A response of an exchange lives until the next exchange.
#include "platform/sysmgr.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include "sim/notation.h"
#include "sim/saved_config.h"
#include "sim/store.h"
#include "sim/switch.h"

namespace sim {
namespace {

constexpr uint32_t kUnknownOpcode = 0x40400001, kUnknownService = 0x40400002;

struct ErrorText {
    uint32_t code;
    const char *text;
};
constexpr ErrorText kErrorTexts[] = {
    {0, "success"},
    {QARN_STATUS_FAILED, "configuration could not be generated completely"},
    {QARN_STATUS_INVALID, "invalid command"},
    {QARN_STATUS_NO_STARTUP, "no startup configuration present"},
    {kStatusStoreLocked, "startup configuration is locked by another process"},
    {kStatusStoreUnusable, "startup configuration store cannot be locked"},
    {kStatusStoreDamaged, "saved configuration of the service is damaged"},
};

// One block per response, so that sanitizers find a use after the next exchange.
std::unique_ptr<unsigned char[]> last_response;

// Lock or release the store on disk, if there is one. The status has no room for the holder of the lock.
uint32_t move_lock(const Switch &sw, const void *request) {
    if (sw.store.empty()) return 0;
    qarn_lock_request wanted;
    std::memcpy(&wanted, request, sizeof wanted);
    if (wanted.lock == 0) {
        unlock_store();
        return 0;
    }
    try {
        lock_store(sw.store, LockMode::kShared);
    } catch (const LockError &error) {
        std::fprintf(stderr, "store: %s\n", printable(error.what()).c_str());
        return error.status;
    }
    open_saved_config(sw);
    return 0;
}

std::string lock_response(const Switch &sw) {
    if (sw.store.empty() && !sw.lock_response) return "";
    const qarn_lock_response answer = sw.store.empty() ? *sw.lock_response : store_response(sw);
    return {reinterpret_cast<const char *>(&answer), sizeof answer};
}

// A response that an earlier command has had may have any size.
std::unique_ptr<unsigned char[]> as_response(const std::string &bytes) {
    if (bytes.size() != sizeof(qarn_lock_response)) return nullptr;
    auto response = std::make_unique<unsigned char[]>(bytes.size());
    std::memcpy(response.get(), bytes.data(), bytes.size());
    return response;
}

uint32_t exchange_lock(Switch &sw, const void *request) {
    const Fact lock = sw.learn(FactKind::kStoreLock, [&] {
        const uint32_t status = move_lock(sw, request);
        return Fact{FactKind::kStoreLock, status, 0, status == 0 ? lock_response(sw) : ""};
    });
    if (lock.value == 0) last_response = as_response(lock.text);
    return lock.value;
}

std::unique_ptr<unsigned char[]> module_list(const Switch &sw) {
    const auto count = static_cast<uint32_t>(sw.modules.size());
    const std::size_t size = sizeof(uint32_t) * count;
    auto response = std::make_unique<unsigned char[]>(sizeof(qarn_module_list) + size);
    std::memcpy(response.get() + offsetof(qarn_module_list, count), &count, sizeof count);
    if (count != 0) std::memcpy(response.get() + offsetof(qarn_module_list, status), sw.modules.data(), size);
    return response;
}

// The request as the record of calls shows it, without the process id of a lock request, which differs in every run.
std::string describe_request(uint32_t opcode, const void *request, uint32_t length) {
    if (opcode == QARN_OPC_STORE_LOCK && length >= sizeof(uint32_t)) {
        uint32_t lock = 0;
        std::memcpy(&lock, request, sizeof lock);
        return lock != 0 ? "lock" : "unlock";
    }
    const auto *text = static_cast<const char *>(request);
    return {text, strnlen(text, length)};
}

// The library treats a folder that it cannot read as present, so a missing folder must not be returned. The text lives
// until the next call.
const std::string &binary_folder(const Switch &sw) {
    static std::string folder;
    folder = sw.store.empty() ? sw.bin_startup_dir : folder_of_services(sw);
    return folder;
}

// The library looks for the text first, once per display.
const std::string &text_folder(const Switch &sw) {
    static const std::string none;
    return sw.store.empty() || begin_startup_display(sw) ? sw.ascii_startup_dir : none;
}

const char *text_or_null(const std::string &text) {
    return text.empty() ? nullptr : text.c_str();
}

const char *learn_text_folder(Switch &sw) {
    static std::string folder;
    const Fact fact = sw.learn(FactKind::kTextFolder, [&] {
        folder = text_folder(sw);
        return sw.observers.empty() ? Fact{FactKind::kTextFolder} : describe_text_in(folder);
    });
    if (sw.facts)
        folder = fact.value == kNoFolder ? "" : fact.value == kFolderWithText ? sw.facts->text_folder() : "/proc";
    return text_or_null(folder);
}

// The library only looks whether something is in it.
const char *learn_element_folder(Switch &sw) {
    const char *folder = nullptr;
    const Fact fact = sw.learn(FactKind::kElementFolder, [&] {
        folder = text_or_null(binary_folder(sw));
        return Fact{FactKind::kElementFolder, folder != nullptr && !sw.observers.empty() && has_entries(folder)};
    });
    if (sw.facts) folder = fact.value != 0 ? "/" : nullptr;
    return folder;
}

} // namespace

std::string Switch::error_text(uint32_t code) const {
    if (const auto found = error_texts.find(code); found != error_texts.end()) return found->second;
    for (const ErrorText &row : kErrorTexts)
        if (row.code == code) return row.text;
    char unknown[40];
    std::snprintf(unknown, sizeof unknown, "unknown error 0x%x", code);
    return unknown;
}

extern "C" {

const char *sysmgrcmi_dir_get(uint32_t handle, uint32_t id, uint32_t zero) {
    Switch &sw = current();
    if (sw.enter("sysmgrcmi_dir_get", "%u, %u, %u", handle, id, zero)) return nullptr;
    if (id == SYSMGR_DIR_ASCII_STARTUP) return learn_text_folder(sw);
    if (id == SYSMGR_DIR_BIN_STARTUP) return learn_element_folder(sw);
    return nullptr;
}

uint32_t cmi_req_resp(uint32_t opcode, uint32_t second, const void *request, void **response, uint32_t *length,
                      const char *sixth, const char *seventh, uint32_t eighth, uint32_t handle, uint32_t tenth) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("cmi_req_resp", "%u, %u, %s, %u, \"%s\", \"%s\", %u, %u, %u", opcode, second,
                                      describe_request(opcode, request, *length).c_str(), *length, sixth, seventh,
                                      eighth, handle, tenth))
        return static_cast<uint32_t>(outcome->result);
    if (opcode == QARN_OPC_STORE_LOCK) {
        if (const uint32_t status = exchange_lock(sw, request); status != 0) return status;
    } else if (opcode == QARN_OPC_MODULE_LIST) {
        last_response = module_list(sw);
    } else {
        return kUnknownOpcode;
    }
    *response = last_response.get();
    return 0;
}

uint32_t sysmgr_vdc_get(void) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("sysmgr_vdc_get")) return static_cast<uint32_t>(outcome->result);
    return sw.vdc;
}

uint32_t sysmgrcmn_srv_uuid_name_get(uint32_t handle, uint32_t second, uint32_t uuid, char *name, uint32_t size) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("sysmgrcmn_srv_uuid_name_get", "%u, %u, %u, %u", handle, second, uuid, size))
        return static_cast<uint32_t>(outcome->result);
    for (const Service &service : sw.services) {
        if (service.uuid != uuid) continue;
        std::snprintf(name, size, "%s", service.name.c_str());
        return 0;
    }
    return kUnknownService;
}

const char *srg_sw_ver_get(uint32_t first) {
    Switch &sw = current();
    if (sw.enter("srg_sw_ver_get", "%u", first)) return nullptr;
    return sw.version ? sw.version->c_str() : nullptr;
}

const char *syserr2str(uint32_t code) {
    static std::string text; // until the next call
    text = current().error_text(code);
    return text.c_str();
}

} // extern "C"

} // namespace sim
