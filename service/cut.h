// The messages that carry a reply: a qarn_cfg_frag header each, and a part of the reply.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include "service/encoder.h"

namespace service {

// One message of a reply.
Bytes fragment(uint32_t sap, bool last, uint32_t total_len, std::string_view data);

// Cut a reply into messages of at most `max_data` bytes of data each, at least one message; 0 makes a single message.
// Each is passed to `take`, until that returns false. Returns whether all were taken.
bool cut(std::string_view reply, uint32_t sap, std::size_t max_data, uint32_t total_len,
         const std::function<bool(Bytes)> &take);

} // namespace service
