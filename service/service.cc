// A service first serves the requests that have come, then it renews its registration. Only a service that is
// registered answers, because another one may have got its SAP while the connection was broken.
#include <qarnservice/service.h>

#include <qarncli/message.h>
#include <qarncli/status.h>
#include <qarnservice/fragments.h>
#include <qarnservice/reply.h>

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <ctime>
#include <functional>
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
#include "service/received_request.h"

namespace service {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kRetryPause(1000);                    // after a registration that failed
constexpr milliseconds kPatience(5000);                      // for one answer of the server
constexpr milliseconds kAnswerPause(100);                    // until the registration has the last answer
constexpr uint32_t kUsualMaxData = 32768;                    // bytes
constexpr uint32_t kLowestSap = 2, kHighestSap = 0xfffffffe; // the others have meanings in a request

using Reply = std::unique_ptr<qarn_service_reply, decltype(&qarn_service_reply_free)>;

std::string quoted(const std::string &text) {
    return '"' + text + '"';
}

std::string host() {
    char name[HOST_NAME_MAX + 1] = {};
    gethostname(name, HOST_NAME_MAX);
    return name;
}

std::string text_of(const char *option, const char *given) {
    std::string text = given != nullptr ? given : "";
    if (text.empty()) throw Refusal(std::string("the option ") + option + " is missing");
    if (std::ranges::any_of(text, [](unsigned char c) { return std::iscntrl(c) != 0; }))
        throw Refusal(std::string("the option ") + option + " has a control character");
    return text;
}

void check(const qarn_service_options &options, qarn_service_callback callback) {
    if (options.size != sizeof options)
        throw Refusal("the options have " + std::to_string(options.size) + " bytes in their field size, not " +
                      std::to_string(sizeof options));
    if (callback == nullptr) throw Refusal("the callback is missing");
    if (options.sap < kLowestSap || options.sap > kHighestSap)
        throw Refusal("SAP " + std::to_string(options.sap) + " is not between 2 and 4294967294");
    if (options.uuid < 1 || options.uuid > QARN_SERVICE_MAX_UUID)
        throw Refusal("UUID " + std::to_string(options.uuid) + " is not between 1 and 65535");
}

nats::Access access_of(const qarn_service_options &options) {
    nats::Access access = {.url = text_of("url", options.url), .client_name = "qarnservice"};
    if (options.credentials != nullptr) access.credentials = options.credentials;
    return access;
}

nats::Registration registration_of(const qarn_service_options &options) {
    return {.place = {text_of("switch_name", options.switch_name),
                      options.vdc != nullptr ? text_of("vdc", options.vdc) : "1"},
            .opcode = options.by_sap_only != 0 ? nats::kNoOpcode : uint32_t{QARN_OPC_REQUEST},
            .sap = options.sap,
            .name = text_of("name", options.name),
            .uuid = options.uuid,
            .host = host(),
            .pid = getpid(),
            .since = std::time(nullptr)};
}

// Who has the SAP already, with or without an opcode; none: it is registered.
std::optional<nats::Registration> claim(nats::Registry &registry, nats::Registration &registration) {
    if (auto owner = registry.claim(registration)) return owner;
    const uint32_t other = registration.opcode == nats::kNoOpcode ? uint32_t{QARN_OPC_REQUEST} : nats::kNoOpcode;
    auto owner = registry.find(registration.place, other, registration.sap);
    if (!owner || nats::has_ended_here(*owner, registration.host)) return {};
    registry.remove(registration);
    return owner;
}

std::string conflict(const nats::Registration &owner, const nats::Registration &wanted) {
    return "SAP " + std::to_string(wanted.sap) + " of switch " + quoted(wanted.place.switch_name) + ", VDC " +
           wanted.place.vdc + " belongs to " + quoted(owner.name) + " (host " + owner.host + ", pid " +
           std::to_string(owner.pid) + "); " + quoted(wanted.name) +
           " cannot have it too: end that process, or choose another SAP";
}

// Throws nats::Error if the server's last refusal was one of the subjects.
void check_permitted(natsConnection *connection, const std::vector<std::string> &subjects) {
    const char *last = nullptr;
    natsConnection_GetLastError(connection, &last);
    const std::string text = last != nullptr ? last : "";
    for (const std::string &subject : subjects)
        if (text.find(subject + '"') != std::string::npos)
            throw nats::Error(text + "; check that the credentials are those of this service of this switch");
}

// libnats keeps the inbox until the subscription is complete.
nats::Subscription subscribe(natsConnection *connection, const std::string &subject,
                             const std::shared_ptr<Inbox> &inbox) {
    using Kept = std::shared_ptr<Inbox>;
    const auto add = [](natsConnection *, natsSubscription *, natsMsg *message, void *kept) {
        (*static_cast<Kept *>(kept))->add(nats::Message(message));
    };
    const auto complete = [](void *kept) { delete static_cast<Kept *>(kept); };
    auto kept = std::make_unique<Kept>(inbox);
    auto subscription = nats::made<nats::Subscription>("requests", natsConnection_Subscribe, connection,
                                                       subject.c_str(), +add, static_cast<void *>(kept.get()));
    nats::check(natsSubscription_SetOnCompleteCB(subscription.get(), complete, kept.get()), "requests");
    (void)kept.release();
    return subscription;
}

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

using service::Clock;

struct qarn_service {
    qarn_service(const qarn_service_options &options, qarn_service_callback callback, void *context);
    ~qarn_service();
    qarn_service(const qarn_service &) = delete;
    qarn_service &operator=(const qarn_service &) = delete;

