// The prompt of a session on a terminal: a line that can be edited, completion, help, and a history.
#pragma once

#include <locale.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "shell/history_file.h"
#include "shell/keyboard.h"
#include "shell/lines.h"
#include "shell/search_keys.h"
#include "sim/switch.h"

struct editline; // of libedit
struct history;

namespace shell {

class Editor : public LineReader {
  public:
    // Lines are completed with the names of the current switch. Without a history file, only lines of this session can
    // be recalled.
    Editor(std::function<const sim::Switch &()> current_switch, bool has_history_file);
    ~Editor() override;
    Editor(const Editor &) = delete;
    Editor &operator=(const Editor &) = delete;

    // Whether standard input and standard error are a terminal on which a line can be edited. If not, the editor must
    // not be used.
    bool is_usable() const { return is_usable_; }

    Event next(const std::string &prompt, std::string &line) override;
    void drop_input() override { keyboard_->drop_input(); }

  private:
    class Callbacks; // from libedit
    struct FileCloser {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    using File = std::unique_ptr<std::FILE, FileCloser>;

    bool start();
    void bind_keys();
    void take_terminal();
    void give_terminal_back();
    void recall_earlier_sessions();
    Event finish(std::string_view text, std::string &line);
    static Event refuse(const std::string &reason);
    wchar_t typed_character();
    void remember(const std::string &line);

    // For the callbacks.
    bool read_character(wchar_t &character); // false if the line ends here
    bool take_signal();
    unsigned char take_paste();
    unsigned char complete_word();
    unsigned char list_help();
    unsigned char delete_or_end();

    void follow_window();
    void redraw();
    void go_below();
    unsigned char show_below(const std::string &text);
    std::string_view before_cursor() const;
    uint32_t rows_below(uint32_t width) const, rows_above(uint32_t width) const;
    static uint32_t width();

    std::function<const sim::Switch &()> current_switch_;
    locale_t utf8_;
    File screen_, nowhere_;
    std::unique_ptr<struct editline, void (*)(struct editline *)> editor_;
    std::unique_ptr<struct history, void (*)(struct history *)> history_;
    std::optional<HistoryFile> file_;
    std::optional<Keyboard> keyboard_;
    bool is_usable_ = false;

    std::string prompt_, last_line_;
    uint32_t width_ = 0;               // of the terminal
    std::string listed_for_;           // the text for which a Tab found no unique word
    std::optional<Event> ending_;      // of a line that ended otherwise than by the Enter key
    std::string refusal_;              // why the line is refused
    std::optional<std::string> error_; // of standard input
    SearchKeys search_keys_;
};

} // namespace shell
