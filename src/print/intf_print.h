// Collecting the text of one interface into g_intf_config_str.
#pragma once

namespace qarn {

// Collect what every interface element has for the interface, in queue order. `if_index` points to a u32 of any
// alignment.
void collect_interface(void *if_index);

} // namespace qarn
