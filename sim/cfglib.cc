// Companion configuration library: creates the element records that the library fills, holds the table of services that
// answer through a function of a shared library, and takes the final callback of a generation.
#include "sim/cfglib.h"

#include <cstdlib>
#include <cstring>

#include "platform/cfglib.h"
#include "sim/switch.h"

namespace sim {

bool add_callback_row(uint32_t sap, const std::string &function, const std::string &library, uint32_t flags) {
    if (static_cast<std::size_t>(qarn_cfg_cb_table_size) >= kCallbackRows) return false;
    qarn_cfg_cb_entry row = {};
    if (function.size() >= sizeof row.func_name || library.size() >= sizeof row.lib_name) return false;
    row.sap = static_cast<int32_t>(sap);
    row.flags = flags;
    std::memcpy(row.func_name, function.data(), function.size());
    std::memcpy(row.lib_name, library.data(), library.size());
    qarn_cfg_cb_table[qarn_cfg_cb_table_size++] = row;
    return true;
}

void clear_callback_table() {
    qarn_cfg_cb_table_size = 0;
}

extern "C" {

struct qarn_cfg_cb_entry qarn_cfg_cb_table[kCallbackRows];
int32_t qarn_cfg_cb_table_size = 0;

struct qarn_elem *qarn_elem_info_create(uint32_t uuid, uint32_t elem_id, uint32_t level, uint32_t property) {
    if (current().take_outcome("qarn_elem_info_create")) return nullptr;
    auto *elem = static_cast<qarn_elem *>(std::calloc(1, sizeof(qarn_elem)));
    if (elem == nullptr) return nullptr;
    elem->uuid = uuid;
    elem->elem_id = elem_id;
    elem->level = level;
    elem->property = property;
    elem->cfg_str = g_string_new("");
    elem->ifindex_table = g_hash_table_new(g_int_hash, g_int_equal);
    elem->key_table = g_hash_table_new(g_str_hash, g_str_equal);
    elem->keystr_table = g_hash_table_new(g_str_hash, g_str_equal);
    return elem;
}

struct qarn_elem_dependency *qarn_elem_dependency_create(uint32_t uuid, uint32_t elem_id, uint32_t dep_type,
                                                         struct qarn_elem_dependency *next) {
    if (current().take_outcome("qarn_elem_dependency_create")) return nullptr;
    auto *dependency = static_cast<qarn_elem_dependency *>(std::malloc(sizeof(qarn_elem_dependency)));
    if (dependency != nullptr) *dependency = {uuid, elem_id, dep_type, next};
    return dependency;
}

uint32_t qarn_cfg_type_get(struct mts_msg *msg) {
    if (const auto outcome = current().enter("qarn_cfg_type_get")) return static_cast<uint32_t>(outcome->result);
    const qarn_cfg_req_msg *request = request_in(msg);
    return request != nullptr ? request->cfg_source : 0;
}

void qarn_parallel_cfg_cb_invoke_handler(void *func, void *args, uint32_t *result) {
    if (current().enter("qarn_parallel_cfg_cb_invoke_handler")) return;
    reinterpret_cast<void (*)(void *, uint32_t *)>(func)(args, result);
}

uint32_t qarn_cb_run_cfg_generate(struct qarn_req *req) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("qarn_cb_run_cfg_generate", "0x%x", req->info_flags))
        return static_cast<uint32_t>(outcome->result);
    return sw.final_callback ? sw.final_callback(req) : 0;
}

} // extern "C"

} // namespace sim
