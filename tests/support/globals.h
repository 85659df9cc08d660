// The library's globals, put back, so that many commands can run in one process.
#pragma once

namespace test {

// Every global that outlives a command gets the value that it has when the library is loaded, and the shell's options
// and tables are empty again. The list of printed feature keys is released. The latch of qarn_vlan_get_bitmask stays.
void reset_globals();

} // namespace test
