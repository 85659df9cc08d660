// Words at any alignment, words that carry an address, and texts in fixed-size fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qarn {

inline uint32_t load_u32(const void *from) {
    uint32_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
}

inline void store_u32(void *to, uint32_t word) {
    std::memcpy(to, &word, sizeof word);
}

// Words of the platform's formats hold the low 32 bits of an address.
inline uint32_t low32(const void *address) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(address));
}

// Copy a text into a field of `size` bytes: zero-padded, without a NUL when the text fills the field.
inline void copy_text(char *field, std::size_t size, const char *text) {
    const std::size_t length = strnlen(text, size);
    std::memcpy(field, text, length);
    std::memset(field + length, 0, size - length);
}

} // namespace qarn
