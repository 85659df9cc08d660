// libedit edits the line; this file gives it characters and signals, and the keys that know the commands. libedit reads
// and writes text in the locale of the thread, which is UTF-8 while a line is edited and the caller's otherwise.
#include "shell/editor.h"

#include <fcntl.h>
#include <glib.h>
#include <histedit.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <stdexcept>
#include <utility>
#include <vector>

#include "shell/completion.h"
#include "shell/message.h"
#include "shell/suggest.h"
#include "shell/words.h"
#include "sim/visible.h"

namespace shell {
namespace {

constexpr uint32_t kUsualWidth = 80;
constexpr char kNotUtf8Bytes[] = "\xef\xbf\xbd"; // kNotUtf8

class UseLocale {
  public:
    explicit UseLocale(locale_t locale) : before_(uselocale(locale)) {}
    ~UseLocale() { uselocale(before_); }
    UseLocale(const UseLocale &) = delete;
    UseLocale &operator=(const UseLocale &) = delete;

  private:
    locale_t before_;
};

// Columns of a text on the terminal.
uint32_t columns(const wchar_t *begin, const wchar_t *end) {
    uint32_t columns = 0;
    for (const wchar_t *at = begin; at != end; ++at)
        columns += static_cast<uint32_t>(std::max(wcwidth(*at), 1)); // libedit shows a control character in two
    return columns;
}

// The name of a switch as a prompt.
std::string presentable(const std::string &text) {
    char *const valid = g_utf8_make_valid(text.c_str(), static_cast<gssize>(text.size()));
    std::string shown = sim::visible(valid);
    g_free(valid);
    return shown;
}

const std::string &too_long() {
    static const std::string reason = "the line has more than " + std::to_string(kLongestLine) + " bytes";
    return reason;
}

// The terminal is restored after every line. libedit would do so once more, and drop what was typed ahead.
void end_editing(EditLine *line) {
    el_set(line, EL_EDITMODE, 0);
    el_end(line);
}

void bind_key(EditLine *line, const std::string &key, const char *function) {
    el_set(line, EL_BIND, key.c_str(), function, nullptr);
}

// libedit drops an unknown sequence up to the character in which it differs from the known ones, and inserts the rest.
// A later binding replaces these.
void ignore_other_keys(EditLine *line) {
    constexpr char kIgnore[] = "ed-ignore";
    constexpr int kMostNumbers = 34, kMostModifiers = 16; // of Insert to F20; Shift, Alt, Ctrl and Meta together
    std::vector<std::string> modifiers = {""};
    for (int modifier = 2; modifier <= kMostModifiers; ++modifier)
        modifiers.push_back(';' + std::to_string(modifier));
    for (const std::string &modifier : modifiers) {
        for (int number = 1; number <= kMostNumbers; ++number)
            bind_key(line, "\\e[" + std::to_string(number) + modifier + '~', kIgnore);
        for (const char letter : std::string_view("ABCDEFHPQRS"))
            if (!modifier.empty()) bind_key(line, "\\e[1" + modifier + letter, kIgnore);
    }
    for (const char *key : {"\\eOP", "\\eOQ", "\\eOR", "\\eOS", "\\e[E", "\\e[Z", "\\e[I", "\\e[O", "\\e[[A", "\\e[[B",
                            "\\e[[C", "\\e[[D", "\\e[[E"})
        bind_key(line, key, kIgnore);
    for (const char *key : {"\\ex", "\\eX"}) // libedit would ask for a command of its own
        bind_key(line, key, kIgnore);
}

std::FILE *open_file(int descriptor, const char *mode) {
    return descriptor < 0 ? nullptr : fdopen(descriptor, mode);
}

} // namespace

class Editor::Callbacks {
  public:
    static char *prompt(EditLine *line) { return of(line).prompt_.data(); }

    // No exception may pass through libedit.
    static int read(EditLine *line, wchar_t *character) {
        Editor &editor = of(line);
        try {
            if (editor.read_character(*character)) return 1;
        } catch (const std::exception &error) {
            editor.error_ = error.what();
        }
        *character = L'\0';
        return -1;
    }

