#include "shell/document.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

#include "shell/exit_code.h"
#include "shell/json.h"
#include "shell/message.h"

namespace shell {
namespace {

constexpr char kVersion[] = "1"; // changes when a member changes its meaning or goes away

std::string name_of_vdc(const sim::Switch &sw) {
    const auto found = std::ranges::find(sw.vdcs, sw.vdc, &sim::Vdc::id);
    return found != sw.vdcs.end() ? found->name : sw.name;
}

// The next line without its newline, taken from the front of the text.
std::string_view take_line(std::string_view &text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

bool is_indented(std::string_view line) {
    return line.starts_with(' ') || line.starts_with('\t');
}

// Writes blocks one after the other.
class BlockWriter {
  public:
    explicit BlockWriter(std::string &json) : json_(json) {}

    // The first line of a text may be indented: a filter may have left it without its head.
    void take(std::string_view line) {
        if (is_in_block_ && is_indented(line)) {
            json_.append(json_.ends_with('[') ? "" : ", ").append(json_text(line));
            return;
        }
        end_block();
        json_.append(has_blocks_ ? ",\n  " : "\n  ").append("{\"head\": ");
        json_.append(is_indented(line) ? "null" : json_text(line)).append(", \"lines\": [");
        if (is_indented(line)) json_ += json_text(line);
        is_in_block_ = has_blocks_ = true;
    }
    void finish() {
        end_block();
        json_ += has_blocks_ ? "\n ]" : "]";
    }

  private:
    void end_block() {
        if (is_in_block_) json_ += "]}";
        is_in_block_ = false;
    }

    std::string &json_;
    bool is_in_block_ = false, has_blocks_ = false;
};

} // namespace

std::string text_of(const Outcome &outcome) {
    return std::to_string(outcome.time.value_or(0)) + '\n' + outcome.members;
}

Outcome outcome_in(const std::string &text) {
    const std::size_t newline = text.find('\n');
    if (newline == std::string::npos) return {};
    return {std::strtoll(text.c_str(), nullptr, 10), text.substr(newline + 1)};
}

Document::Document(std::string_view command, const sim::Switch &sw, std::optional<std::time_t> time) {
    json_ = std::string("{\"version\": ") + kVersion + ",\n \"command\": " + json_text(command) +
            ",\n \"switch\": " + json_text(sw.name) + ",\n \"vdc\": {\"id\": " + std::to_string(sw.vdc) +
            ", \"name\": " + json_text(name_of_vdc(sw)) +
            "},\n \"time\": " + json_time(time.value_or(std::time(nullptr)));
}

void Document::add(const std::string &members) {
    if (!members.empty()) json_ += ",\n " + members;
}

void Document::add_blocks(std::string_view configuration) {
    json_ += ",\n \"blocks\": [";
    BlockWriter writer(json_);
    while (!configuration.empty()) {
        const std::string_view line = take_line(configuration);
        if (!line.empty()) writer.take(line);
    }
    writer.finish();
}

void Document::add_lines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty())
        lines.push_back(json_text(take_line(text)));
    add("\"lines\": " + json_array(lines));
}

std::string Document::finish(int code) {
    return finish(code, code == kExitComplete);
}

std::string Document::finish(int code, bool is_complete) {
    std::vector<std::string> messages;
    for (const std::string &message : logged_messages())
        messages.push_back(json_text(message));
    add("\"messages\": " + json_array(messages));
    add("\"status\": " + std::to_string(code));
    add(std::string("\"complete\": ") + (is_complete ? "true" : "false"));
    json_ += "}\n";
    return std::move(json_);
}

} // namespace shell
