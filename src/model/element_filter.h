// Which elements the command's display keeps.
#pragma once

#include <qarncli/element.h>

namespace qarn {

// Whether a single feature's display keeps the element: the feature's row of the shell's table lists its elements. A
// row that the table does not have is empty. Other displays keep every element.
bool passes_feature_filter(const qarn_elem &elem);

// Whether the element belongs to the view that cfg_display names. A display without a view of its own keeps all.
bool passes_view_filter(const qarn_elem &elem);

} // namespace qarn
