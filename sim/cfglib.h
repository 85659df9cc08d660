// The callback table: which service answers through which function of a shared library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace sim {

inline constexpr std::size_t kCallbackRows = 64;

// Append a row; false when the table is full or a name too long for it.
bool add_callback_row(uint32_t sap, const std::string &function, const std::string &library, uint32_t flags);
void clear_callback_table();

} // namespace sim
