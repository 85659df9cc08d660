// The key list (globals keylist and totalkeys): the headers of the pass under way, one slot per entry of the table
// that the pass collects from.
#pragma once

#include <cstdint>

namespace qarn {

// The key list of one pass: allocated here, filled by the collecting callbacks, released with this, whatever way the
// pass ends.
class KeyList {
  public:
    // Room for `capacity` headers. Without memory for all of them there is no list at all, and ok() is false.
    explicit KeyList(uint32_t capacity);
    ~KeyList();
    KeyList(const KeyList &) = delete;
    KeyList &operator=(const KeyList &) = delete;

    bool ok() const { return ok_; }

  private:
    uint32_t capacity_;
    bool ok_;
};

// Copy a header into the next free slot.
void add_to_key_list(const char *text);

// Trace every slot, in the list's order (debug only).
void trace_key_list();

// Sort slots by a qsort comparator over char pointers.
void sort_slots(char **slots, int32_t count, int (*compare)(const void *, const void *));

} // namespace qarn
