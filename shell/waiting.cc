// The child writes the line while its transport waits. Whether it is on the screen is known to the shell too.
#include "shell/waiting.h"

#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <qarncli/globals.h>
#include <qarncli/outcome.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

namespace shell {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience(500);  // before the line appears
constexpr std::size_t kUsualWidth = 80, kMargin = 3; // a terminal may show "^C" after the line
constexpr char kErase[] = "\r\x1b[K";

std::atomic<bool> *is_shown; // in memory that the child shares; null: no line is ever shown

void write_to_terminal(std::string_view text) {
    if (write(STDERR_FILENO, text.data(), text.size()) < 0) return; // the terminal is gone
}

std::atomic<bool> *shared_flag() {
    void *const memory =
        mmap(nullptr, sizeof(std::atomic<bool>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED ? new (memory) std::atomic<bool>(false) : nullptr;
}

std::size_t width_of_terminal() {
    struct winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualWidth;
    return size.ws_col;
}

// One column for each byte, so that the line never wraps.
std::string name_of_service(const sim::Switch &sw, uint32_t sap) {
    const auto found = std::ranges::find(sw.services, sap, &sim::Service::sap);
    if (found == sw.services.end()) return "SAP " + std::to_string(sap);
    std::string name = found->name;
    std::ranges::replace_if(
        name, [](unsigned char c) { return c < ' ' || c >= 0x7f; }, '?');
    return name;
}

Awaited awaited_by(const sim::Switch &sw, std::optional<std::chrono::nanoseconds> left) {
    Awaited awaited = {};
    for (int32_t i = 0; i < num_saps; ++i)
        if (saps[i] != 0) awaited.names.push_back(name_of_service(sw, saps[i]));
    awaited.asked = std::max<std::size_t>(qarn_outcome_last()->num_services, awaited.names.size());
    awaited.answered = awaited.asked - awaited.names.size();
    if (left) awaited.left = std::chrono::ceil<std::chrono::seconds>(*left);
    return awaited;
}

std::string names_and_more(const std::vector<std::string> &names, std::size_t count) {
    std::string list;
    for (std::size_t i = 0; i < count; ++i)
        list += (i == 0 ? "" : ", ") + names[i];
    if (count == names.size()) return list;
    const std::string rest = std::to_string(names.size() - count);
    return count == 0 ? rest : list + ", " + rest + " more";
}

} // namespace

bool can_erase_lines() {
    const char *const terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) != 0 && terminal != nullptr && std::string_view(terminal) != "dumb" &&
           *terminal != '\0';
}

std::string waiting_line(const Awaited &awaited, std::size_t width) {
    const std::string begin = std::to_string(awaited.answered) + " of " + std::to_string(awaited.asked) +
                              " services have answered; waiting for ";
    const std::string end = awaited.left ? "; " + std::to_string(awaited.left->count()) + " s left" : "";
    std::string line;
    for (std::size_t count = std::min(awaited.names.size(), width / 3 + 1);; --count) {
        line = begin;
        line.append(names_and_more(awaited.names, count)).append(end);
        if (line.size() <= width || count == 0) return line.substr(0, width);
    }
}

void show_waits(sim::Switch &sw) {
    if (!can_erase_lines()) return;
    if (is_shown == nullptr) is_shown = shared_flag();
    if (is_shown == nullptr) return;
    const auto show = [&sw](std::optional<std::chrono::nanoseconds> left) {
        const std::size_t width = width_of_terminal();
        is_shown->store(true);
        write_to_terminal('\r' + waiting_line(awaited_by(sw, left), width > kMargin ? width - kMargin : 0) + "\x1b[K");
    };
    sw.transport.watch = sim::Watch{steady_clock::now() + kPatience, show, erase_waiting_line};
}

void erase_waiting_line() {
    if (is_shown != nullptr && is_shown->exchange(false)) write_to_terminal(kErase);
}

} // namespace shell
