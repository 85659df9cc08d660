#include "shell/document.h"

#include <algorithm>
#include <ctime>
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

// The lines of one block, of which the first one may be indented too: what a filter has left.
std::string json_block(const std::vector<std::string_view> &lines) {
    const bool has_head = !is_indented(lines[0]);
    std::string json = "{\"head\": " + (has_head ? json_text(lines[0]) : "null") + ", \"lines\": [";
    for (std::size_t i = has_head ? 1 : 0; i < lines.size(); ++i)
        json.append(json.ends_with('[') ? "" : ", ").append(json_text(lines[i]));
    return json + "]}";
}

} // namespace

Document::Document(std::string_view command, const sim::Switch &sw) {
    head_ = std::string("{\"version\": ") + kVersion + ",\n \"command\": " + json_text(command) +
            ",\n \"switch\": " + json_text(sw.name) + ",\n \"vdc\": {\"id\": " + std::to_string(sw.vdc) +
            ", \"name\": " + json_text(name_of_vdc(sw)) + "},\n \"time\": " + json_time(std::time(nullptr));
}

void Document::add(const std::string &members) {
    if (!members.empty()) members_ += ",\n " + members;
}

void Document::add_blocks(std::string_view configuration) {
    std::vector<std::string> blocks;
    std::vector<std::string_view> block;
    while (!configuration.empty()) {
        const std::string_view line = take_line(configuration);
        if (line.empty()) continue;
        if (!block.empty() && !is_indented(line)) {
            blocks.push_back(json_block(block));
            block.clear();
        }
        block.push_back(line);
    }
    if (!block.empty()) blocks.push_back(json_block(block));
    add("\"blocks\": " + json_array(blocks));
}

void Document::add_lines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty())
        lines.push_back(json_text(take_line(text)));
    add("\"lines\": " + json_array(lines));
}

std::string Document::finish(int code) const {
    std::vector<std::string> messages;
    for (const std::string &message : logged_messages())
        messages.push_back(json_text(message));
    return head_ + ",\n \"status\": " + std::to_string(code) +
           ",\n \"complete\": " + (code == kExitComplete ? "true" : "false") +
           ",\n \"messages\": " + json_array(messages) + members_ + "}\n";
}

} // namespace shell
