// Setting ids in a mask and clearing it.
#pragma once

#include <qarncli/id_mask.h>

#include <cstring>

namespace qarn {

inline constexpr int32_t kIds = 4096; // 0..4095

inline void clear_ids(qarn_id_mask *mask) {
    mask->len = sizeof mask->bits;
    std::memset(mask->bits, 0, sizeof mask->bits);
}

// `id` lies in 0..4095.
inline void set_id(qarn_id_mask *mask, int32_t id) {
    mask->bits[id >> 3] = static_cast<uint8_t>(mask->bits[id >> 3] | (0x80 >> (id & 7)));
}

} // namespace qarn
