/* System manager: directories, request/response exchanges, the VDC of this process, versions and error texts. The
 * platform owns the texts and responses. */
#ifndef QARN_PLATFORM_SYSMGR_H
#define QARN_PLATFORM_SYSMGR_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

enum { SYSMGR_DIR_ASCII_STARTUP = 2, SYSMGR_DIR_BIN_STARTUP = 8 };

/* Path of a directory, or null. */
const char *sysmgrcmi_dir_get(uint32_t handle, uint32_t id, uint32_t zero);
/* One exchange. Returns 0 and stores the response (valid until the next exchange), or returns an error code. The
 * unnamed arguments belong to the request service: callers pass the numbers of their exchange and two empty texts. */
uint32_t cmi_req_resp(uint32_t opcode, uint32_t, const void *request, void **response, uint32_t *length, const char *,
                      const char *, uint32_t, uint32_t handle, uint32_t);
uint32_t sysmgr_vdc_get(void); /* low 16 bits: the VDC number */
/* Returns 0 and stores the name of a service, or returns non-zero. */
uint32_t sysmgrcmn_srv_uuid_name_get(uint32_t handle, uint32_t, uint32_t uuid, char *name, uint32_t size);
const char *srg_sw_ver_get(uint32_t); /* version of the running software, or null */
const char *syserr2str(uint32_t code);

QARN_END_DECLS

#endif
