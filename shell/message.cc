#include "shell/message.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "sim/visible.h"

namespace shell {
namespace {

std::string current_place, current_subject;
int log_descriptor = -1; // of a file without a name, or -1
constexpr char kVariableOfLog[] = "VSH_MESSAGE_LOG";

// A message that cannot be logged was written nevertheless.
void log_message(std::string_view text) {
    if (log_descriptor < 0) return;
    const std::string line = std::string(text) + '\n';
    [[maybe_unused]] const ssize_t written = write(log_descriptor, line.data(), line.size());
}

std::string before(const std::string &text) {
    return text.empty() ? "" : text + ": ";
}

std::string for_user(std::string_view text, std::string_view kept = "") {
    return isatty(STDERR_FILENO) != 0 ? sim::visible(text, kept) : std::string(text);
}

void write_to_user(const std::string &text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
}

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
    const std::string message = before(current_subject) + text;
    write_to_user(for_user("vsh: " + before(current_place) + message) + '\n');
    log_message(message);
}

void write_messages(std::string_view lines) {
    write_to_user(for_user(lines, "\n\t"));
}

Place::Place(std::string place) {
    current_place = std::move(place);
}

Place::~Place() {
    current_place.clear();
}

Subject::Subject(std::string subject) {
    current_subject = std::move(subject);
}

Subject::~Subject() {
    current_subject.clear();
}

MessageLog::MessageLog() {
    log_descriptor = memfd_create("messages", MFD_CLOEXEC);
}

MessageLog::~MessageLog() {
    if (log_descriptor >= 0) close(log_descriptor);
    log_descriptor = -1;
}

void share_message_log() {
    if (log_descriptor < 0 || fcntl(log_descriptor, F_SETFD, 0) < 0) return;
    setenv(kVariableOfLog, std::to_string(log_descriptor).c_str(), 1);
}

void join_message_log() {
    const char *const text = std::getenv(kVariableOfLog);
    int descriptor = -1;
    if (text == nullptr || std::from_chars(text, text + std::strlen(text), descriptor).ec != std::errc()) return;
    unsetenv(kVariableOfLog);
    if (descriptor > STDERR_FILENO && fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0) log_descriptor = descriptor;
}

std::vector<std::string> logged_messages() {
    std::vector<std::string> messages(1);
    char block[4096];
    off_t at = 0;
    for (ssize_t got = 0; log_descriptor >= 0 && (got = pread(log_descriptor, block, sizeof block, at)) > 0; at += got)
        for (const char c : std::string_view(block, static_cast<std::size_t>(got)))
            c == '\n' ? static_cast<void>(messages.emplace_back()) : messages.back().push_back(c);
    messages.pop_back();
    return messages;
}

} // namespace shell
