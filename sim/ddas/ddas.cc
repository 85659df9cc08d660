// The display conversion library of the simulated switch: it rewrites configuration text by the rules of the
// specification that it is opened with. A rule is the line
//
//     display-conversion replace OLD NEW
//
// and replaces the word OLD by NEW everywhere in a text; the library ignores the other lines of the specification. The
// caller prints a text in which no word was replaced. Words are separated by single blanks.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr uint32_t kBadSpecification = 0x40480001;
constexpr uint32_t kUnchanged = 1;
constexpr std::string_view kRule = "display-conversion replace ";

struct Rule {
    std::string old_word, new_word;
};
using Conversion = std::vector<Rule>;

bool is_word_end(std::string_view text, std::size_t at) {
    return at >= text.size() || text[at] == ' ' || text[at] == '\n';
}

bool is_word_start(std::string_view text, std::size_t at) {
    return at == 0 || is_word_end(text, at - 1);
}

// Replace every occurrence of the word; true when there was one.
bool replace_word(std::string &text, const Rule &rule) {
    bool found = false;
    for (std::size_t at = text.find(rule.old_word); at != std::string::npos;) {
        if (is_word_start(text, at) && is_word_end(text, at + rule.old_word.size())) {
            text.replace(at, rule.old_word.size(), rule.new_word);
            found = true;
            at += rule.new_word.size();
        } else {
            at += rule.old_word.size();
        }
        at = text.find(rule.old_word, at);
    }
    return found;
}

// False for a rule without two words.
bool add_rule(Conversion &conversion, std::string_view words) {
    const std::size_t blank = words.find(' ');
    if (blank == std::string_view::npos || blank == 0 || blank + 1 == words.size()) return false;
    conversion.push_back({std::string(words.substr(0, blank)), std::string(words.substr(blank + 1))});
    return true;
}

} // namespace

extern "C" {

uint32_t ddas_create_qarn_cnv_handle(const char *specification, void **handle);
uint32_t ddas_qarn_cnv(void *handle, const char *text, uint32_t, uint32_t, int32_t (*output)(const char *, ...));
uint32_t ddas_destroy_qarn_cnv_handle(void *handle);

uint32_t ddas_create_qarn_cnv_handle(const char *specification, void **handle) {
    auto conversion = std::make_unique<Conversion>();
    std::string_view rest = specification;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(line.size() == rest.size() ? rest.size() : line.size() + 1);
        if (line.starts_with(kRule) && !add_rule(*conversion, line.substr(kRule.size()))) return kBadSpecification;
    }
    *handle = conversion.release();
    return 0;
}

uint32_t ddas_qarn_cnv(void *handle, const char *text, uint32_t, uint32_t, int32_t (*output)(const char *, ...)) {
    std::string converted = text;
    bool changed = false;
    for (const Rule &rule : *static_cast<const Conversion *>(handle))
        changed |= replace_word(converted, rule);
    if (!changed) return kUnchanged;
    output("%s", converted.c_str());
    return 0;
}

uint32_t ddas_destroy_qarn_cnv_handle(void *handle) {
    delete static_cast<Conversion *>(handle);
    return 0;
}

} // extern "C"
