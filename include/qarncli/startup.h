/* The saved configuration: whether it is there, its display as stored, the lock of the binary store, and the
 * line-card manager's module list. */
#ifndef QARNCLI_STARTUP_H
#define QARNCLI_STARTUP_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

struct dirent;
struct qarn_req;

/* Opcodes of the two exchanges. */
enum { QARN_OPC_STORE_LOCK = 7670, QARN_OPC_MODULE_LIST = 1076 };

struct qarn_lock_request {
    uint32_t lock; /* 1 lock, 0 unlock */
    uint32_t pid;
};
QARN_AT(struct qarn_lock_request, pid, 4);
QARN_SIZE(struct qarn_lock_request, 8);

/* Owned by the platform, valid until its next exchange. */
struct qarn_lock_response {
    char bin_uri[256];   /* binary store; its last 4 characters are a suffix */
    char debug_uri[256]; /* debug store */
    uint32_t status;
};
QARN_AT(struct qarn_lock_response, debug_uri, 256);
QARN_AT(struct qarn_lock_response, status, 512);
QARN_SIZE(struct qarn_lock_response, 516);

QARN_FLEX_BEGIN
struct qarn_module_list {
    uint8_t unused[128];
    uint32_t count;
    uint32_t status[]; /* of module 1, 2, ... */
};
QARN_FLEX_END
QARN_AT(struct qarn_module_list, count, 128);
QARN_AT(struct qarn_module_list, status, 132);

/* 1 when the ASCII file exists; its path goes into `path`, a buffer of 256 bytes. A path that does not fit counts as
 * absent, and `path` is then empty. */
QARN_EXPORT int32_t qarn_is_startup_cfg_present(struct qarn_req *req, char *path);
/* 1 when the binary store holds an entry, or cannot be read. */
QARN_EXPORT int32_t qarn_is_startup_bin_cfg_present(struct qarn_req *req);
/* scandir filter: 1 for a name that does not begin with ".". */
QARN_EXPORT int dir_empty_check(const struct dirent *entry);
/* Show the ASCII file by running a separate program, which writes to standard output; -1 if the file is missing. */
QARN_EXPORT int32_t qarn_merge_cat_file(const char *path);
/* Lock (1) or release (0) the store for this process. Returns 0, or the error, which has been printed. */
QARN_EXPORT uint32_t qarn_startup_cfg_lock(uint32_t mts_handle, uint32_t lock);
/* Ask the line-card manager for the module list; for the shell. Always returns 0. */
QARN_EXPORT uint32_t qarn_startup_cfg_modlist_get(struct qarn_req *req);

QARN_END_DECLS

#endif
