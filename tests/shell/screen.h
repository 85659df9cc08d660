// A terminal with a user in front of it: what a shell writes becomes a screen.
#pragma once

#include <vterm.h>

#include <cstdint>
#include <string>

#include "live_shell.h"

constexpr int kRows = 24, kColumns = 80;

inline int connect_to_screen(pid_t &pid) {
    int terminal = -1;
    const struct winsize size = {kRows, kColumns, 0, 0};
    pid = forkpty(&terminal, nullptr, nullptr, &size);
    if (pid == 0) setenv("TERM", "xterm", 1);
    return terminal;
}

class Screen {
  public:
    explicit Screen(const std::string &arguments) : shell(arguments, connect_to_screen) {
        vterm_set_utf8(terminal_, 1);
        vterm_screen_reset(screen_, 1);
        shell.shows("# "); // what is typed earlier is echoed twice
    }
    ~Screen() { vterm_free(terminal_); }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    // Wait until the screen holds this text, and return what it holds in the end. An underscore is the cursor, "N s
    // left" and "TIME" replace what changes.
    std::string until(const std::string &expected) {
        for (show_new_output(); text() != expected && shell.read_more();)
            show_new_output();
        return text();
    }

    Shell shell;

  private:
    void show_new_output() {
        vterm_input_write(terminal_, shell.out.data() + shown_, shell.out.size() - shown_);
        shown_ = shell.out.size();
    }

    // What changes from one run to the next, between texts that do not.
    static void replace_between(std::string &text, const std::string &before, const std::string &after,
                                const std::string &replacement) {
        for (std::size_t at = text.find(before); at != std::string::npos; at = text.find(before, at + 1)) {
            const std::size_t begin = at + before.size(), end = text.find(after, begin);
            if (end != std::string::npos && text.find('\n', begin) >= end)
                text.replace(begin, end - begin, replacement);
        }
    }

    std::string text() const {
        VTermPos cursor = {};
        vterm_state_get_cursorpos(vterm_obtain_state(terminal_), &cursor);
        std::string text;
        for (int row = 0; row < kRows; ++row) {
            std::string cells;
            for (int column = 0; column < kColumns; ++column) {
                if (row == cursor.row && column == cursor.col) cells += '_';
                cells += cell(row, column);
            }
            text += cells.substr(0, cells.find_last_not_of(' ') + 1) + '\n';
        }
        text.erase(text.find_last_not_of('\n') + 1);
        replace_between(text, "for mute; ", " s left", "N");
        replace_between(text, "!Time: ", "\n", "TIME");
        return text;
    }

    // A cell to which nothing was written is a blank.
    std::string cell(int row, int column) const {
        char bytes[32];
        const VTermRect part = {.start_row = row, .end_row = row + 1, .start_col = column, .end_col = column + 1};
        const std::size_t size = vterm_screen_get_text(screen_, bytes, sizeof bytes, part);
        return size == 0 ? " " : std::string(bytes, size);
    }

    VTerm *terminal_ = vterm_new(kRows, kColumns);
    VTermScreen *screen_ = vterm_obtain_screen(terminal_);
    std::size_t shown_ = 0; // of the shell's output
};
