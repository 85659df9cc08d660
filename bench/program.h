// What the benchmark programs have in common around their work.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

namespace bench {

// Run a program's work, which may return an exit code of its own. A report that could not be written is no success.
template <typename Work>
int run_program(const char *name, Work work) {
    try {
        if (const int result = work(); result != 0) return result;
        if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return 0;
        throw std::runtime_error(std::string("cannot write: ") + std::strerror(errno));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", name, error.what());
        return 1;
    }
}

} // namespace bench
