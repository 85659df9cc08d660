/* A service with three elements: a feature, its settings, which are printed after it, and lines in the blocks of two
 * interfaces. It answers until SIGTERM.
 *
 *     cc -std=c11 service.c $(pkg-config --cflags --libs qarnservice) -o tunnel
 *     ./tunnel nats://127.0.0.1:4222 leaf-1
 */
#include <qarnservice/qarnservice.h>

#include <signal.h>
#include <stdio.h>

enum { SAP = 207, UUID = 21 };

static struct qarn_service *service;

static void on_signal(int number) {
    (void)number;
    qarn_service_stop(service); /* NOLINT(bugprone-signal-handler): made for it */
}

static void print_event(void *context, const char *text) {
    (void)context;
    fprintf(stderr, "tunnel: %s\n", text);
}

static int answer(void *context, const struct qarn_service_request *request, struct qarn_service_reply *reply) {
    static const struct qarn_service_element feature = {.uuid = UUID, .id = 1, .level = 1};
    static const struct qarn_service_element settings = {.uuid = UUID, .id = 2, .level = 4};
    static const struct qarn_service_element ports = {
        .uuid = UUID, .id = 3, .level = 11, .property = QARN_SERVICE_PROP_INTF};
    static const uint32_t sources[] = {0x1a000000, 0x1a001000};
    (void)context;

    qarn_service_reply_element(reply, &feature);
    qarn_service_reply_text(reply, "feature tunnel\n", QARN_SERVICE_TEXT);
    qarn_service_reply_element(reply, &settings);
    qarn_service_reply_after(reply, UUID, feature.id);
    qarn_service_reply_text(reply, "tunnel keepalive 10\n", QARN_SERVICE_TEXT);
    if (request->with_defaults) qarn_service_reply_text(reply, "tunnel retries 3\n", QARN_SERVICE_TEXT);
    qarn_service_reply_element(reply, &ports);
    for (size_t i = 0; i < sizeof sources / sizeof *sources; ++i)
        if (qarn_service_request_has_interface(request, sources[i]))
            qarn_service_reply_intf_text(reply, sources[i], "  tunnel source\n", QARN_SERVICE_TEXT);
    return QARN_SERVICE_OK; /* an error stays in the reply, and is reported as an event */
}

int main(int argc, char **argv) {
    struct qarn_service_options options = {.size = sizeof options, .name = "tunnel", .sap = SAP, .uuid = UUID};
    struct qarn_service_error error;
    options.url = argc > 1 ? argv[1] : NULL;
    options.switch_name = argc > 2 ? argv[2] : NULL;
    options.credentials = argc > 3 ? argv[3] : NULL;
    options.event = print_event;
    int code = qarn_service_open(&options, answer, NULL, &service, &error);
    if (code == QARN_SERVICE_OK) {
        signal(SIGTERM, on_signal);
        signal(SIGINT, on_signal);
        code = qarn_service_run(service, &error);
    }
    if (code != QARN_SERVICE_OK) fprintf(stderr, "tunnel: %s\n", error.text);
    signal(SIGTERM, SIG_IGN); /* the handler needs the service */
    signal(SIGINT, SIG_IGN);
    qarn_service_close(service); /* from now on it is not registered */
    return code == QARN_SERVICE_OK ? 0 : 1;
}
