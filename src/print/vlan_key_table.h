// The pass over the VLAN service's key tables, as the key table printer runs it.
#pragma once

struct qarn_elem;

namespace qarn {

// Print the VLANs of an element of the VLAN service. The header slots hold its keys, if there are any.
void run_vlan_pass(const qarn_elem &elem);

} // namespace qarn
