// The TLV arrays and replies of the simulated services, of the tests and of the benchmarks, built by the encoder that
// every service uses. The reader of arrays (tlv.cc) never reads beyond the array's own size.
#pragma once

#include <cstdint>
#include <string_view>

#include <qarncli/element.h>

#include "service/encoder.h"

namespace sim {

using service::Bytes;
using service::ElementInfo;
using Tlv = service::Encoder;

// Type word of a command message: a line of text, or attributes in the layout of the shell's cmd_rep_attr_add.
enum CommandType : uint32_t { kCommandText = 1, kCommandAttributes = 2 };

// A command message that renders as `line` in an interface block: the shell framework's 64-byte header (length, type,
// stamp) followed by the text and its NUL.
Bytes command_message(std::string_view line, uint32_t stamp = QARN_CMD_STAMP, uint32_t debug_flags = 0);

} // namespace sim
