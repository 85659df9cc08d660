#include "shell/message.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace shell {
namespace {

std::string current_place;

} // namespace

// The line is one write, so that a line of another process does not divide it.
void print_message(const char *format, ...) {
    char *text = nullptr;
    va_list arguments;
    va_start(arguments, format);
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) return;
    const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
    std::fprintf(stderr, "vsh: %s%s%s\n", current_place.c_str(), current_place.empty() ? "" : ": ", text);
}

Place::Place(std::string place) {
    current_place = std::move(place);
}

Place::~Place() {
    current_place.clear();
}

} // namespace shell