    void register_first();
    int descriptor() const { return inbox_->descriptor(); }
    void stop() const { inbox_->stop(); }
    void run();
    void process();

    void answer(const service::Request &request, qarn_service_reply *reply);
    void send(const service::Request &request, std::string_view message);
    std::size_t max_data() const;

  private:
    std::string key() const; // of its registration
    void register_after_loss();
    void keep_registered();
    void renew();
    bool is_due();
    Clock::time_point next_due() const;
    void settle();
    void postpone(const std::string &why, std::chrono::milliseconds pause);
    void report(const std::string &text) const;

    void receive(service::Arrived &arrived);
    std::unique_ptr<service::Request> read(const service::Arrived &arrived) const;
    void serve(std::unique_ptr<service::Request> request);
    void send_whole(const service::Request &request, std::string_view reply);
    void send_failure(const service::Request &request);
    void note_answer(const service::Request &request);

    const qarn_service_callback callback_;
    const qarn_service_event event_;
    void *const context_;
    const std::size_t wanted_max_data_;
    nats::Registration registration_;
    std::shared_ptr<service::Inbox> inbox_ = std::make_shared<service::Inbox>();
    std::shared_ptr<service::Link> link_;
    std::vector<nats::Subscription> subscriptions_;
    service::Reply reply_ = service::new_reply();

    bool is_registered_ = false, is_in_trouble_ = false;
    uint64_t times_restored_ = 0; // of the connection, as far as the service knows
    Clock::time_point next_renewal_;
    std::mutex mutex_; // of what follows
    std::optional<nats::LastAnswer> unwritten_answer_;
    Clock::time_point answer_due_; // when it is to be written
};

qarn_service::qarn_service(const qarn_service_options &options, qarn_service_callback callback, void *context)
    : callback_(callback),
      event_(options.event),
      context_(context),
      wanted_max_data_(options.max_data != 0 ? options.max_data : service::kUsualMaxData),
      registration_(service::registration_of(options)),
      link_(service::Link::to(service::access_of(options))) {
    times_restored_ = link_->news().times_restored();
    link_->news().add(inbox_);
}

qarn_service::~qarn_service() {
    try {
        if (is_registered_ && link_->news().is_up()) link_->registry()->remove(registration_);
    } catch (const nats::Error &) { // its time will be over
    }
}

// A service that is registered gets requests, so that it subscribes first.
void qarn_service::register_first() {
    std::vector<std::string> subjects = {nats::sap_subject(registration_.place, registration_.sap)};
    if (registration_.opcode != nats::kNoOpcode)
        subjects.push_back(nats::opcode_subject(registration_.place, registration_.opcode));
    for (const std::string &subject : subjects)
        subscriptions_.push_back(service::subscribe(link_->connection(), subject, inbox_));
    nats::check(natsConnection_FlushTimeout(link_->connection(), service::kPatience.count()), link_->url());
    service::check_permitted(link_->connection(), subjects);
    try {
        const auto owner = service::claim(*link_->registry(), registration_);
        if (owner) throw service::Failure(QARN_SERVICE_TAKEN, service::conflict(*owner, registration_));
    } catch (const nats::Error &) {
        service::check_permitted(link_->connection(), {"$KV." + std::string(nats::kBucket) + '.' + key()});
        throw;
    }
    is_registered_ = true;
    settle();
    inbox_->wake_at(next_renewal_);
}

std::string qarn_service::key() const {
    return nats::key(registration_.place, registration_.opcode, registration_.sap);
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
        inbox_->wake_at(Clock::now()); // what there is to do remains
        throw service::Stopped();
    }
    service::Inbox::Contents contents = inbox_->take();
    for (const std::string &event : contents.events)
        report(event);
    if (const auto why = link_->news().why_closed())
        throw nats::Error("the server has closed the connection to " + link_->url() + " for good: " + *why +
                          "; open the service again");
    register_after_loss();
    for (service::Arrived &arrived : contents.messages)
        receive(arrived);
    if (is_due()) keep_registered();
    const std::lock_guard lock(mutex_); // so that no answer of another thread comes between
    inbox_->wake_at(next_due());
}

