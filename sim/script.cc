// Records the calls of the library, returns the outcomes that a test has scripted, and builds malformed TLV arrays.
#include "sim/script.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace sim {
namespace {

std::string format_text(const char *format, va_list args) {
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length <= 0) return {};
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

} // namespace

std::optional<Outcome> Script::enter(const char *function) {
    if (recording) record(std::string(function) + "()");
    return take_outcome(function);
}

std::optional<Outcome> Script::enter(const char *function, const char *format, ...) {
    if (recording) {
        va_list args;
        va_start(args, format);
        record(std::string(function) + '(' + format_text(format, args) + ')');
        va_end(args);
    }
    return take_outcome(function);
}

void Script::record(const std::string &call) {
    calls.push_back(call);
    if (on_call) on_call(call);
}

std::optional<Outcome> Script::take_outcome(const char *function) {
    if (scripted.empty()) return {};
    const auto found = scripted.find(function);
    if (found == scripted.end() || found->second.empty()) return {};
    if (found->second.front().after-- > 0) return {};
    const Outcome outcome = found->second.front();
    found->second.pop_front();
    if (found->second.empty()) scripted.erase(found);
    if (outcome.error != 0) errno = outcome.error;
    return outcome;
}

Tlv lie(Tlv tlv, uint32_t tag, uint32_t length, std::string_view value) {
    return std::move(tlv.lie(tag, length, value));
}

Tlv announce(Tlv tlv, uint32_t count) {
    return std::move(tlv.announce_count(count));
}

Tlv announce_size(Tlv tlv, uint32_t size) {
    return std::move(tlv.announce_size(size));
}

} // namespace sim
