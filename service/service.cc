// A service first serves the requests that have come, then it renews its registration.
#include <qarnservice/service.h>

#include <qarncli/message.h>
#include <qarncli/status.h>
#include <qarnservice/fragments.h>
#include <qarnservice/reply.h>

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "nats/names.h"
#include "service/border.h"
#include "service/cut.h"
#include "service/link.h"
#include "service/membership.h"
#include "service/received_request.h"
#include "service/settings.h"
#include "service/subscribe.h"

namespace service {
namespace {

using Reply = std::unique_ptr<qarn_service_reply, decltype(&qarn_service_reply_free)>;

Reply new_reply() {
    return {qarn_service_reply_new(), qarn_service_reply_free};
}

std::string_view bytes_of(qarn_service_reply *reply) {
    const void *bytes = nullptr;
    std::size_t size = 0;
    if (qarn_service_reply_bytes(reply, &bytes, &size) != QARN_SERVICE_OK) return {};
    return {static_cast<const char *>(bytes), size};
}

// As at_border, for functions that need the server.
template <typename Action>
int at_server_border(qarn_service_error *error, const Action &action) {
    return at_border(error, [&] {
        try {
            action();
        } catch (const nats::Error &failure) {
            throw Failure(QARN_SERVICE_NO_SERVER, failure.what());
        }
    });
}

} // namespace
} // namespace service

struct qarn_service {
    qarn_service(const qarn_service_options &options, qarn_service_callback callback, void *context);
    ~qarn_service() = default;
    qarn_service(const qarn_service &) = delete;
    qarn_service &operator=(const qarn_service &) = delete;

    int descriptor() const { return inbox_->descriptor(); }
    void stop() const { inbox_->stop(); }
    void run();
    void process();

    void answer(const service::Request &request, qarn_service_reply *reply);
    void send(const service::Request &request, std::string_view message);
    std::size_t max_data() const;

  private:
    void report(const std::string &text) const;

    void receive(service::Arrived &arrived);
    std::unique_ptr<service::Request> read(const service::Arrived &arrived) const;
    void serve(std::unique_ptr<service::Request> request);
    void send_whole(const service::Request &request, std::string_view reply);
    void send_failure(const service::Request &request);
    void note_answer(const service::Request &request);

    const service::Settings settings_;
    const qarn_service_callback callback_;
    const qarn_service_event event_;
    void *const context_;
    const std::shared_ptr<service::Inbox> inbox_ = std::make_shared<service::Inbox>();
    const std::shared_ptr<service::Link> link_;
    std::vector<nats::Subscription> subscriptions_;
    service::Membership membership_;
    service::Reply reply_ = service::new_reply();
};

// A service that is registered gets requests, so that it subscribes first.
qarn_service::qarn_service(const qarn_service_options &options, qarn_service_callback callback, void *context)
    : settings_(service::settings_of(options)),
      callback_(callback),
      event_(options.event),
      context_(context),
      link_(service::Link::to(settings_.access)),
      membership_(settings_.registration, link_, inbox_, [this](const std::string &text) { report(text); }) {
    link_->news().add(inbox_);
    subscriptions_ = service::subscribe(link_->connection(), settings_.registration, inbox_);
    membership_.begin();
}

void qarn_service::run() {
    for (;;) {
        struct pollfd descriptor_of_inbox = {descriptor(), POLLIN, 0};
        ::poll(&descriptor_of_inbox, 1, -1); // an interruption leads to a look that finds nothing
        process();
    }
}

void qarn_service::process() {
    if (inbox_->take_stop()) {
        inbox_->wake_at(service::Clock::now()); // what there is to do remains
        throw service::Stopped();
    }
    service::Inbox::Contents contents = inbox_->take();
    for (const std::string &event : contents.events)
        report(event);
    if (const auto why = link_->news().why_closed())
        throw nats::Error("the server has closed the connection to " + link_->url() + " for good: " + *why +
                          "; open the service again");
    membership_.register_after_loss();
    for (service::Arrived &arrived : contents.messages)
        receive(arrived);
    membership_.renew_if_due();
    membership_.wake_when_due();
}

void qarn_service::report(const std::string &text) const {
    if (event_ != nullptr) event_(context_, ("service \"" + settings_.registration.name + "\": " + text).c_str());
}

void qarn_service::receive(service::Arrived &arrived) {
    if (!membership_.is_registered()) return;
    try {
        auto request = read(arrived);
        const uint32_t *const end = request->excluded + request->num_excluded;
        if (std::find(request->excluded, end, settings_.registration.sap) == end) serve(std::move(request));
    } catch (const std::bad_alloc &) { // the other messages are still served
        report(std::string("a request was not answered: ") + service::kNoMemory);
    } catch (const std::exception &failure) { // of the request, the reply or the server
        report(failure.what());
    }
}

