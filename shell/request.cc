#include "shell/request.h"

#include <cstring>

namespace shell {

Request::Request(std::string_view display) : line(display) {
    req.valid = 1;
    req.vsan_mask.len = sizeof req.vsan_mask.bits;
    std::memset(req.vsan_mask.bits, 0xff, sizeof req.vsan_mask.bits);
    display.copy(req.cmd_line, sizeof req.cmd_line - 1);
}

void Request::add_token(uint32_t id) {
    add(0).token.id = id;
}

// Arguments have token id 0: an id would make them options.
Request::Token &Request::add(uint32_t type) {
    Token &token = tokens_.emplace_back();
    token.token.type = type;
    req.tokens[req.num_tokens++] = &token.token;
    return token;
}

void Request::add_name(const std::string &name) {
    Token &token = add(0);
    token.text = name;
    token.token.value = token.text.data();
}

void Request::add_sap(uint32_t sap) {
    Token &token = add(0);
    token.words = {sap};
    token.token.value = token.words.data();
}

// The words of a qarn_range_list.
void Request::add_ranges(const std::vector<std::pair<uint32_t, uint32_t>> &ranges, uint32_t type) {
    Token &token = add(type);
    token.words = {0, static_cast<uint32_t>(ranges.size())};
    for (auto [low, high] : ranges) {
        token.words.push_back(low);
        token.words.push_back(high);
    }
    token.token.value = token.words.data();
}

} // namespace shell
