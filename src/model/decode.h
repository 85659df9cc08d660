// The decoder as the driver calls it: with the extent of the reply.
#pragma once

#include <cstdint>

#include <glib.h>

namespace qarn {

struct Decoding {
    uint32_t status; // as of qarn_parse_tlv
    bool is_whole;   // as many TLVs as announced were taken up, and no more stood there
};

// Decode the TLV array at `array` into the element store `table`. Nothing at or behind `end` is believed: decoding
// ends, with status 0, at the first tag, value or text that does not lie inside. A null `end` trusts the array.
Decoding decode_reply(const unsigned char *array, const unsigned char *end, GHashTable *table);

} // namespace qarn
