/* Around the configuration text: the header, the display conversion, and the placeholder listing. */
#ifndef QARNCLI_DISPLAY_H
#define QARNCLI_DISPLAY_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

struct qarn_req;
struct queue;

/* Print the command and the time; for the startup configuration also the time of saving, from the ASCII file `path`. */
QARN_EXPORT void qarn_time_print(struct qarn_req *req, uint32_t cfg_source, const char *path);
/* Print the version line, if the version is known. */
QARN_EXPORT void qarn_version_print(void);

/* Open the display conversion when the element store holds a specification, element (222, 1). */
QARN_EXPORT void qarn_pre_display_op(struct qarn_req *req);
/* Close the display conversion and unload its library. Does nothing if no conversion is open. */
QARN_EXPORT void qarn_post_display_op(void);

/* List the placeholder elements of an ordered queue in the output. */
QARN_EXPORT void print_dummy_elems(const struct queue *queue);

QARN_END_DECLS

#endif
