// The slots are allocated one by one, because other code may walk keylist. A slot has 500 bytes and grows when a longer
// header is copied in, so that the header still equals its own key map. If memory for that runs out, the slot keeps the
// first 499 bytes.
#include "print/header_slots.h"

#include <qarncli/globals.h>

#include <cstring>

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

void sort_slots(char **slots, int32_t count, int (*compare)(const void *, const void *)) {
    if (count >= 2) std::qsort(slots, static_cast<std::size_t>(count), sizeof(char *), compare);
}

} // namespace qarn
