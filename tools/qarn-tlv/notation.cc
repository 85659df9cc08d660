#include "tools/qarn-tlv/notation.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

#include "sim/notation.h"
#include "sim/visible.h"

namespace tlv {
namespace {

constexpr std::size_t kMostWords = 16; // that are shown as numbers
// A YAML reader may take these for the end of a line, or leave them out.
constexpr std::pair<std::string_view, const char *> kSeparators[] = {
    {"\xe2\x80\xa8", "\\u2028"}, {"\xe2\x80\xa9", "\\u2029"}, {"\xef\xbb\xbf", "\\ufeff"}};

bool is_utf8(std::string_view text) {
    return g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

std::string escape(uint32_t control) {
    if (control == '\n') return "\\n";
    if (control == '\t') return "\\t";
    if (control == 0) return "\\0";
    char code[12];
    std::snprintf(code, sizeof code, control < 0x80 ? "\\x%02x" : "\\u%04x", control);
    return code;
}

std::string in_quotation_marks(std::string_view text) {
    std::string escaped = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') escaped += '\\';
        escaped += c;
    }
    for (const auto &[separator, code] : kSeparators)
        for (std::size_t at = escaped.find(separator); at != std::string::npos; at = escaped.find(separator))
            escaped.replace(at, separator.size(), code);
    return sim::replace_controls(escaped, escape) + '"';
}

std::string as_hex(std::string_view bytes) {
    std::string hex = "{hex: \"";
    char digits[4];
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(digits, sizeof digits, "%s%02x", i != 0 && i % 4 == 0 ? " " : "",
                      static_cast<unsigned char>(bytes[i]));
        hex += digits;
    }
    return hex + "\"}";
}

std::string as_words(std::string_view bytes) {
    std::string words = "{words: [";
    for (std::size_t at = 0; at < bytes.size(); at += sizeof(uint32_t)) {
        uint32_t word = 0;
        std::memcpy(&word, bytes.data() + at, sizeof word);
        words += (at != 0 ? ", " : "") + (word < 0x10000 ? std::to_string(word) : hexadecimal(word));
    }
    return words + "]}";
}

// Whether bytes look like a text, with or without its zero byte.
bool looks_like_text(std::string_view bytes) {
    if (bytes.ends_with('\0')) bytes.remove_suffix(1);
    const std::string shown = sim::visible(bytes, "\n\t");
    return bytes.size() > 1 && is_utf8(bytes) && shown == bytes;
}

// Whether YAML keeps the text in this form: a blank line or a special character would have to be escaped.
bool can_be_lines(std::string_view text) {
    if (std::ranges::count(text, '\n') < 2 || !text.ends_with('\n') || sim::visible(text, "\n") != text) return false;
    for (const auto &[separator, code] : kSeparators)
        if (text.find(separator) != std::string_view::npos) return false;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (line.find_first_not_of(' ') == std::string_view::npos) return false;
        text.remove_prefix(line.size() + 1);
    }
    return true;
}

std::optional<unsigned> digit_of(char c) {
    if (g_ascii_isxdigit(c) == FALSE) return {};
    return static_cast<unsigned>(g_ascii_xdigit_value(c));
}

Bytes read_hex(const sim::Document &document, const YAML::Node &node) {
    std::string digits = document.text(node, "hex");
    std::erase(digits, ' ');
    if (digits.size() % 2 != 0 || !std::ranges::all_of(digits, [](char c) { return digit_of(c).has_value(); }))
        document.fail(node, sim::Error::kWrongValue, "hex must be pairs of hexadecimal digits");
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(*digit_of(digits[i]) * 16 + *digit_of(digits[i + 1]));
    return bytes;
}

Bytes read_words(const sim::Document &document, const YAML::Node &node) {
    Bytes bytes;
    document.each_item(node, "words", [&](const YAML::Node &item) {
        const uint32_t word = document.number(item, "a word", 0, UINT32_MAX);
        bytes.append(reinterpret_cast<const char *>(&word), sizeof word);
    });
    return bytes;
}

} // namespace

std::string hexadecimal(uint32_t number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", number);
    return text;
}

std::string text_in_line(std::string_view text) {
    return is_utf8(text) ? in_quotation_marks(text) : as_hex(text);
}

std::string text_in_lines(std::string_view text, std::size_t indentation) {
    if (!is_utf8(text) || !can_be_lines(text)) return text_in_line(text);
    std::string lines = text.starts_with(' ') ? "|2" : "|";
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        lines.append(1, '\n').append(indentation, ' ').append(line);
        text.remove_prefix(line.size() + 1);
    }
    return lines;
}

Bytes read_text(const sim::Document &document, const YAML::Node &node, const std::string &what) {
    if (!node.IsMap()) return document.text(node, what);
    const sim::Mapping form(document, node, what, {"hex"});
    Bytes text = read_hex(document, form.require("hex"));
    if (text.find('\0') != std::string::npos)
        document.fail(node, sim::Error::kWrongValue, what + " must not contain a zero byte");
    return text;
}

std::string bytes_in_line(std::string_view bytes) {
    if (looks_like_text(bytes)) return in_quotation_marks(bytes);
    if (!bytes.empty() && bytes.size() % sizeof(uint32_t) == 0 && bytes.size() <= kMostWords * sizeof(uint32_t))
        return as_words(bytes);
    return as_hex(bytes);
}

Bytes read_bytes(const sim::Document &document, const YAML::Node &node, const std::string &what) {
    if (node.IsScalar()) return node.Scalar();
    const sim::Mapping form(document, node, what, {"hex", "words"});
    if (form.has("words")) return read_words(document, form["words"]);
    return read_hex(document, form.require("hex"));
}

} // namespace tlv
