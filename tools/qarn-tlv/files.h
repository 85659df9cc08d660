// Whole files. The name "-" is standard input or output. Every function throws std::runtime_error.
#pragma once

#include <string>
#include <string_view>

namespace tlv {

std::string read_file(const std::string &name);
// A file keeps what it has if it cannot be opened.
void write_file(const std::string &name, std::string_view bytes);
// After what was printed on standard output.
void flush_output();
// "standard input" for "-".
std::string shown_name(const std::string &name);

} // namespace tlv
