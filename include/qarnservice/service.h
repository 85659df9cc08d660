/* A process as a service of a switch. It registers with a NATS server, gets the requests for its configuration and
 * answers them.
 *
 *     static int answer(void *context, const struct qarn_service_request *request, struct qarn_service_reply *reply)
 *     {
 *         qarn_service_reply_element(reply, &element);
 *         return qarn_service_reply_text(reply, "feature tunnel\n", QARN_SERVICE_TEXT);
 *     }
 *     ...
 *     if (qarn_service_open(&options, answer, NULL, &service, &error) == QARN_SERVICE_OK)
 *         qarn_service_run(service, &error);
 *     qarn_service_close(service);
 *
 * A program with a loop of its own waits for the descriptor of the service instead, and then calls
 * qarn_service_process.
 *
 * The callbacks are called by qarn_service_process and qarn_service_run, on their thread. They must not close the
 * service or throw. Services of one process with the same address and credentials share a connection, which has threads
 * of its own; these take no signals. A service cannot be used in a child process that was forked after it was opened.
 *
 * The library behind the connection ignores SIGPIPE in the whole process.
 *
 * One thread at a time may use a service, except that qarn_service_answer, qarn_service_send and qarn_service_max_data
 * may be called on any thread. */
#ifndef QARNSERVICE_SERVICE_H
#define QARNSERVICE_SERVICE_H

#include <qarnservice/abi.h>
#include <qarnservice/error.h>
#include <qarnservice/reply.h>
#include <qarnservice/request.h>

QARN_SERVICE_BEGIN_DECLS

struct qarn_service;

/* What a callback returns if the service answers later. */
enum { QARN_SERVICE_LATER = -1 };

/* Answers a request. With QARN_SERVICE_OK, the library sends what the callback has put into the reply. With
 * QARN_SERVICE_LATER, it sends nothing; the request then belongs to the callback's owner, who frees it after the
 * answer. Any other value, and a reply with an error, is sent as a failure and reported as an event. */
typedef int (*qarn_service_callback)(void *context, const struct qarn_service_request *request,
                                     struct qarn_service_reply *reply);

/* Gets one line without a newline, for a log, about what happens to the service: its connection was lost and is back,
 * it could not register, a request was wrong. News of a connection are an event of one of the services that share it.
 */
typedef void (*qarn_service_event)(void *context, const char *text);

/* Set to zero what is not needed. Texts and the structure are copied. */
struct qarn_service_options {
    size_t size;              /* sizeof(struct qarn_service_options), so that later versions may add fields */
    const char *url;          /* of the NATS server: nats://HOST:PORT, or tls://HOST:PORT for another machine */
    const char *credentials;  /* path of the file with the user and the certificates; null: none */
    const char *switch_name;  /* of the switch that has the service */
    const char *vdc;          /* number of its virtual device context, 1 to 65535; null: 1 */
    const char *name;         /* of the service, for people */
    uint32_t sap;             /* 2 to 0xfffffffe, of this service alone */
    uint32_t uuid;            /* of its elements, 1 to QARN_SERVICE_MAX_UUID */
    uint32_t by_sap_only;     /* 1: requests to all services do not reach it, only those to its SAP; else 0 */
    uint32_t max_data;        /* most bytes of data in a message; 0: 32768. The server's limit counts too */
    qarn_service_event event; /* null: nobody wants the events */
};

/* Connect and register. `context` is passed to the callbacks. Returns QARN_SERVICE_OK with `*service`, which the caller
 * closes, or null there and
 *   QARN_SERVICE_INVALID    an option breaks its bounds;
 *   QARN_SERVICE_TAKEN      another service has the SAP, which the text names;
 *   QARN_SERVICE_NO_SERVER  the server cannot be reached, does not accept the credentials or has no JetStream;
 *   QARN_SERVICE_NO_MEMORY  memory ran out. */
QARN_SERVICE_EXPORT int qarn_service_open(const struct qarn_service_options *options, qarn_service_callback callback,
                                          void *context, struct qarn_service **service,
                                          struct qarn_service_error *error);

/* Take the registration away and free the service, which may be null. Waits for the server for at most two seconds; if
 * it does not answer, the registration ends after ten seconds. Requests that were not answered are lost. From now on
 * nobody may call qarn_service_stop: ignore the signals whose handler does so before. */
QARN_SERVICE_EXPORT void qarn_service_close(struct qarn_service *service);

/* Answer requests until qarn_service_stop. Returns QARN_SERVICE_OK then, and QARN_SERVICE_NO_SERVER if the server has
 * closed the connection for good. A broken connection is made again, for as long as that takes. */
QARN_SERVICE_EXPORT int qarn_service_run(struct qarn_service *service, struct qarn_service_error *error);

/* Make qarn_service_run return, also the next one. May be called on any thread and by a signal handler. */
QARN_SERVICE_EXPORT void qarn_service_stop(struct qarn_service *service);

/* A descriptor that is readable when there is something to do: a request, the renewal of the registration, news of the
 * connection. It belongs to the service; wait for it only. */
QARN_SERVICE_EXPORT int qarn_service_descriptor(const struct qarn_service *service);

/* Do what there is to do: answer the requests, and then renew the registration. Only the renewal waits, for at most two
 * seconds; after a wait in vain no service with the same connection waits for three seconds. Returns QARN_SERVICE_OK,
 * QARN_SERVICE_STOPPED after qarn_service_stop, and QARN_SERVICE_NO_SERVER as qarn_service_run does. */
QARN_SERVICE_EXPORT int qarn_service_process(struct qarn_service *service, struct qarn_service_error *error);

/* Answer a request that was to be answered later. The caller keeps both. Returns the error of the reply, if it has
 * one, and then sends a failure; QARN_SERVICE_NO_SERVER if the answer was not sent, because there is no connection or
 * the service is not registered: only a registered one answers, since another may have got its SAP. */
QARN_SERVICE_EXPORT int qarn_service_answer(struct qarn_service *service, const struct qarn_service_request *request,
                                            struct qarn_service_reply *reply, struct qarn_service_error *error);

/* Send one message of an answer, which qarn_service_fragments has made. QARN_SERVICE_INVALID: it is larger than the
 * server permits; QARN_SERVICE_NO_SERVER as above. */
QARN_SERVICE_EXPORT int qarn_service_send(struct qarn_service *service, const struct qarn_service_request *request,
                                          const void *message, size_t size, struct qarn_service_error *error);

/* Most bytes of data in a message: the option, or less if the server permits less. */
QARN_SERVICE_EXPORT size_t qarn_service_max_data(const struct qarn_service *service);

QARN_SERVICE_END_DECLS

#endif
