// JSON allows every character of UTF-8 as it is, except the quote, the backslash and control characters.
#include "shell/json.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace shell {
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

std::string json_time(std::time_t at) {
    std::tm utc = {};
    char text[32];
    std::strftime(text, sizeof text, "\"%FT%TZ\"", gmtime_r(&at, &utc));
    return text;
}

std::string json_array(const std::vector<std::string> &values) {
    std::string json = "[";
    for (const std::string &value : values)
        json.append(json.size() > 1 ? ",\n  " : "\n  ").append(value);
    return json + (values.empty() ? "]" : "\n ]");
}

} // namespace shell