    template <unsigned char (Editor::*function)()>
    static unsigned char call(EditLine *line, int) {
        try {
            return (of(line).*function)();
        } catch (const std::exception &) { // such as a lack of memory
            return CC_ERROR;
        }
    }

  private:
    static Editor &of(EditLine *line) {
        void *editor = nullptr;
        el_get(line, EL_CLIENTDATA, &editor);
        return *static_cast<Editor *>(editor);
    }
};

Editor::Editor(std::function<const sim::Switch &()> current_switch, bool has_history_file)
    : current_switch_(std::move(current_switch)),
      utf8_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)),
      screen_(open_file(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0), "w")),
      nowhere_(std::fopen("/dev/null", "we")),
      editor_(nullptr, end_editing),
      history_(history_init(), history_end) {
    is_usable_ = utf8_ != nullptr && screen_ && nowhere_ && history_ && start();
    if (!is_usable_) return;
    keyboard_.emplace();
    if (has_history_file) recall_earlier_sessions();
}

Editor::~Editor() {
    editor_.reset();
    if (utf8_ != nullptr) freelocale(utf8_);
}

// libedit reports a terminal that it does not know, and goes on without it. It can edit a line if it can clear the rest
// of one.
bool Editor::start() {
    const UseLocale locale(utf8_);
    editor_.reset(el_init("vsh", stdin, screen_.get(), nowhere_.get()));
    if (!editor_) return false;
    char clear_to_end[] = "ce", *sequence = nullptr;
    int can_edit = 0;
    const bool is_known = el_get(editor_.get(), EL_GETTC, clear_to_end, &sequence) == 0 && sequence != nullptr;
    if (!is_known || el_get(editor_.get(), EL_EDITMODE, &can_edit) != 0 || can_edit == 0) return false;
    bind_keys();
    return true;
}

void Editor::bind_keys() {
    EditLine *const line = editor_.get();
    el_set(line, EL_CLIENTDATA, this);
    el_set(line, EL_PROMPT, Callbacks::prompt);
    el_set(line, EL_GETCFN, Callbacks::read);
    el_set(line, EL_EDITOR, "emacs");
    HistEvent event;
    ::history(history_.get(), &event, H_SETSIZE, static_cast<int>(kMostHistoryLines));
    el_set(line, EL_HIST, ::history, history_.get());
    el_set(line, EL_ADDFN, "vsh-complete", "complete the word", Callbacks::call<&Editor::complete_word>);
    el_set(line, EL_ADDFN, "vsh-help", "list what may come next", Callbacks::call<&Editor::list_help>);
    el_set(line, EL_ADDFN, "vsh-paste", "insert a pasted text", Callbacks::call<&Editor::take_paste>);
    el_set(line, EL_ADDFN, "vsh-delete", "delete a character, or end", Callbacks::call<&Editor::delete_or_end>);
    constexpr const char *kKeys[][2] = {
        {"^I", "vsh-complete"},        {"?", "vsh-help"},
        {"^D", "vsh-delete"},          {"^R", "em-inc-search-prev"},
        {"^W", "ed-delete-prev-word"}, {"\\e[3~", "ed-delete-next-char"},
        {"\\e[1~", "ed-move-to-beg"},  {"\\e[4~", "ed-move-to-end"},
        {"\\e[200~", "vsh-paste"},     {"\\e[201~", "ed-ignore"},
        {"\\e[1;5C", "em-next-word"},  {"\\e[1;5D", "ed-prev-word"},
    };
    ignore_other_keys(line);
    for (const auto &[key, function] : kKeys)
        bind_key(line, key, function);
}

void Editor::recall_earlier_sessions() {
    file_.emplace();
    HistEvent event;
    for (const std::string &line : file_->load()) {
        if (line == last_line_) continue;
        ::history(history_.get(), &event, H_ENTER, line.c_str());
        last_line_ = line;
    }
}

