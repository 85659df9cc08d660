// The keys of a search for an earlier line. libedit ends the search at an Escape character, which it drops. The
// sequences of the arrow keys begin with one and would leave their other characters in the line.
#pragma once

#include <optional>
#include <utility>

namespace shell {

class SearchKeys {
  public:
    // The character that libedit gets when this one is typed.
    wchar_t pass(wchar_t typed) {
        if (std::exchange(has_escaped_, false) && (typed == L'[' || typed == L'O')) {
            held_ = typed;
            return kEscape;
        }
        has_escaped_ = is_searching_ && typed == kEscape;
        is_searching_ = typed == kSearch || (is_searching_ && goes_on_with(typed));
        return typed;
    }

    // A character that comes before the next one that is typed.
    std::optional<wchar_t> take_held() { return std::exchange(held_, {}); }

  private:
    static constexpr wchar_t kEscape = 0x1b, kSearch = 0x12, kBackspace = 0x08, kAddWord = 0x17;

    static bool goes_on_with(wchar_t typed) {
        return typed == kBackspace || typed == kAddWord || (typed >= L' ' && typed != L'?');
    }

    bool is_searching_ = false, has_escaped_ = false;
    std::optional<wchar_t> held_;
};

} // namespace shell
