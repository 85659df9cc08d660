// Reading the command's tokens: at most 64 of them, each possibly absent or without a value.
#pragma once

#include <qarncli/request.h>

#include <algorithm>

#include "base/bytes.h"

namespace qarn {

inline uint32_t token_count(const qarn_req &req) {
    return std::min<uint32_t>(req.num_tokens, QARN_MAX_TOKENS);
}

// The token's value, or null.
inline const void *token_value(const qarn_req &req, uint32_t position) {
    if (position >= token_count(req) || req.tokens[position] == nullptr) return nullptr;
    return req.tokens[position]->value;
}

// The SAP that a token names; 0 without a value.
inline uint32_t token_sap(const qarn_req &req, uint32_t position) {
    const void *value = token_value(req, position);
    return value != nullptr ? load_u32(value) : 0;
}

} // namespace qarn
