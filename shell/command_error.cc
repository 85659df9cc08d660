#include "shell/command_error.h"

#include <algorithm>
#include <cstdio>

#include "shell/message.h"
#include "sim/visible.h"

namespace shell {
namespace {

constexpr std::size_t kLongestShown = 200, kWidth = 76, kMostExpected = 24;

bool can_be_marked(const CommandError &error, std::string_view line) {
    return error.part.data() != nullptr && line.size() <= kLongestShown && !sim::has_control(line);
}

void mark(std::string_view part, std::string_view line) {
    const std::size_t before = sim::columns_of({line.data(), static_cast<std::size_t>(part.data() - line.data())});
    const std::size_t width = std::max<std::size_t>(sim::columns_of(part), 1);
    std::fprintf(stderr, "  %.*s\n  %s%s\n", static_cast<int>(line.size()), line.data(),
                 std::string(before, ' ').c_str(), std::string(width, '^').c_str());
}

// "  expected: a, b, c", in lines that fit a terminal.
std::string list_of(const std::vector<std::string> &words) {
    std::string list, row = "  expected:";
    const std::size_t count = std::min(words.size(), kMostExpected);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string item = ' ' + words[i] + (i + 1 < words.size() ? "," : "");
        if (row.size() + item.size() > kWidth) {
            list += row + '\n';
            row.assign(11, ' ');
        }
        row += item;
    }
    return list + row + (count < words.size() ? " ...\n" : "\n");
}

} // namespace

void report(const CommandError &error, std::string_view line) {
    print_message("%s", error.what());
    if (can_be_marked(error, line)) mark(error.part, line);
    if (!error.expected.empty()) write_messages(list_of(error.expected));
}

} // namespace shell