// A terminal that marks the beginning and the end of a pasted text lets the editor read all of it at once. Otherwise
// the terminal would echo the later lines while the first one runs.
void Editor::take_terminal() {
    el_set(editor_.get(), EL_PREP_TERM, 1);
    keyboard_->note_typed_ahead();
    std::fputs("\x1b[?2004h", screen_.get());
}

void Editor::give_terminal_back() {
    std::fputs("\x1b[?2004l", screen_.get());
    std::fflush(screen_.get());
    el_set(editor_.get(), EL_PREP_TERM, 0);
}

Editor::Event Editor::next(const std::string &prompt, std::string &line) {
    const UseLocale locale(utf8_);
    const Keyboard::Attention attention(*keyboard_);
    prompt_ = presentable(prompt) + "# ";
    width_ = width();
    listed_for_.clear();
    ending_.reset();
    take_terminal(); // before the prompt, or the terminal could echo what is typed right after it
    int length = 0;
    const char *const text = el_gets(editor_.get(), &length);
    give_terminal_back();
    if (error_) throw std::runtime_error(*error_);
    if (ending_ == Event::kRefused) return refuse(refusal_);
    if (!ending_ && text != nullptr && length > 0) return finish({text, static_cast<std::size_t>(length)}, line);
    std::fputs(ending_ == Event::kInterruption ? "^C" : "\n", screen_.get());
    std::fflush(screen_.get());
    return ending_.value_or(Event::kEnd);
}

Editor::Event Editor::finish(std::string_view text, std::string &line) {
    if (text.ends_with('\n')) text.remove_suffix(1);
    if (text.size() > kLongestLine) return refuse(too_long());
    line = text;
    if (line.find(kNotUtf8Bytes) != std::string::npos)
        return refuse("the line has control characters or bytes that are no UTF-8");
    if (!words_of(line).empty()) remember(line);
    return Event::kLine;
}

Editor::Event Editor::refuse(const std::string &reason) {
    print_message("%s; it was not run", reason.c_str());
    return Event::kRefused;
}

void Editor::remember(const std::string &line) {
    if (line == last_line_) return;
    HistEvent event;
    ::history(history_.get(), &event, H_ENTER, line.c_str());
    if (file_) file_->append(line);
    last_line_ = line;
}

bool Editor::read_character(wchar_t &character) {
    if (const std::optional<wchar_t> held = search_keys_.take_held()) {
        character = *held;
        return true;
    }
    for (;;) {
        const Keyboard::Event event = keyboard_->next();
        if (event == Keyboard::Event::kEnd) return false;
        if (event == Keyboard::Event::kCharacter) break;
        if (!take_signal()) return false;
    }
    const LineInfoW *const line = el_wline(editor_.get());
    if (line->lastchar - line->buffer < static_cast<std::ptrdiff_t>(kLongestLine)) {
        character = typed_character();
        return true;
    }
    go_below();
    ending_ = Event::kRefused;
    refusal_ = too_long();
    const wchar_t typed = keyboard_->character();
    if (typed != L'\n' && typed != L'\r' && !keyboard_->skip_line()) take_signal();
    return false;
}

// A pasted character is no key.
wchar_t Editor::typed_character() {
    const wchar_t typed = keyboard_->character();
    const bool is_control = sim::is_control(static_cast<uint32_t>(typed));
    if (!keyboard_->is_pasted()) return is_control && typed > 0x7f ? kNotUtf8 : search_keys_.pass(typed);
    if (typed == L'\t') return L' ';
    if (typed == L'\r' || typed == L'\n') return L'\n';
    return is_control ? kNotUtf8 : typed;
}

// The terminal is as the shell's caller left it while a signal has its effect.
bool Editor::take_signal() {
    const int signal = keyboard_->signal();
    if (signal == SIGINT) {
        for (uint32_t rows = rows_below(width_); rows > 0; --rows)
            std::fputc('\n', screen_.get());
        ending_ = Event::kInterruption;
        return false;
    }
    if (signal == SIGWINCH) {
        follow_window();
        return true;
    }
    give_terminal_back();
    if (signal != SIGCONT) Keyboard::deliver(signal);
    take_terminal();
    if (signal == SIGCONT) redraw();
    return true;
}

