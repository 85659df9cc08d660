// The decoder as the driver calls it: with the extent of the reply.
#pragma once

#include <cstdint>

#include <glib.h>

namespace qarn {

struct Decoding {
    enum class End {
        kWhole,      // exactly the announced number of TLVs was read
        kMiscounted, // more or fewer of them
        kSkipped,    // some of them belong to nothing that can be printed
        kBroken      // a TLV does not fit into the reply, is not what its tag needs, or ended the decoding
    };

    uint32_t status = 0; // as qarn_parse_tlv returns it
    End end = End::kWhole;
    uint32_t announced = 0, taken = 0; // TLVs
    uint32_t skipped = 0;              // of these
    uint32_t repeated = 0;             // texts appended to elements that were in the store before
    uint32_t offset = 0;               // of what broke the reply, in the array
};

// Decode the TLV array at `array` into the element store `table`. Stops, with status 0, at the first value or text that
// does not end before `end`. The caller guarantees zeros after `end`; one empty TLV may be read from them. A null `end`
// trusts the array.
Decoding decode_reply(const unsigned char *array, const unsigned char *end, GHashTable *table);

} // namespace qarn
