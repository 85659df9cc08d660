#include "nats/names.h"

#include <sys/random.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <system_error>
#include <utility>
#include <vector>

namespace nats {
namespace {

constexpr char kDigits[] = "0123456789abcdef";
constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
constexpr std::size_t kTokenBytes = 16;
constexpr std::size_t kLongestWord = 200; // a line of the protocol has at most 4096 bytes
constexpr std::size_t kShown = 60;        // bytes of a long name in a message

std::string hexadecimal(unsigned char byte) {
    return {kDigits[byte >> 4], kDigits[byte & 0xf]};
}

std::string path_of(const Place &place) {
    return escaped(place.switch_name) + '.' + escaped(place.vdc) + '.';
}

std::string subject(const Place &place, const char *kind, const std::string &last) {
    return "qarn." + path_of(place) + kind + '.' + last;
}

std::string new_token() {
    unsigned char bytes[kTokenBytes];
    if (getrandom(bytes, sizeof bytes, 0) != sizeof bytes)
        throw std::system_error(errno, std::generic_category(), "no random token");
    std::string token;
    for (const unsigned char byte : bytes)
        token += hexadecimal(byte);
    return token;
}

template <typename Number>
std::optional<Number> number_in(std::string_view text, int base) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return number;
}

std::vector<std::string_view> words_of(std::string_view text) {
    std::vector<std::string_view> words;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find('.', at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

} // namespace

std::string escaped(std::string_view name) {
    if (name.empty()) return "=";
    std::string word;
    for (const char c : name) {
        if (kPlain.find(c) != std::string_view::npos) {
            word += c;
        } else {
            word += '=' + hexadecimal(static_cast<unsigned char>(c));
        }
    }
    return word;
}

std::optional<std::string> unescaped(std::string_view word) {
    if (word == "=") return "";
    std::string name;
    for (std::size_t at = 0; at < word.size(); ++at) {
        if (word[at] != '=') {
            name += word[at];
            continue;
        }
        const auto byte = number_in<unsigned char>(word.substr(at + 1, 2), 16);
        if (!byte) return {};
        name += static_cast<char>(*byte);
        at += 2;
    }
    if (escaped(name) != word) return {};
    return name;
}

std::optional<std::string> why_too_long(std::string_view kind, std::string_view name) {
    const std::size_t size = escaped(name).size();
    if (size <= kLongestWord) return {};
    const std::string shown(name.substr(0, kShown));
    return "the name of the " + std::string(kind) + " \"" + shown + (shown.size() < name.size() ? "..." : "") +
           "\" has " + std::to_string(size) + " bytes in subjects, more than " + std::to_string(kLongestWord) +
           "; use a shorter name";
}

std::string opcode_subject(const Place &place, uint32_t opcode) {
    return subject(place, "opcode", std::to_string(opcode));
}

std::string sap_subject(const Place &place, uint32_t sap) {
    return subject(place, "sap", std::to_string(sap));
}

std::string new_reply_subject(const Place &place, std::string_view user) {
    return subject(place, "reply", escaped(user) + '.' + new_token());
}

bool is_reply_subject(std::string_view subject, const Place &place) {
    const std::string before = "qarn." + path_of(place) + "reply.";
    if (!subject.starts_with(before)) return false;
    const std::vector<std::string_view> words = words_of(subject.substr(before.size()));
    return words.size() == 2 && unescaped(words[0]) && !words[1].empty() && unescaped(words[1]);
}

std::string answer_subject(std::string_view reply_subject, uint32_t sap) {
    return std::string(reply_subject) + '.' + std::to_string(sap);
}

std::string all_answers(std::string_view reply_subject) {
    return std::string(reply_subject) + ".*";
}

std::string key(const Place &place, uint32_t opcode, uint32_t sap) {
    return path_of(place) + std::to_string(opcode) + '.' + std::to_string(sap);
}

std::string all_keys(const Place &place) {
    return path_of(place) + "*.*";
}

std::optional<Key> key_in(std::string_view text) {
    const std::vector<std::string_view> words = words_of(text);
    if (words.size() != 4) return {};
    auto switch_name = unescaped(words[0]), vdc = unescaped(words[1]);
    const auto opcode = number_in<uint32_t>(words[2], 10), sap = number_in<uint32_t>(words[3], 10);
    if (!switch_name || !vdc || !opcode || !sap) return {};
    return Key{{std::move(*switch_name), std::move(*vdc)}, *opcode, *sap};
}

std::string inbox_prefix(std::string_view user) {
    return "_INBOX." + escaped(user);
}

std::optional<uint32_t> last_number(std::string_view subject) {
    return number_in<uint32_t>(subject.substr(subject.rfind('.') + 1), 10);
}

} // namespace nats
