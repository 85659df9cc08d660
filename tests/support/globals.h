// The library's globals, put back.
#pragma once

namespace test {

// Every global that outlives a command gets the value that it has when the library is loaded; what the last generation
// left behind, the list of printed feature keys too, is released as far as the library owns it.
void reset_globals();

} // namespace test
