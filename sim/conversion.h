// The functions of the display conversion library, as this program defines them: each passes a call on to the library
// and reports it, or answers as the library did for an earlier command.
#pragma once

namespace sim {

// From now on pass on to this library, from which nothing must be called directly. False if it lacks a function.
bool pass_conversions_to(void *library);

} // namespace sim
