/* The builder of a reply: the configuration elements of a service, in the format of the switch.
 *
 *     struct qarn_service_reply *reply = qarn_service_reply_new();
 *     qarn_service_reply_element(reply, &info);
 *     qarn_service_reply_text(reply, "feature tunnel\n", QARN_SERVICE_TEXT);
 *     ...
 *     if (qarn_service_reply_bytes(reply, &bytes, &size) != QARN_SERVICE_OK)
 *         fprintf(stderr, "%s\n", qarn_service_reply_error(reply)->text);
 *
 * An error stays: from then on every function returns its code and adds nothing, so that one check at the end is
 * enough. A null reply, which qarn_service_reply_new returns if memory runs out, may be passed to every function and
 * counts as QARN_SERVICE_NO_MEMORY. The text of an error begins with the element, as "element (UUID,id)".
 *
 * Texts are copied. They may contain any byte but NUL. A length is in bytes, without a NUL at the end. */
#ifndef QARNSERVICE_REPLY_H
#define QARNSERVICE_REPLY_H

#include <qarnservice/abi.h>
#include <qarnservice/error.h>

QARN_SERVICE_BEGIN_DECLS

/* As a length: the text ends at its NUL. */
#define QARN_SERVICE_TEXT ((size_t)-1)

/* Most bytes of a reply. Its length travels in 32 bits, and the reader needs 64 bytes more. */
#define QARN_SERVICE_MAX_REPLY UINT32_C(0xffffffbf)

/* Bounds of an element. */
enum {
    QARN_SERVICE_MAX_UUID = 65535, /* from 1 */
    QARN_SERVICE_MAX_ID = 65535,   /* from 0 */
    QARN_SERVICE_MAX_LEVEL = 12,   /* from 0 */
    QARN_SERVICE_MAX_VLAN = 4095   /* from 0 */
};

/* Bits of the properties of an element. */
enum {
    QARN_SERVICE_PROP_VSAN = 0x01,        /* belongs to the VSAN view */
    QARN_SERVICE_PROP_VLAN = 0x02,        /* belongs to the VLAN view */
    QARN_SERVICE_PROP_INTF = 0x04,        /* has texts or commands for interfaces, printed in their blocks */
    QARN_SERVICE_PROP_CONDITIONAL = 0x08, /* set by qarn_service_reply_only_if */
    QARN_SERVICE_PROP_BFD = 0x20,         /* belongs to the BFD view */
    QARN_SERVICE_PROP_L2MP = 0x40,        /* belongs to the L2MP view */
    QARN_SERVICE_PROP_FEX = 0x80          /* belongs to the FEX view */
};

/* What an element has for interfaces. */
enum { QARN_SERVICE_VALUES_TEXT = 0, QARN_SERVICE_VALUES_COMMAND = 1 };

/* An element of the configuration. UUID and id identify it among all services of the switch. */
struct qarn_service_element {
    uint32_t uuid;
    uint32_t id;
    uint32_t level;    /* elements are printed level by level */
    uint32_t property; /* QARN_SERVICE_PROP_ bits */
    uint32_t values;   /* QARN_SERVICE_VALUES_TEXT or _COMMAND */
};

struct qarn_service_reply;

/* An empty reply, to be freed by the caller; null if memory runs out. An empty reply is valid: the service has no
 * configuration. */
QARN_SERVICE_EXPORT struct qarn_service_reply *qarn_service_reply_new(void);
QARN_SERVICE_EXPORT void qarn_service_reply_free(struct qarn_service_reply *reply);
/* Make the reply empty again, without error and failure status. The limit stays. */
QARN_SERVICE_EXPORT void qarn_service_reply_clear(struct qarn_service_reply *reply);
/* Refuse what would make the reply larger than `max_bytes`; by default QARN_SERVICE_MAX_REPLY, which cannot be
 * exceeded. */
QARN_SERVICE_EXPORT void qarn_service_reply_limit(struct qarn_service_reply *reply, uint32_t max_bytes);

/* Open an element. What follows belongs to it, up to the next one. */
QARN_SERVICE_EXPORT int qarn_service_reply_element(struct qarn_service_reply *reply,
                                                   const struct qarn_service_element *element);
/* The element is printed after element (uuid, id), which may be of another service. */
QARN_SERVICE_EXPORT int qarn_service_reply_after(struct qarn_service_reply *reply, uint32_t uuid, uint32_t id);
/* The element takes part only if at least one of the elements that it names in this way has a text of its own. */
QARN_SERVICE_EXPORT int qarn_service_reply_only_if(struct qarn_service_reply *reply, uint32_t uuid, uint32_t id);
/* Lines of the element, with their newlines. Several texts are printed one after the other. */
QARN_SERVICE_EXPORT int qarn_service_reply_text(struct qarn_service_reply *reply, const char *text, size_t length);
/* Lines in the block of an interface, with their indentation and newlines. Needs QARN_SERVICE_VALUES_TEXT. */
QARN_SERVICE_EXPORT int qarn_service_reply_intf_text(struct qarn_service_reply *reply, uint32_t if_index,
                                                     const char *text, size_t length);
/* A command message of the shell's framework in the block of an interface: `size` bytes, of which the header with the
 * length and the stamp are checked. Needs QARN_SERVICE_VALUES_COMMAND. */
QARN_SERVICE_EXPORT int qarn_service_reply_intf_command(struct qarn_service_reply *reply, uint32_t if_index,
                                                        const void *message, size_t size);
/* A key: a header below which the lines of all elements are printed that are filed under `name`. If `header` is empty,
 * the name is printed. `index` is an interface index or, for UUID 383, a VLAN id. Both texts end at their NUL. */
QARN_SERVICE_EXPORT int qarn_service_reply_key(struct qarn_service_reply *reply, uint32_t index, const char *header,
                                               const char *name);
/* Lines filed under the name of a key, which may be of another element. The name ends at its NUL. */
QARN_SERVICE_EXPORT int qarn_service_reply_key_string(struct qarn_service_reply *reply, const char *name,
                                                      const char *text, size_t length);

/* Answer with this failure status, which must not be 0, and without elements. */
QARN_SERVICE_EXPORT int qarn_service_reply_fail(struct qarn_service_reply *reply, uint32_t status);

/* The first error, or a record with QARN_SERVICE_OK. Valid until the reply changes or is freed; never null. */
QARN_SERVICE_EXPORT const struct qarn_service_error *qarn_service_reply_error(const struct qarn_service_reply *reply);
/* The whole reply, which the object owns: valid until it changes or is freed. With an error, null and 0. */
QARN_SERVICE_EXPORT int qarn_service_reply_bytes(struct qarn_service_reply *reply, const void **bytes, size_t *size);

QARN_SERVICE_END_DECLS

#endif
