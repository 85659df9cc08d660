// The decoder as the driver calls it: with the extent of the reply.
#pragma once

#include <cstdint>

#include <glib.h>

namespace qarn {

struct Decoding {
    uint32_t status; // as of qarn_parse_tlv
    bool is_whole;   // exactly the announced TLVs were read
};

// Decode the TLV array at `array` into the element store `table`. No value or text at or behind `end` is believed:
// decoding ends, with status 0, at the first that does not lie inside. Behind `end` stand zeros, of which one TLV
// without a value may be read. A null `end` trusts the array.
Decoding decode_reply(const unsigned char *array, const unsigned char *end, GHashTable *table);

} // namespace qarn
