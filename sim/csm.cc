// Configuration-sync manager: the output routine, which writes everything that a command shows, and the switch profile
// that follows the configuration.
#include "platform/csm.h"

#include <cstdarg>
#include <cstdlib>

#include "sim/switch.h"

namespace sim {
namespace {

bool is_plain_text(const char *format) {
    return format[0] == '%' && format[1] == 's' && format[2] == '\0';
}

int32_t write_text(Switch &sw, std::string_view text) {
    if (sw.output != nullptr) {
        std::fwrite(text.data(), 1, text.size(), sw.output);
    } else {
        sw.printed.append(text);
    }
    return static_cast<int32_t>(text.size());
}

int32_t append_formatted(std::string &printed, const char *format, va_list args) {
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length <= 0) return length;
    const std::size_t begin = printed.size();
    printed.resize(begin + static_cast<std::size_t>(length));
    std::vsnprintf(printed.data() + begin, static_cast<std::size_t>(length) + 1, format, args);
    return length;
}

int32_t write_formatted(Switch &sw, const char *format, va_list args) {
    if (sw.output != nullptr && sw.observers.empty()) return std::vfprintf(sw.output, format, args);
    if (sw.output == nullptr && sw.observers.empty()) return append_formatted(sw.printed, format, args);
    std::string text;
    const int32_t length = append_formatted(text, format, args);
    if (length < 0) return length;
    for (Observer *observer : sw.observers)
        observer->printed(format, nullptr, text);
    return write_text(sw, text);
}

int32_t write(Switch &sw, const char *format, va_list args) {
    if (!is_plain_text(format)) return write_formatted(sw, format, args);
    const char *text = va_arg(args, const char *);
    for (Observer *observer : sw.observers)
        observer->printed(format, text, text);
    return write_text(sw, text);
}

GString *new_string(const std::optional<std::string> &text) {
    return text ? g_string_new(text->c_str()) : nullptr;
}

} // namespace

extern "C" {

int32_t csm_qarn_sp_print(const char *format, ...) {
    Switch &sw = current();
    va_list args;
    va_start(args, format);
    const OutputView::Target target = sw.view.target_of(format);
    if (target == OutputView::Target::kAfterHeader && format[0] == '\n') ++format;
    const int32_t length = target == OutputView::Target::kNowhere         ? 0
                           : target == OutputView::Target::kStandardError ? std::vfprintf(stderr, format, args)
                                                                          : write(sw, format, args);
    va_end(args);
    return length;
}

void csm_qarn_sp_init(uint32_t token) {
    current().enter("csm_qarn_sp_init", "%u", token);
}

struct qarn_sp_result *csm_get_switch_profile_qarn(uint32_t handle, struct ppm_merge_input input) {
    Switch &sw = current();
    if (sw.enter("csm_get_switch_profile_qarn", "%u, {%u, %u, %u, %u, %u, %u}", handle, input.cmd_code, input.reserved,
                 input.script_mode, input.cfg_source, input.bypass, input.token_mode))
        return nullptr;
    if (!sw.switch_profile) return nullptr;
    auto *result = static_cast<qarn_sp_result *>(std::malloc(sizeof(qarn_sp_result)));
    if (result == nullptr) return nullptr;
    result->status = sw.switch_profile->status;
    result->head_text = new_string(sw.switch_profile->head_text);
    result->sync_cfg = new_string(sw.switch_profile->sync_cfg);
    return result;
}

} // extern "C"

} // namespace sim
