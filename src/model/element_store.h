// The key of an element in the store.
#pragma once

#include <qarncli/element.h>
#include <qarncli/element_store.h>

namespace qarn {

// Keys hold the low 16 bits of UUID and id.
inline qarn_merge_key store_key(uint32_t uuid, uint32_t elem_id) {
    return {static_cast<uint16_t>(uuid), static_cast<uint16_t>(elem_id)};
}

inline qarn_merge_key store_key(const qarn_elem &elem) {
    return store_key(elem.uuid, elem.elem_id);
}

} // namespace qarn