std::unique_ptr<service::Request> qarn_service::read(const service::Arrived &arrived) const {
    natsMsg *const message = arrived.message.get();
    const char *const reply_subject = natsMsg_GetReply(message);
    if (reply_subject == nullptr)
        throw service::Refusal("a request was dropped: it has no reply subject, to which the answer could go");
    if (!nats::is_reply_subject(reply_subject, settings_.registration.place))
        throw service::Refusal("a request was dropped: \"" + std::string(reply_subject) +
                               "\" is no reply subject of this switch and VDC");
    auto request =
        service::read_request(natsMsg_GetData(message), static_cast<std::size_t>(natsMsg_GetDataLength(message)));
    request->reply_subject = nats::answer_subject(reply_subject, settings_.registration.sap);
    request->arrived = arrived.when;
    return request;
}

void qarn_service::serve(std::unique_ptr<service::Request> request) {
    qarn_service_reply_clear(reply_.get());
    const int code = callback_(context_, request.get(), reply_.get());
    if (code == QARN_SERVICE_LATER) return (void)request.release(); // the caller has it now
    if (code == QARN_SERVICE_OK || qarn_service_reply_error(reply_.get())->code != QARN_SERVICE_OK)
        return answer(*request, reply_.get());
    report("the callback has failed with " + std::to_string(code) + "; the answer is a failure");
    send_failure(*request);
}

void qarn_service::answer(const service::Request &request, qarn_service_reply *reply) {
    const std::string_view bytes = service::bytes_of(reply);
    if (!bytes.empty()) return send_whole(request, bytes);
    const qarn_service_error &error = *qarn_service_reply_error(reply);
    send_failure(request);
    throw service::Failure(error.code, std::string(error.text) + "; the answer is a failure");
}

void qarn_service::send_whole(const service::Request &request, std::string_view reply) {
    const auto send_on = [&](const service::Bytes &message) {
        send(request, message);
        return true;
    };
    service::cut(reply, settings_.registration.sap, max_data(), static_cast<uint32_t>(reply.size()), send_on);
}

void qarn_service::send_failure(const service::Request &request) {
    send_whole(request, service::Encoder().reply(QARN_STATUS_FAILED));
}

void qarn_service::send(const service::Request &request, std::string_view message) {
    natsConnection *const connection = link_->connection();
    const auto most = static_cast<std::size_t>(natsConnection_GetMaxPayload(connection));
    if (message.size() < sizeof(qarn_cfg_frag) || message.size() > most)
        throw service::Refusal("a message of an answer has " + std::to_string(message.size()) + " bytes, not " +
                               std::to_string(sizeof(qarn_cfg_frag)) + " to " + std::to_string(most) +
                               ", which is the max_payload of the server");
    if (!membership_.is_registered())
        throw nats::Error("an answer was not sent, or not the whole of it: the service is not registered");
    const natsStatus status = link_->news().is_up()
                                  ? natsConnection_Publish(connection, request.reply_subject.c_str(), message.data(),
                                                           static_cast<int>(message.size()))
                                  : NATS_CONNECTION_DISCONNECTED;
    nats::check(status, "an answer was not sent, or not the whole of it");
    qarn_cfg_frag header;
    std::memcpy(&header, message.data(), sizeof header);
    request.bytes_sent += message.size() - sizeof header;
    if (header.last != 0) note_answer(request);
}

void qarn_service::note_answer(const service::Request &request) {
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(service::Clock::now() - request.arrived);
    membership_.note_answer({request.bytes_sent, static_cast<uint64_t>(took.count())});
}

std::size_t qarn_service::max_data() const {
    const auto most = static_cast<std::size_t>(natsConnection_GetMaxPayload(link_->connection()));
    return std::min(settings_.max_data, most - sizeof(qarn_cfg_frag));
}

int qarn_service_open(const qarn_service_options *options, qarn_service_callback callback, void *context,
                      qarn_service **opened, qarn_service_error *error) {
    *opened = nullptr;
    return service::at_server_border(error, [&] {
        const nats::SignalsBlocked signals;
        if (callback == nullptr) throw service::Refusal("the callback is missing");
        *opened = std::make_unique<qarn_service>(*options, callback, context).release();
    });
}

void qarn_service_close(qarn_service *closed) {
    delete closed;
}

int qarn_service_run(qarn_service *run, qarn_service_error *error) {
    const int code = service::at_server_border(error, [&] { run->run(); });
    return code == QARN_SERVICE_STOPPED ? service::report(error, QARN_SERVICE_OK, "") : code;
}

void qarn_service_stop(qarn_service *stopped) {
    stopped->stop();
}

int qarn_service_descriptor(const qarn_service *asked) {
    return asked->descriptor();
}

int qarn_service_process(qarn_service *processed, qarn_service_error *error) {
    return service::at_server_border(error, [&] { processed->process(); });
}

int qarn_service_answer(qarn_service *answering, const qarn_service_request *request, qarn_service_reply *reply,
                        qarn_service_error *error) {
    return service::at_server_border(error, [&] { answering->answer(service::whole(request), reply); });
}

int qarn_service_send(qarn_service *sending, const qarn_service_request *request, const void *message, size_t size,
                      qarn_service_error *error) {
    return service::at_server_border(error, [&] {
        sending->send(service::whole(request), {static_cast<const char *>(message), size});
    });
}

size_t qarn_service_max_data(const qarn_service *asked) {
    return asked->max_data();
}