void qarn_service::register_after_loss() {
    const uint64_t times_restored = link_->news().times_restored();
    if (times_restored != times_restored_) {
        times_restored_ = times_restored;
        is_registered_ = false;
        next_renewal_ = Clock::now();
    }
    if (!is_registered_ && is_due()) keep_registered();
}

bool qarn_service::is_due() {
    const std::lock_guard lock(mutex_);
    return Clock::now() >= next_due();
}

// The mutex must be locked.
Clock::time_point qarn_service::next_due() const {
    return unwritten_answer_ && is_registered_ ? std::min(next_renewal_, answer_due_) : next_renewal_;
}

void qarn_service::keep_registered() {
    next_renewal_ = Clock::time_point::max();
    if (!link_->news().is_up()) return; // its return is an event
    try {
        renew();
    } catch (const nats::Error &error) {
        link_->forget_registry();
        postpone(error.what(), service::kRetryPause);
    }
}

void qarn_service::renew() {
    const auto registry = link_->registry();
    {
        const std::lock_guard lock(mutex_);
        if (unwritten_answer_) registration_.answer = std::exchange(unwritten_answer_, {});
    }
    if (registration_.revision == 0 || !registry->renew(registration_)) {
        is_registered_ = false;
        const auto owner = service::claim(*registry, registration_);
        if (owner && !nats::is_same_process(*owner, registration_))
            return postpone(service::conflict(*owner, registration_), nats::kRenewalPause);
        if (owner) registration_.revision = owner->revision;
        report("registered again");
    }
    is_registered_ = true;
    settle();
}

void qarn_service::settle() {
    is_in_trouble_ = false;
    next_renewal_ = Clock::now() + nats::kRenewalPause;
}

void qarn_service::postpone(const std::string &why, std::chrono::milliseconds pause) {
    if (!is_in_trouble_) report("not registered: " + why + "; trying again");
    is_in_trouble_ = true;
    next_renewal_ = Clock::now() + pause;
}

void qarn_service::report(const std::string &text) const {
    if (event_ != nullptr) event_(context_, ("service " + service::quoted(registration_.name) + ": " + text).c_str());
}

void qarn_service::receive(service::Arrived &arrived) {
    if (!is_registered_) return;
    try {
        auto request = read(arrived);
        const uint32_t *const end = request->excluded + request->num_excluded;
        if (std::find(request->excluded, end, registration_.sap) == end) serve(std::move(request));
    } catch (const std::runtime_error &failure) { // of the request, the reply or the server
        report(failure.what());
    }
}

std::unique_ptr<service::Request> qarn_service::read(const service::Arrived &arrived) const {
    natsMsg *const message = arrived.message.get();
    const char *const reply_subject = natsMsg_GetReply(message);
    if (reply_subject == nullptr)
        throw service::Refusal("a request was dropped: it has no reply subject, to which the answer could go");
    auto request =
        service::read_request(natsMsg_GetData(message), static_cast<std::size_t>(natsMsg_GetDataLength(message)));
    request->reply_subject = nats::answer_subject(reply_subject, registration_.sap);
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
    service::cut(reply, registration_.sap, max_data(), static_cast<uint32_t>(reply.size()), send_on);
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

// The registration is written after the answer has gone.
void qarn_service::note_answer(const service::Request &request) {
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - request.arrived);
    const std::lock_guard lock(mutex_);
    unwritten_answer_ = {request.bytes_sent, static_cast<uint64_t>(took.count())};
    answer_due_ = Clock::now() + service::kAnswerPause;
    inbox_->wake_before(answer_due_);
}

std::size_t qarn_service::max_data() const {
    const auto most = static_cast<std::size_t>(natsConnection_GetMaxPayload(link_->connection()));
    return std::min(wanted_max_data_, most - sizeof(qarn_cfg_frag));
}

int qarn_service_open(const qarn_service_options *options, qarn_service_callback callback, void *context,
                      qarn_service **opened, qarn_service_error *error) {
    *opened = nullptr;
    return service::at_server_border(error, [&] {
        const nats::SignalsBlocked signals;
        service::check(*options, callback);
        auto made = std::make_unique<qarn_service>(*options, callback, context);
        made->register_first();
        *opened = made.release();
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
