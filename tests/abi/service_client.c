/* A service in C as others write it: one element, cut into messages of 16 bytes of data each. */
#include <qarnservice/qarnservice.h>

static int count(void *context, const void *message, size_t size) {
    (void)message;
    *(size_t *)context += size - QARN_SERVICE_FRAGMENT_HEADER;
    return 0;
}

int main(void) {
    const struct qarn_service_element element = {.uuid = 21, .id = 4, .level = 3};
    struct qarn_service_reply *reply = qarn_service_reply_new();
    const void *bytes = NULL;
    size_t size = 0, sent = 0;
    qarn_service_reply_element(reply, &element);
    qarn_service_reply_text(reply, "feature tunnel\n", QARN_SERVICE_TEXT);
    if (qarn_service_reply_bytes(reply, &bytes, &size) != QARN_SERVICE_OK) return 1;
    const int code = qarn_service_fragments(bytes, size, 207, 16, count, &sent, NULL);
    const size_t expected = size; /* the reply is freed next */
    qarn_service_reply_free(reply);
    return code == QARN_SERVICE_OK && sent == expected ? 0 : 1;
}
