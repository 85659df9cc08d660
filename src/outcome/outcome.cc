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
    record.lacks_memory = memory_ran_out;
    return std::exchange(record, {});
}

void put_outcome_back(const OutcomeRecord &taken) {
    release(record);
    record = taken;
    memory_ran_out = taken.lacks_memory;
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

// While functions of a service have still to answer, `expected` is their number.
void note_invoked(uint32_t sap) {
    note_asked(sap);
    qarn_outcome_service &service = *find_service(sap);
    if (is_fault(service.state)) return;
    service.state = QARN_OUTCOME_ANSWERED_NOTHING;
    ++service.expected;
}

void note_nobody_asked() {
    if (record.services != nullptr) g_array_set_size(record.services, 0);
}

void note_missing() {
    if (all_answered()) note_refusal(QARN_OUTCOME_NO_SERVICES);
}

namespace {

void note_answer(qarn_outcome_service &known, uint32_t repeated_texts) {
    if (known.state == QARN_OUTCOME_ANSWERED_NOTHING && known.expected > 1) {
        --known.expected;
    } else {
        const bool doubles = known.state == QARN_OUTCOME_ANSWERED && repeated_texts > 0;
        known = {known.sap, doubles ? QARN_OUTCOME_ANSWERED_TWICE : QARN_OUTCOME_ANSWERED, 0, 0, 0};
    }
}

} // namespace

void note_service(const qarn_outcome_service &service) {
    note_asked(service.sap);
    qarn_outcome_service &known = *find_service(service.sap);
    if (is_fault(known.state)) return;
    if (service.state == QARN_OUTCOME_ANSWERED) {
        note_answer(known, service.received);
    } else {
        known = service;
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
