#include "shell/words.h"

#include <algorithm>
#include <cctype>

namespace shell {

bool is_blank(unsigned char c) {
    return std::isspace(c) != 0;
}

Words words_of(std::string_view line) {
    Words words;
    const auto *at = std::find_if_not(line.begin(), line.end(), is_blank);
    while (at != line.end()) {
        const auto *end = std::find_if(at, line.end(), is_blank);
        words.emplace_back(at, end);
        at = std::find_if_not(end, line.end(), is_blank);
    }
    return words;
}

std::string_view without_blanks_around(std::string_view text) {
    while (!text.empty() && is_blank(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && is_blank(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return text;
}

bool is_quotation_mark(char c) {
    return c == '"' || c == '\'';
}

std::size_t end_of_quotation(std::string_view text, std::size_t begin) {
    for (std::size_t at = begin + 1; at < text.size(); ++at) {
        if (text[at] == text[begin]) return at + 1;
        if (text[at] == '\\' && text[begin] == '"') ++at;
    }
    return std::string_view::npos;
}

Words parts_of(std::string_view line) {
    Words parts;
    std::size_t begin = 0;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const bool follows_blank = at == begin || is_blank(static_cast<unsigned char>(line[at - 1]));
        if (is_quotation_mark(line[at]) && follows_blank) {
            const std::size_t end = end_of_quotation(line, at);
            if (end != std::string_view::npos) at = end - 1;
        } else if (line[at] == '|' && (parts.empty() || follows_blank)) {
            parts.push_back(line.substr(begin, at - begin));
            begin = at + 1;
        }
    }
    parts.push_back(line.substr(begin));
    return parts;
}

} // namespace shell
