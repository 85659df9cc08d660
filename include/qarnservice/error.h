/* How the library's functions report errors. */
#ifndef QARNSERVICE_ERROR_H
#define QARNSERVICE_ERROR_H

#include <qarnservice/abi.h>

/* Results of functions that return int. */
enum {
    QARN_SERVICE_OK = 0,
    QARN_SERVICE_INVALID = 1,   /* an argument or a message breaks a bound of the format */
    QARN_SERVICE_NO_MEMORY = 2, /* memory ran out */
    QARN_SERVICE_STOPPED = 3,   /* a function of the caller asked to stop */
    QARN_SERVICE_TAKEN = 4,     /* the SAP belongs to another service */
    QARN_SERVICE_NO_SERVER = 5  /* the server cannot be reached or used */
};

/* Memory of the caller. A function that takes a pointer to it fills it, also on success; the pointer may be null. */
struct qarn_service_error {
    int code;        /* as returned */
    char text[1020]; /* one line in English without a newline, NUL-terminated; empty on success */
};

#endif
