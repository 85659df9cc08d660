// A reply from YAML. Nothing is checked that a reply may hold: also what no service should send can be written.
#pragma once

#include <string>

#include "service/encoder.h"

namespace tlv {

// `name` is that of the file, for messages. Throws sim::DescriptionError.
service::Bytes encode(const std::string &name, const std::string &yaml);

} // namespace tlv
