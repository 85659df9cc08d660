// The characters that are typed at a terminal, and the signals that arrive meanwhile.
#pragma once

#include <signal.h>

#include <cstdint>
#include <cwchar>
#include <functional>
#include <optional>
#include <string>

namespace shell {

inline constexpr wchar_t kNotUtf8 = 0xfffd; // in place of bytes that are no character
inline constexpr std::size_t kMostPasted = std::size_t{4} << 20;

// While an object lives, SIGINT is blocked in this process, unless the caller of the shell ignores it.
class Keyboard {
  public:
    enum class Event : uint8_t { kCharacter, kSignal, kEnd };

    Keyboard();
    ~Keyboard();
    Keyboard(const Keyboard &) = delete;
    Keyboard &operator=(const Keyboard &) = delete;

    // Wait for a character or a signal. A character is decoded in the locale of the thread. Throws std::runtime_error
    // if standard input cannot be read.
    Event next();
    wchar_t character() const { return character_; }
    int signal() const { return signal_; }

    // Drop the rest of the line. False if a signal comes before its end.
    bool skip_line();

    // Read a pasted text up to the mark with which a terminal ends it. Its characters come next; none come if it has
    // more than kMostPasted bytes. `take_signal` is called for each signal meanwhile, and ends the text if it returns
    // false.
    enum class Paste : uint8_t { kWhole, kTooLong, kEnd };
    Paste read_paste(const std::function<bool()> &take_signal);
    bool is_pasted() const { return is_pasted_; } // the last character

    void drop_input();

    // What the terminal holds now was typed while it did not pass each key on. A Ctrl-D of then arrives as a null
    // character.
    void note_typed_ahead();

    // While a line is read, the keyboard also takes the signals that end or stop the shell and those of the window, so
    // that the terminal can be restored first.
    class Attention {
      public:
        explicit Attention(const Keyboard &keyboard);
        ~Attention();
        Attention(const Attention &) = delete;
        Attention &operator=(const Attention &) = delete;

      private:
        sigset_t mask_before_;
    };

    // Let a signal that was taken have its effect.
    static void deliver(int signal);

  private:
    enum class Source : uint8_t { kInput, kSignal };
    Source wait();
    bool take_signal();
    bool read_input(std::size_t most); // false at the end of the input
    std::optional<wchar_t> decode(char byte);

    sigset_t taken_;
    int signals_ = -1;  // a signalfd
    std::string input_; // read ahead, and used before at_
    std::size_t at_ = 0, pasted_end_ = 0;
    std::size_t typed_ahead_ = 0; // bytes that are still to be read
    bool is_pasted_ = false;
    std::mbstate_t state_ = {};
    wchar_t character_ = 0;
    int signal_ = 0;
};

} // namespace shell
