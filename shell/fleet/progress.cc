#include "shell/fleet/progress.h"

#include <unistd.h>

#include <cstdio>

#include "shell/waiting.h"

namespace shell {

Progress::Progress(std::size_t count) : count_(count), is_visible_(can_erase_lines()) {
    show(0, 0);
}

Progress::~Progress() {
    erase();
}

void Progress::show(std::size_t done, std::size_t incomplete) const {
    if (!is_visible_) return;
    std::fprintf(stderr, "\r%zu of %zu switches, %zu not complete\x1b[K", done, count_, incomplete);
    std::fflush(stderr);
}

void Progress::erase() const {
    if (is_visible_) std::fputs("\r\x1b[K", stderr);
}

} // namespace shell
