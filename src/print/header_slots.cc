// The slots are allocated one by one, because other code may walk keylist. A slot has 500 bytes and grows when a longer
// header is copied in, so that the header still equals its own key map. If memory for that runs out, the slot keeps the
// first 499 bytes.
#include "print/header_slots.h"

#include <qarncli/globals.h>
#include <qarncli/key_table.h>

#include <algorithm>
#include <cstring>

#include "base/array.h"
#include "base/owner.h"
#include "base/trace.h"

namespace qarn {
namespace {

constexpr std::size_t kSlotSize = 500;

void free_slots(uint32_t count) {
    for (uint32_t i = 0; i < count; ++i)
        std::free(keylist[i]);
    std::free(keylist);
    keylist = nullptr;
}

bool allocate_slots(uint32_t capacity) {
    keylist = allocate<char *>(capacity * sizeof(char *)).release();
    if (keylist == nullptr) return false;
    for (uint32_t i = 0; i < capacity; ++i) {
        keylist[i] = allocate<char>(kSlotSize).release();
        if (keylist[i] == nullptr) {
            free_slots(i);
            return false;
        }
    }
    return true;
}

// A slot with the first bytes of its text behind what all texts begin with, as a number. Most comparisons need no more,
// and so do not touch the slot.
struct Sortable {
    uint64_t head;
    char *text;

    bool operator<(const Sortable &other) const {
        return head != other.head ? head < other.head : std::strcmp(text, other.text) < 0;
    }
};

std::size_t common_beginning(char *const *slots, int32_t count) {
    std::size_t length = std::strlen(slots[0]);
    for (int32_t i = 1; i < count && length > 0; ++i)
        length = static_cast<std::size_t>(std::mismatch(slots[0], slots[0] + length, slots[i]).first - slots[0]);
    return length;
}

// The bytes up to the end of the text, the first one highest.
uint64_t head_of(const char *text) {
    uint64_t head = 0;
    for (unsigned shift = 64; shift > 0 && *text != '\0'; ++text) {
        shift -= 8;
        head |= uint64_t{static_cast<unsigned char>(*text)} << shift;
    }
    return head;
}

} // namespace

HeaderSlots::HeaderSlots(uint32_t capacity) : capacity_(capacity), ok_(allocate_slots(capacity)) {
    totalkeys = 0;
}

HeaderSlots::~HeaderSlots() {
    if (ok_) free_slots(capacity_);
    totalkeys = 0;
}

void add_header(const char *text) {
    char *&slot = keylist[totalkeys++];
    std::size_t length = std::strlen(text);
    if (length >= kSlotSize) {
        if (char *grown = allocate<char>(length + 1).release()) {
            std::free(slot);
            slot = grown;
        } else {
            length = kSlotSize - 1;
        }
    }
    std::memcpy(slot, text, length);
    slot[length] = '\0';
}

void trace_headers() {
    if (!debugging(QARN_DEBUG_STORE)) return;
    for (int32_t i = 0; i < totalkeys; ++i)
        trace(" %d - %s", i, keylist[i]);
}

void sort_slots_by_text(char **slots, int32_t count) {
    if (count < 2) return;
    Array<Sortable> sortables(static_cast<std::size_t>(count));
    if (!sortables) return sort_slots(slots, count, qarn_key_cmp_fn);
    const std::size_t shared = common_beginning(slots, count);
    for (int32_t i = 0; i < count; ++i)
        sortables[static_cast<std::size_t>(i)] = {head_of(slots[i] + shared), slots[i]};
    std::sort(sortables.begin(), sortables.begin() + count);
    for (int32_t i = 0; i < count; ++i)
        slots[i] = sortables[static_cast<std::size_t>(i)].text;
}

void sort_slots(char **slots, int32_t count, int (*compare)(const void *, const void *)) {
    if (count >= 2) std::qsort(slots, static_cast<std::size_t>(count), sizeof(char *), compare);
}

} // namespace qarn
