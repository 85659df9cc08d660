// From a node of an ordered queue to the element that it stands for.
#pragma once

#include <qarncli/element_store.h>
#include <qarncli/graph.h>

namespace qarn {

// The element's store key: the low 16 bits of its UUID and id.
inline qarn_merge_key key_of(const qarn_elem &elem) {
    return {static_cast<uint16_t>(elem.uuid), static_cast<uint16_t>(elem.elem_id)};
}

// A node's data is a vertex, whose data is the element's store key.
inline const qarn_merge_key &key_of_vertex(const void *vertex) {
    return *static_cast<const qarn_merge_key *>(static_cast<const struct vertex *>(vertex)->data);
}

// The element's entry in the store, or null when it is no longer there.
inline qarn_merge_val *value_of_vertex(const void *vertex) {
    const qarn_merge_key &key = key_of_vertex(vertex);
    return qarn_merge_value_get(key.uuid, key.elem_id);
}

} // namespace qarn
