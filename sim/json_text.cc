// JSON allows every character of UTF-8 as it is, except the quote, the backslash and control characters.
#include "sim/json_text.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace sim {
namespace {

bool must_be_escaped(char c) {
    return c == '"' || c == '\\' || static_cast<unsigned char>(c) < ' ';
}

void append_escaped(std::string &json, char c) {
    if (c == '"' || c == '\\') {
        json.append(1, '\\').append(1, c);
        return;
    }
    char code[8];
    std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
    json += code;
}

void append_valid(std::string &json, std::string_view text) {
    for (;;) {
        const auto *const special = std::ranges::find_if(text, must_be_escaped);
        json.append(text.begin(), special);
        if (special == text.end()) return;
        append_escaped(json, *special);
        text = {special + 1, text.end()};
    }
}

} // namespace

std::string json_text(std::string_view text) {
    std::string json = "\"";
    const auto length = static_cast<gssize>(text.size());
    if (g_utf8_validate(text.data(), length, nullptr) != FALSE) {
        append_valid(json, text);
    } else {
        const std::unique_ptr<char, decltype(&g_free)> valid(g_utf8_make_valid(text.data(), length), g_free);
        append_valid(json, valid.get());
    }
    return json + '"';
}

} // namespace sim
