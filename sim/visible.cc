#include "sim/visible.h"

#include <glib.h>

#include <cstdio>

namespace sim {
namespace {

constexpr uint32_t kNoCharacter = 0xffffffff;

struct Character {
    uint32_t code;
    std::string_view bytes;
};

// A byte that begins no character of UTF-8 is a character without a code, or a control character from 0x80 on.
Character take_character(std::string_view &text) {
    const auto first = static_cast<unsigned char>(text[0]);
    uint32_t code = first;
    std::size_t length = 1;
    if (first >= 0x80) {
        const gunichar decoded = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
        const bool is_valid = decoded < static_cast<gunichar>(-2);
        if (is_valid) length = static_cast<std::size_t>(g_utf8_next_char(text.data()) - text.data());
        code = is_valid ? decoded : first < 0xa0 ? first : kNoCharacter;
    }
    const std::string_view bytes = text.substr(0, length);
    text.remove_prefix(length);
    return {code, bytes};
}

std::string name_of_control(uint32_t control) {
    if (control < 0x80) return {'^', static_cast<char>(control ^ 0x40)};
    char name[8];
    std::snprintf(name, sizeof name, control < 0x100 ? "\\x%02x" : "\\u%04x", control & 0xffff);
    return name;
}

} // namespace

bool is_control(uint32_t character) {
    const bool turns_text = character == 0x61c || (character >= 0x200e && character <= 0x200f) ||
                            (character >= 0x202a && character <= 0x202e) ||
                            (character >= 0x2066 && character <= 0x2069);
    return character < ' ' || (character >= 0x7f && character < 0xa0) || turns_text;
}

std::string replace_controls(std::string_view text, const std::function<std::string(uint32_t control)> &replacement) {
    std::string shown;
    while (!text.empty()) {
        const Character character = take_character(text);
        if (is_control(character.code)) {
            shown += replacement(character.code);
        } else {
            shown += character.bytes;
        }
    }
    return shown;
}

std::string visible(std::string_view text, std::string_view kept) {
    return replace_controls(text, [kept](uint32_t control) {
        const bool is_kept = control < 0x80 && kept.find(static_cast<char>(control)) != std::string_view::npos;
        return is_kept ? std::string(1, static_cast<char>(control)) : name_of_control(control);
    });
}

bool has_control(std::string_view text) {
    while (!text.empty())
        if (is_control(take_character(text).code)) return true;
    return false;
}

std::size_t columns_of(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        const uint32_t code = take_character(text).code;
        const bool is_known = code != kNoCharacter;
        if (!is_known || !g_unichar_iszerowidth(code)) columns += is_known && g_unichar_iswide(code) ? 2 : 1;
    }
    return columns;
}

} // namespace sim
