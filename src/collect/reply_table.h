// A complete reply, as the reply table hands it over.
#pragma once

#include <cstdint>

#include "base/owner.h"

namespace qarn {

struct JoinedReply {
    Malloced<unsigned char> bytes; // a qarn_cfg_reply; null when the SAP has none, or it was broken
    uint32_t size = 0;             // bytes that the service announced; zeros follow them
    uint32_t filled = 0;           // bytes that arrived
};

// Take the joined reply of `sap` out of the reply table.
JoinedReply take_reply(uint32_t sap);

} // namespace qarn
