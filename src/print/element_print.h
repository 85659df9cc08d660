// Printing an element that the caller has found already.
#pragma once

#include <qarncli/element_store.h>

struct qarn_cfg_req_msg;

namespace qarn {

// What qarn_element_cfg_print prints for the element of a vertex. `value` is null when the element is no longer in the
// store.
void print_element(const qarn_merge_key &key, qarn_merge_val *value, const qarn_cfg_req_msg &request);

} // namespace qarn
