/* Cutting a reply into the messages that carry it. */
#ifndef QARNSERVICE_FRAGMENTS_H
#define QARNSERVICE_FRAGMENTS_H

#include <qarnservice/abi.h>
#include <qarnservice/error.h>

QARN_SERVICE_BEGIN_DECLS

enum { QARN_SERVICE_FRAGMENT_HEADER = 16 }; /* bytes before the data of a message */

/* Gets each message, which is valid during the call. 0 goes on, any other value stops. It must not throw. */
typedef int (*qarn_service_take)(void *context, const void *message, size_t size);

/* Cut the `size` bytes of a reply into messages with at most `max_data` bytes of data each, and pass them to `take` in
 * order, on the caller's thread. `sap` is the SAP of the service that answers, 2 to 0xfffffffe. Returns
 * QARN_SERVICE_INVALID before the first message if an argument is out of bounds, and QARN_SERVICE_STOPPED if `take`
 * stopped. */
QARN_SERVICE_EXPORT int qarn_service_fragments(const void *reply, size_t size, uint32_t sap, size_t max_data,
                                               qarn_service_take take, void *context, struct qarn_service_error *error);

QARN_SERVICE_END_DECLS

#endif
