// The headers of the current keyed pass (globals keylist and totalkeys): one slot per entry of the table from which the
// pass collects.
#pragma once

#include <cstdint>

namespace qarn {

// The slots of one pass: allocated by the constructor, filled by the collecting callbacks, released by the destructor.
class HeaderSlots {
  public:
    // Room for `capacity` headers. If memory for any of them runs out, there are no slots at all, and ok() is false.
    explicit HeaderSlots(uint32_t capacity);
    ~HeaderSlots();
    HeaderSlots(const HeaderSlots &) = delete;
    HeaderSlots &operator=(const HeaderSlots &) = delete;

    bool ok() const { return ok_; }

  private:
    uint32_t capacity_;
    bool ok_;
};

// Copy a header into the next free slot.
void add_header(const char *text);

// Trace every slot in use, under QARN_DEBUG_STORE.
void trace_headers();

// Sort slots by their texts, as strcmp does.
void sort_slots_by_text(char **slots, int32_t count);

// Sort slots by a qsort comparator over char pointers.
void sort_slots(char **slots, int32_t count, int (*compare)(const void *, const void *));

} // namespace qarn
