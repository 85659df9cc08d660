// Command messages of the shell's framework and the render handles made from them.
//
// A copy of a message is one block: a 40-byte prefix, filled only when the block is handed to the renderer, then the
// message. Stored messages are such copies; a pointer to one points to the message inside the block.
#pragma once

#include <qarncli/element.h>

#include "base/bytes.h"
#include "base/owner.h"
#include "platform/cmdshell.h"

namespace qarn {

inline uint32_t message_length(const unsigned char *message) {
    return load_u32(message + QARN_CMD_LENGTH_AT);
}

inline bool has_valid_stamp(const unsigned char *message) {
    const uint32_t stamp = load_u32(message + QARN_CMD_STAMP_AT);
    return stamp == QARN_CMD_STAMP || stamp == QARN_CMD_STAMP_SWAPPED;
}

// A block with a copy of the message, whose length is taken from its length word; null if memory runs out.
inline Malloced<unsigned char> copy_message(const unsigned char *message) {
    const std::size_t length = message_length(message);
    auto block = allocate<unsigned char>(length + QARN_CMD_PREFIX_SIZE);
    if (block) std::memcpy(block.get() + QARN_CMD_PREFIX_SIZE, message, length);
    return block;
}

// Make the block a render handle: the renderer expects addresses in its first word and in the message's stamp, and 0 in
// the word at 36 when the message follows the prefix.
inline void set_up_render_handle(unsigned char *block) {
    unsigned char *message = block + QARN_CMD_PREFIX_SIZE;
    store_u32(block, low32(block) + QARN_CMD_STAMP);
    store_u32(message + QARN_CMD_STAMP_AT, load_u32(message + QARN_CMD_STAMP_AT) + low32(message));
    store_u32(block + QARN_CMD_PREFIX_SIZE - 4, 0);
}

inline void take_debug_flags(const unsigned char *message) {
    cmd_debug_flags = load_u32(message + QARN_CMD_DEBUG_FLAGS_AT);
}

} // namespace qarn
