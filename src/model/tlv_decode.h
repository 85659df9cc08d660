// The decoder as the driver calls it: with the extent of the reply.
#pragma once

#include <cstdint>

#include <glib.h>

namespace qarn {

struct Decoding {
    uint32_t status;  // as qarn_parse_tlv returns it
    bool is_complete; // exactly the announced number of TLVs was read, and no tag 0 was too short
};

// Decode the TLV array at `array` into the element store `table`. Stops, with status 0, at the first value or text that
// does not end before `end`. The caller guarantees zeros after `end`; one empty TLV may be read from them. A null `end`
// trusts the array.
Decoding decode_reply(const unsigned char *array, const unsigned char *end, GHashTable *table);

} // namespace qarn
