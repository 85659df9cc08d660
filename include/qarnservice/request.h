/* A request for the configuration, as a service reads it. */
#ifndef QARNSERVICE_REQUEST_H
#define QARNSERVICE_REQUEST_H

#include <qarnservice/abi.h>
#include <qarnservice/error.h>

QARN_SERVICE_BEGIN_DECLS

/* Which configuration. */
enum { QARN_SERVICE_RUNNING = 1, QARN_SERVICE_STARTUP = 2 };

/* Which part of it. The library leaves out of the views what does not belong to them; a service has to leave out what
 * the request does not name: interfaces, VLANs, VSANs, port profiles. */
enum {
    QARN_SERVICE_DISPLAY_ALL = 0,
    QARN_SERVICE_DISPLAY_VSAN = 1,
    QARN_SERVICE_DISPLAY_VLAN = 2,
    QARN_SERVICE_DISPLAY_INTERFACE = 3,
    QARN_SERVICE_DISPLAY_PROFILE = 6,
    QARN_SERVICE_DISPLAY_BFD = 7,
    QARN_SERVICE_DISPLAY_L2MP = 8,
    QARN_SERVICE_DISPLAY_NO_L2MP = 9,
    QARN_SERVICE_DISPLAY_FEX = 10,
    QARN_SERVICE_DISPLAY_NO_FEX = 11,
    QARN_SERVICE_DISPLAY_TEMPLATE = 16
};

/* Made by the library only; later versions may add fields at the end. Everything that it points to lives as long as it
 * does. Texts are NUL-terminated, and empty where the request has none. */
struct qarn_service_request {
    uint32_t src_sap;           /* SAP of the shell that asks */
    uint32_t source;            /* QARN_SERVICE_RUNNING or _STARTUP */
    uint32_t display;           /* QARN_SERVICE_DISPLAY_; services must accept values that they do not know */
    uint32_t display_type;      /* variant of the display: 0, 4, 5, 12, 13, 14 or 15 */
    uint32_t with_defaults;     /* 1: also what has its default value, else 0 */
    uint32_t flags;             /* service flags of the shell */
    uint32_t token_id;          /* token of the command that concerns services, or 0 */
    uint32_t target;            /* 0 all services, 1 all in feature mode, a row of the shell's tables, or one SAP */
    const uint32_t *interfaces; /* interface indexes, in display order */
    size_t num_interfaces;
    const uint32_t *excluded; /* SAPs of services that the display leaves out */
    size_t num_excluded;
    const char *profile_name; /* of the display of a port profile: at most 128 bytes, a longer name is cut */
    const char *startup_uri;  /* base URI of the startup store: at most 256 bytes, a longer one is cut */
    const char *command_line; /* as typed: at most 255 bytes, a longer one is cut */
};

/* Read the `size` bytes of a request message into `*request`, which the caller frees. The bytes are copied and need no
 * alignment. With QARN_SERVICE_INVALID (the bytes are no request) and QARN_SERVICE_NO_MEMORY, `*request` is null. */
QARN_SERVICE_EXPORT int qarn_service_request_new(const void *bytes, size_t size, struct qarn_service_request **request,
                                                 struct qarn_service_error *error);
QARN_SERVICE_EXPORT void qarn_service_request_free(struct qarn_service_request *request);

/* Whether the request names the interface, the VLAN or the VSAN. 1 or 0; ids above 4095 are never named. */
QARN_SERVICE_EXPORT int qarn_service_request_has_interface(const struct qarn_service_request *request,
                                                           uint32_t if_index);
QARN_SERVICE_EXPORT int qarn_service_request_has_vlan(const struct qarn_service_request *request, uint32_t vlan);
QARN_SERVICE_EXPORT int qarn_service_request_has_vsan(const struct qarn_service_request *request, uint32_t vsan);

/* The message that the request was read from, which belongs to the request. */
QARN_SERVICE_EXPORT void qarn_service_request_bytes(const struct qarn_service_request *request, const void **bytes,
                                                    size_t *size);

QARN_SERVICE_END_DECLS

#endif
