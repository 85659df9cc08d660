// JSON allows every character of UTF-8 as it is, except the quote, the backslash and control characters.
#include "shell/json.h"

#include <glib.h>

#include <cstdio>
#include <memory>

namespace shell {
namespace {

std::string escaped(char c) {
    if (c == '"' || c == '\\') return {'\\', c};
    if (static_cast<unsigned char>(c) >= ' ') return {c};
    char code[8];
    std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
    return code;
}

} // namespace

std::string json_text(std::string_view text) {
    const std::unique_ptr<char, decltype(&g_free)> valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free);
    std::string json = "\"";
    for (const char c : std::string_view(valid.get()))
        json += escaped(c);
    return json + '"';
}

} // namespace shell
