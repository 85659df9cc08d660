#include "sim/secret.h"

#include <algorithm>

namespace sim {
namespace {

constexpr std::string_view kBlanks = " \t", kHidden = "<hidden>";

// Where the word after the first `words` words begins, or npos.
std::size_t end_of_words(std::string_view line, uint32_t words) {
    std::size_t at = line.find_first_not_of(kBlanks);
    for (; words > 0 && at != std::string_view::npos; --words)
        at = line.find_first_not_of(kBlanks, line.find_first_of(kBlanks, at));
    return at;
}

} // namespace

std::string without_secrets(std::string_view text, uint32_t words) {
    std::string masked;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const std::size_t end = end_of_words(line, words);
        masked.append(line.substr(0, end));
        if (end != std::string_view::npos) masked.append(kHidden);
        text.remove_prefix(line.size());
        if (text.empty()) break;
        masked += '\n';
        text.remove_prefix(1);
    }
    return masked;
}

Element without_secrets(Element element) {
    const uint32_t words = element.secret.value();
    element.text = without_secrets(element.text, words);
    for (auto &[if_index, text] : element.intf_texts)
        text = without_secrets(text, words);
    for (KeyString &filed : element.key_strings)
        filed.text = without_secrets(filed.text, words);
    return element;
}

void hide_profile(Switch &sw, const std::string &profile, uint32_t words) {
    uint32_t &least = sw.secret_profiles.try_emplace(profile, words).first->second;
    least = std::min(least, words);
}

bool has_secrets(const Switch &sw) {
    return std::ranges::any_of(sw.services, [](const Service &service) {
        return std::ranges::any_of(service.elements, [](const Element &element) { return element.secret.has_value(); });
    });
}

} // namespace sim
