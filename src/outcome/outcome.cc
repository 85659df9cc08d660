// The record keeps its lists in GLib arrays; the public record points into them.
#include "outcome/outcome.h"

#include <algorithm>
#include <utility>

#include "base/owner.h"

namespace qarn {
namespace {

OutcomeRecord record = {};

void release(OutcomeRecord &old) {
    if (old.services != nullptr) g_array_unref(old.services);
    if (old.loop != nullptr) g_array_unref(old.loop);
    old = {};
}

template <typename T>
void append(GArray *&list, const T &item) {
    if (list == nullptr) list = g_array_new(FALSE, FALSE, sizeof(T));
    g_array_append_val(list, item);
}

guint count_of(const GArray *list) {
    return list != nullptr ? list->len : 0;
}

template <typename T>
T *items_of(const GArray *list) {
    return list != nullptr ? reinterpret_cast<T *>(list->data) : nullptr;
}

qarn_outcome_service *find_service(uint32_t sap) {
    auto *begin = items_of<qarn_outcome_service>(record.services);
    auto *end = begin + count_of(record.services);
    auto *found = std::find_if(begin, end, [sap](const qarn_outcome_service &service) { return service.sap == sap; });
    return found != end ? found : nullptr;
}

bool is_fault(uint32_t state) {
    return state != QARN_OUTCOME_ANSWERED && state != QARN_OUTCOME_SILENT && state != QARN_OUTCOME_ANSWERED_NOTHING;
}

bool all_answered() {
    const auto *begin = items_of<qarn_outcome_service>(record.services);
    return std::all_of(begin, begin + count_of(record.services),
                       [](const qarn_outcome_service &service) { return service.state == QARN_OUTCOME_ANSWERED; });
}

} // namespace

void begin_outcome() {
    release(record);
    memory_ran_out = false;
}

OutcomeRecord take_outcome() {
    return std::exchange(record, {});
}

void put_outcome_back(const OutcomeRecord &taken) {
    release(record);
    record = taken;
}

void note_refusal(uint32_t refusal, uint32_t status) {
    qarn_outcome &outcome = record.outcome;
    if (outcome.refusal != QARN_OUTCOME_NOT_REFUSED) return;
    outcome.refusal = refusal;
    outcome.status = status;
}

void note_printed() {
    record.is_printed = true;
}

void conclude_outcome() {
    qarn_outcome &outcome = record.outcome;
    if (memory_ran_out) note_refusal(QARN_OUTCOME_NO_MEMORY);
    if (!record.is_printed) {
        outcome.verdict = QARN_OUTCOME_NOTHING;
        return;
    }
    const bool is_whole = outcome.refusal == QARN_OUTCOME_NOT_REFUSED && outcome.consumers_left_out == 0 &&
                          outcome.interfaces_left_out == 0 && all_answered();
    outcome.verdict = is_whole ? QARN_OUTCOME_COMPLETE : QARN_OUTCOME_INCOMPLETE;
}

void note_consumers_left_out(uint32_t count) {
    record.outcome.consumers_left_out = count;
}

void note_interfaces_left_out(uint32_t count) {
    record.outcome.interfaces_left_out = count;
}

void note_asked(uint32_t sap) {
    if (find_service(sap) == nullptr) {
        append(record.services, qarn_outcome_service{sap, QARN_OUTCOME_SILENT, 0, 0, 0});
    }
}

void note_service(const qarn_outcome_service &service) {
    qarn_outcome_service *known = find_service(service.sap);
    if (known == nullptr) {
        append(record.services, service);
    } else if (!is_fault(known->state)) {
        const bool is_second = known->state == QARN_OUTCOME_ANSWERED && service.state == QARN_OUTCOME_ANSWERED;
        *known = service;
        if (is_second) known->state = QARN_OUTCOME_ANSWERED_TWICE;
    }
}

void note_loop(uint32_t pass) {
    note_refusal(QARN_OUTCOME_LOOP);
    record.outcome.loop_pass = pass;
}

void note_loop_element(uint16_t uuid, uint16_t elem_id) {
    append(record.loop, qarn_outcome_element{uuid, elem_id});
}

const qarn_outcome *last_outcome() {
    qarn_outcome &outcome = record.outcome;
    outcome.num_services = count_of(record.services);
    outcome.services = items_of<qarn_outcome_service>(record.services);
    outcome.num_loop_elements = count_of(record.loop);
    outcome.loop = items_of<qarn_outcome_element>(record.loop);
    return &outcome;
}

} // namespace qarn

const qarn_outcome *qarn_outcome_last() {
    return qarn::last_outcome();
}
