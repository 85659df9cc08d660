// The decoder as the driver calls it: with the extent of the reply.
#pragma once

#include <cstdint>

#include <glib.h>

namespace qarn {

// Decode the TLV array at `array` into the element store `table`. Nothing at or behind `end` is believed: decoding
// ends, with 0, at the first tag, value or text that does not lie inside. A null `end` trusts the array.
uint32_t decode_reply(const unsigned char *array, const unsigned char *end, GHashTable *table);

} // namespace qarn