// A terminal may or may not have wrapped the line anew. What was above the line is not overwritten.
void Editor::follow_window() {
    const uint32_t width_before = std::exchange(width_, width());
    el_resize(editor_.get());
    const uint32_t rows = std::min(rows_above(width_before), rows_above(width_));
    if (rows > 0) std::fprintf(screen_.get(), "\x1b[%uA", rows);
    redraw();
}

unsigned char Editor::take_paste() {
    const Keyboard::Paste paste = keyboard_->read_paste([this] { return take_signal(); });
    if (paste == Keyboard::Paste::kWhole) return CC_NORM;
    if (paste == Keyboard::Paste::kTooLong) {
        go_below();
        ending_ = Event::kRefused;
        refusal_ = "the pasted text has more than " + std::to_string(kMostPasted) + " bytes";
    }
    return CC_EOF;
}

unsigned char Editor::complete_word() {
    const std::string text(before_cursor());
    const Suggestions suggestions = suggest(text, current_switch_());
    Completion completion = complete(suggestions);
    const LineInfo *const line = el_line(editor_.get());
    if (completion.is_whole && (line->cursor == line->lastchar || *line->cursor != ' ')) completion.rest += ' ';
    if (!completion.rest.empty()) {
        el_insertstr(editor_.get(), completion.rest.c_str());
        return CC_REFRESH;
    }
    const bool is_second = listed_for_ == text;
    listed_for_ = text;
    return is_second ? show_below(list_of_words(suggestions, width_)) : static_cast<unsigned char>(CC_REFRESH_BEEP);
}

unsigned char Editor::list_help() {
    const std::string text(before_cursor());
    if (!takes_question_mark(text) && !keyboard_->is_pasted())
        return show_below(list_with_help(suggest(text, current_switch_()), width_));
    el_insertstr(editor_.get(), "?");
    return CC_REFRESH;
}

// Ctrl-D ends the session where there is nothing to delete.
unsigned char Editor::delete_or_end() {
    const LineInfoW *const line = el_wline(editor_.get());
    if (line->lastchar == line->buffer) return CC_EOF;
    if (line->cursor == line->lastchar) return CC_ERROR;
    el_cursor(editor_.get(), 1);
    el_deletestr(editor_.get(), 1);
    return CC_REFRESH;
}

// Draw the prompt and the line where the cursor is.
void Editor::redraw() {
    std::fputs("\r\x1b[J", screen_.get());
    el_set(editor_.get(), EL_REFRESH);
}

// To the beginning of the row below the line.
void Editor::go_below() {
    for (uint32_t rows = rows_below(width_) + 1; rows > 0; --rows)
        std::fputc('\n', screen_.get());
    std::fflush(screen_.get());
}

unsigned char Editor::show_below(const std::string &text) {
    go_below();
    std::fputs(text.c_str(), screen_.get());
    el_set(editor_.get(), EL_REFRESH);
    return CC_NORM;
}

std::string_view Editor::before_cursor() const {
    const LineInfo *const line = el_line(editor_.get());
    return {line->buffer, static_cast<std::size_t>(line->cursor - line->buffer)};
}

uint32_t Editor::rows_above(uint32_t width) const {
    const LineInfoW *const line = el_wline(editor_.get());
    return (static_cast<uint32_t>(sim::columns_of(prompt_)) + columns(line->buffer, line->cursor)) / width;
}

uint32_t Editor::rows_below(uint32_t width) const {
    const LineInfoW *const line = el_wline(editor_.get());
    const uint32_t end = static_cast<uint32_t>(sim::columns_of(prompt_)) + columns(line->buffer, line->lastchar);
    return end / width - rows_above(width);
}

uint32_t Editor::width() {
    struct winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col < 2) return kUsualWidth;
    return size.ws_col;
}

} // namespace shell
