// The messages that carry a reply, one after the other in a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "service/encoder.h"

namespace tlv {

service::Bytes to_messages(std::string_view reply, uint32_t sap, std::size_t max_data);

// The reply of the service with this SAP; none: all messages are of one service. Throws std::runtime_error if messages
// are missing, too many, or cut.
service::Bytes from_messages(std::string_view messages, std::optional<uint32_t> sap);

} // namespace tlv
