// The command, time and version lines, the display conversion library that may rewrite every ordinary element's text,
// and the listing of placeholders. ddas_qarn_cnv_handle_p is non-null only while a conversion is open; the functions
// may stay resolved after a failed opening, and lib_handle keeps its last value.
#include <qarncli/display.h>

#include <qarncli/element.h>
#include <qarncli/element_store.h>
#include <qarncli/globals.h>
#include <qarncli/message.h>
#include <qarncli/ordering.h>
#include <qarncli/request.h>

#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/owner.h"
#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "platform/sysmgr.h"
#include "print/lookup.h"

namespace qarn {
namespace {

constexpr char kConversionLibrary[] = "/opux/lib/libddas.so";
constexpr uint32_t kConversionSpecification = 1; // element id of UUID 222
constexpr char kSavedAt[] = "Startup config saved at";
constexpr int kLineSize = 4098;

// ctime's text, newline included.
const char *text_of(std::time_t time) {
    const char *text = std::ctime(&time);
    return text != nullptr ? text : "\n";
}

// Print the first line of the ASCII startup file that gives the time of saving.
void print_saved_at(const char *path) {
    const File file(std::fopen(path, "r"));
    if (!file) {
        std::printf("Error: opening file: %s", path);
        std::fflush(stdout);
        return;
    }
    char buffer[kLineSize];
    while (std::fgets(buffer, sizeof buffer, file.get()) != nullptr) {
        if (char *newline = std::strchr(buffer, '\n')) *newline = '\0';
        const char *line = buffer + std::strspn(buffer, " \t");
        if (std::strstr(line, kSavedAt) == nullptr) continue;
        csm_qarn_sp_print("%s\n", line);
        return;
    }
}

void forget_conversion_functions() {
    ddas_create_func_ptr = nullptr;
    ddas_cnv_func_ptr = nullptr;
    ddas_destroy_func_ptr = nullptr;
}

// Resolve one function of the conversion library; if that fails, print the loader's message and return false.
template <typename Function>
bool resolve(Function *&function, const char *symbol) {
    function = reinterpret_cast<Function *>(dlsym(lib_handle, symbol));
    const char *error = dlerror();
    if (error == nullptr) return true;
    csm_qarn_sp_print("\n *** %s ***\n", error);
    return false;
}

// Load the library with all its functions, or not at all.
bool load_conversion_library() {
    lib_handle = dlopen(kConversionLibrary, RTLD_LAZY);
    if (lib_handle == nullptr) return false;
    if (resolve(ddas_create_func_ptr, "ddas_create_qarn_cnv_handle") && resolve(ddas_cnv_func_ptr, "ddas_qarn_cnv") &&
        resolve(ddas_destroy_func_ptr, "ddas_destroy_qarn_cnv_handle")) {
        return true;
    }
    forget_conversion_functions();
    dlclose(lib_handle);
    return false;
}

} // namespace
} // namespace qarn

void qarn_time_print(qarn_req *req, uint32_t cfg_source, const char *path) {
    if (cfg_source == QARN_SOURCE_RUNNING && (g_cli_generic_option & QARN_OPTION_SAVED_NOW) != 0) {
        csm_qarn_sp_print("\n!Command: show startup-config\n");
        const std::time_t now = std::time(nullptr);
        csm_qarn_sp_print("!Time: %s", qarn::text_of(now));
        csm_qarn_sp_print("!Startup config saved at: %s\n", qarn::text_of(now));
        return;
    }
    if ((g_cli_generic_option & QARN_OPTION_CHECKPOINT) != 0) {
        csm_qarn_sp_print("\n!Command: Checkpoint cmd vdc %d\n", sysmgr_vdc_get() & 0xffff);
    } else {
        csm_qarn_sp_print("\n!Command: %s\n", req->cmd_line);
    }
    csm_qarn_sp_print("!Time: %s", qarn::text_of(std::time(nullptr)));
    if (cfg_source == QARN_SOURCE_STARTUP) qarn::print_saved_at(path);
}

void qarn_version_print() {
    if (const char *version = srg_sw_ver_get(0)) csm_qarn_sp_print("\nversion %s\n", version);
}

void qarn_pre_display_op(qarn_req *req) {
    if ((req->info_flags & QARN_INFO_PLAIN) != 0) return;
    const qarn_merge_val *specification = qarn_merge_value_get(QARN_UUID_CONVERSION, qarn::kConversionSpecification);
    if (specification == nullptr || !qarn::load_conversion_library() || ddas_create_func_ptr == nullptr) return;
    const uint32_t status = ddas_create_func_ptr(specification->elem->cfg_str->str, &ddas_qarn_cnv_handle_p);
    if (status != 0) {
        csm_qarn_sp_print("Error in pre display operation:%s\n", syserr2str(status));
        ddas_qarn_cnv_handle_p = nullptr;
    }
}

void qarn_post_display_op() {
    if (ddas_qarn_cnv_handle_p == nullptr) return;
    if (ddas_destroy_func_ptr != nullptr) {
        const uint32_t status = ddas_destroy_func_ptr(ddas_qarn_cnv_handle_p);
        if (status != 0) csm_qarn_sp_print("Error in post display operation:%s\n", syserr2str(status));
    }
    dlclose(lib_handle);
    ddas_qarn_cnv_handle_p = nullptr;
    qarn::forget_conversion_functions();
}

void print_dummy_elems(const queue *queue) {
    csm_qarn_sp_print("Dummy Elements:\n");
    for (const queue_node *node = queue->head; node != nullptr; node = node->next) {
        const qarn_merge_key &key = qarn::key_of_vertex(node->data);
        const qarn_merge_val *value = qarn::value_of_vertex(node->data);
        if (value != nullptr && (value->elem->property & QARN_PROP_DUMMY) != 0) {
            csm_qarn_sp_print("(%d,%d) ", key.uuid, key.elem_id);
        }
    }
    csm_qarn_sp_print("\n");
    std::fflush(stdout);
}
