// The key of an element in the store, and the levels that are printed.
#pragma once

#include <qarncli/element.h>
#include <qarncli/element_store.h>

namespace qarn {

inline constexpr int32_t kPrintLevels = 13; // 0..12; elements of any other level are never printed

// Keys hold the low 16 bits of UUID and id.
inline qarn_merge_key store_key(uint32_t uuid, uint32_t elem_id) {
    return {static_cast<uint16_t>(uuid), static_cast<uint16_t>(elem_id)};
}

inline qarn_merge_key store_key(const qarn_elem &elem) {
    return store_key(elem.uuid, elem.elem_id);
}

} // namespace qarn
