#include "service/membership.h"

#include <qarncli/message.h>
#include <qarnservice/error.h>

#include <algorithm>
#include <utility>

#include "nats/names.h"
#include "service/border.h"
#include "service/subscribe.h"

namespace service {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kRetryPause(1000); // after a registration that failed
constexpr milliseconds kAnswerPause(100); // until the registration has the last answer

std::string quoted(const std::string &text) {
    return '"' + text + '"';
}

// Who has the SAP already, with or without an opcode; none: it is registered.
std::optional<nats::Registration> claim(nats::Registry &registry, nats::Registration &registration) {
    if (auto owner = registry.claim(registration)) return owner;
    const uint32_t other = registration.opcode == nats::kNoOpcode ? uint32_t{QARN_OPC_REQUEST} : nats::kNoOpcode;
    auto owner = registry.find(registration.place, other, registration.sap);
    if (!owner || nats::has_ended_here(*owner)) return {};
    registry.remove(registration);
    return owner;
}

std::string conflict(const nats::Registration &owner, const nats::Registration &wanted) {
    return "SAP " + std::to_string(wanted.sap) + " of switch " + quoted(wanted.place.switch_name) + ", VDC " +
           wanted.place.vdc + " belongs to " + quoted(owner.name) + " (host " + owner.host + ", pid " +
           std::to_string(owner.pid) + "); " + quoted(wanted.name) +
           " cannot have it too: end that process, or choose another SAP";
}

} // namespace

Membership::Membership(nats::Registration registration, std::shared_ptr<Link> link, std::shared_ptr<Inbox> inbox,
                       Report report)
    : registration_(std::move(registration)),
      link_(std::move(link)),
      inbox_(std::move(inbox)),
      report_(std::move(report)),
      times_restored_(link_->news().times_restored()) {}

Membership::~Membership() {
    try {
        if (is_registered_ && link_->news().is_up() && !link_->registry_pause())
            link_->registry()->remove(registration_);
    } catch (const nats::NoAnswer &) { // its time will be over
        link_->pause_registry();
    } catch (const nats::Error &) {
    }
}

void Membership::begin() {
    try {
        const auto owner = claim(*link_->registry(), registration_);
        if (owner) throw Failure(QARN_SERVICE_TAKEN, conflict(*owner, registration_));
    } catch (const nats::Error &) {
        const std::string roster = nats::kRoster;
        check_permitted(link_->connection(), {"$KV." + std::string(nats::kBucket) + '.' + key(),
                                              "$KV." + roster + '.' + key(), "$JS.API.STREAM.INFO.KV_" + roster});
        throw;
    }
    is_registered_ = true;
    settle();
    inbox_->wake_at(next_renewal_);
}

std::string Membership::key() const {
    return nats::key(registration_.place, registration_.opcode, registration_.sap);
}

void Membership::register_after_loss() {
    const uint64_t times_restored = link_->news().times_restored();
    if (times_restored != times_restored_) {
        times_restored_ = times_restored;
        is_registered_ = false;
        next_renewal_ = Clock::now();
    }
    if (!is_registered_) renew_if_due();
}

void Membership::renew_if_due() {
    if (is_due()) try_to_renew();
}

// No answer of another thread may come between.
void Membership::wake_when_due() {
    const std::lock_guard lock(mutex_);
    inbox_->wake_at(next_due());
}

bool Membership::is_due() {
    const std::lock_guard lock(mutex_);
    return Clock::now() >= next_due();
}

// The mutex must be locked.
Clock::time_point Membership::next_due() const {
    return unwritten_answer_ && is_registered_ ? std::min(next_renewal_, answer_due_) : next_renewal_;
}

void Membership::try_to_renew() {
    next_renewal_ = Clock::time_point::max();
    if (!link_->news().is_up()) return; // it wakes the services when it is back
    if (const auto end = link_->registry_pause()) {
        next_renewal_ = *end;
        return;
    }
    try {
        renew();
    } catch (const nats::NoAnswer &error) {
        link_->forget_registry();
        link_->pause_registry();
        postpone(error.what(), kRetryPause);
    } catch (const nats::Error &error) {
        link_->forget_registry();
        postpone(error.what(), kRetryPause);
    }
}

void Membership::renew() {
    const auto registry = link_->registry();
    {
        const std::lock_guard lock(mutex_);
        if (unwritten_answer_) registration_.answer = std::exchange(unwritten_answer_, {});
    }
    if (registration_.revision == 0 || !registry->renew(registration_)) {
        is_registered_ = false;
        const auto owner = claim(*registry, registration_);
        if (owner && !nats::is_same_process(*owner, registration_))
            return postpone(conflict(*owner, registration_), nats::kRenewalPause);
        if (owner) registration_.revision = owner->revision;
        report_("registered again");
    }
    is_registered_ = true;
    settle();
}

void Membership::settle() {
    is_in_trouble_ = false;
    next_renewal_ = Clock::now() + nats::kRenewalPause;
}

void Membership::postpone(const std::string &why, milliseconds pause) {
    if (!is_in_trouble_) report_("not registered: " + why + "; trying again");
    is_in_trouble_ = true;
    next_renewal_ = Clock::now() + pause;
}

void Membership::note_answer(const nats::LastAnswer &answer) {
    const std::lock_guard lock(mutex_);
    unwritten_answer_ = answer;
    answer_due_ = Clock::now() + kAnswerPause;
    inbox_->wake_before(answer_due_);
}

} // namespace service
