#include "explain/recording/mask.h"

#include <qarncli/element.h>
#include <qarncli/message.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <map>
#include <vector>

#include "explain/stream.h"
#include "sim/tlv.h"

namespace explain::recording {
namespace {

constexpr std::size_t kReplyHeader = 12, kTlvHeader = 8; // status, count and size; tag and length
constexpr char kSavedAt[] = "Startup config saved at";

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80;
}

bool is_capital(char c) {
    return c >= 'A' && c <= 'Z';
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

char hidden_character(char c) {
    return is_letter(c) ? 'x' : is_capital(c) ? 'X' : is_digit(c) ? '0' : c;
}

// Count on by `number` in the characters of a hidden text, the last one fastest.
void count_on(std::string &text, uint64_t number) {
    for (auto c = text.rbegin(); c != text.rend() && number != 0; ++c) {
        const char first = is_letter(*c) ? 'a' : is_capital(*c) ? 'A' : is_digit(*c) ? '0' : '\0';
        if (first == '\0') continue;
        const uint64_t values = first == '0' ? 10 : 26, value = static_cast<uint64_t>(*c - first) + number % values;
        *c = static_cast<char>(first + static_cast<char>(value % values));
        number /= values;
    }
}

// "vlan 10\n": the library makes these names itself, to find what is filed under a VLAN.
bool is_vlan_line(std::string_view name) {
    for (const std::string_view words : {"vlan configuration ", "vlan "}) {
        if (!name.starts_with(words)) continue;
        const std::string_view number = name.substr(words.size());
        return number.size() > 1 && number.back() == '\n' && std::all_of(number.begin(), number.end() - 1, is_digit);
    }
    return false;
}

// What of a reply is structure: these bytes stay, and everything else is text.
class Structure : public StreamSink {
  public:
    explicit Structure(std::string_view reply) : reply_(reply), stays_(reply.size(), false) { keep(0, kReplyHeader); }

    void element(const StreamElement &element) override { keep(element.at, kTlvHeader + 20); }
    void item(const Item &item) override {
        keep(item.at, kTlvHeader);
        keep_before(item.name);
        keep_before(item.text);
        using Kind = Item::Kind;
        if (item.kind <= Kind::kOtherDependency) keep(item.at, kTlvHeader + 12);
        if (item.kind == Kind::kInterfaceText || item.kind == Kind::kInterfaceCommand || item.kind == Kind::kKey)
            keep(item.at, kTlvHeader + 4);
        if (item.kind == Kind::kCommand || item.kind == Kind::kInterfaceCommand) keep_command(item.text);
        if (item.kind == Kind::kKey || item.kind == Kind::kKeyString) {
            names.push_back(item.name);
            names.push_back(item.text);
        }
    }

    bool stays(std::size_t at) const { return stays_[at]; }
    std::size_t position_of(std::string_view text) const {
        return static_cast<std::size_t>(text.data() - reply_.data());
    }

    std::vector<std::string_view> names; // texts that must stay different

  private:
    void keep(std::size_t at, std::size_t size) {
        for (std::size_t end = std::min(at + size, stays_.size()); at < end; ++at)
            stays_[at] = true;
    }
    void keep_before(std::string_view text) {
        if (text.data() == nullptr) return;
        const std::size_t at = position_of(text);
        if (at >= kTlvHeader && at <= reply_.size()) keep(at - kTlvHeader, kTlvHeader);
    }

    // Header and attributes; of these, the names of interfaces too.
    void keep_command(std::string_view message) {
        const std::size_t begin = position_of(message);
        keep(begin, std::min<std::size_t>(message.size(), QARN_CMD_HEADER_SIZE));
        if (message.size() < QARN_CMD_HEADER_SIZE || word_at(message, QARN_CMD_TYPE_AT) != sim::kCommandAttributes)
            return;
        for (std::size_t at = QARN_CMD_HEADER_SIZE; message.size() - at >= kTlvHeader;) {
            const std::size_t length =
                std::min<std::size_t>(word_at(message, at + 4), message.size() - at - kTlvHeader);
            const bool is_name = word_at(message, at) == QARN_ATTR_INTERFACE_NAME;
            keep(begin + at, kTlvHeader + (is_name ? length : 0));
            at = std::min(at + kTlvHeader + (length + 3) / 4 * 4, message.size());
        }
    }
    static uint32_t word_at(std::string_view bytes, std::size_t at) {
        uint32_t word = 0;
        std::memcpy(&word, bytes.data() + at, sizeof word);
        return word;
    }

    std::string_view reply_;
    std::vector<bool> stays_;
};

void replace_in(std::string &bytes, std::size_t at, std::string_view by) {
    std::copy(by.begin(), by.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

// The parts of one reply in the messages that carry it.
struct Parts {
    std::string reply;
    std::vector<std::pair<Event *, std::size_t>> places; // and the size of the data

    void put_back() const {
        std::size_t at = 0;
        for (const auto &[event, size] : places) {
            replace_in(event->data, sizeof(qarn_cfg_frag), std::string_view(reply).substr(at, size));
            at += size;
        }
    }
};

} // namespace

void Mask::hide(char *text, std::size_t size) {
    std::transform(text, text + size, text, hidden_character);
}

std::string Mask::hidden(std::string_view text) {
    std::string masked(text);
    hide(masked.data(), masked.size());
    return masked;
}

std::string Mask::name(std::string_view text) {
    if (text.empty() || is_vlan_line(text)) return std::string(text);
    const auto known = names_.find(std::string(text));
    if (known != names_.end()) return known->second;
    std::string masked = hidden(text);
    count_on(masked, used_[masked]++);
    return names_.emplace(text, masked).first->second;
}

void Mask::hide_reply(std::string &reply) {
    Structure structure(reply);
    read_stream(reply, structure);
    std::vector<std::pair<std::size_t, std::string>> names;
    for (const std::string_view text : structure.names)
        if (text.data() != nullptr) names.emplace_back(structure.position_of(text), name(text));
    for (std::size_t at = kReplyHeader; at < reply.size(); ++at)
        if (!structure.stays(at)) reply[at] = hidden_character(reply[at]);
    for (const auto &[at, masked] : names)
        for (std::size_t i = 0; i < masked.size(); ++i)
            if (!structure.stays(at + i)) reply[at + i] = masked[i]; // a text without end reaches into structure
}

void Mask::hide_replies(std::vector<Event> &events) {
    std::map<uint32_t, Parts> open; // by SAP
    const auto finish = [this](Parts &parts) {
        hide_reply(parts.reply);
        parts.put_back();
        parts = {};
    };
    for (Event &event : events) {
        qarn_cfg_frag header;
        if (event.kind != Kind::kMessage || event.data.size() < sizeof header) continue;
        std::memcpy(&header, event.data.data(), sizeof header);
        Parts &parts = open[header.sap];
        parts.reply.append(event.data, sizeof header);
        parts.places.emplace_back(&event, event.data.size() - sizeof header);
        if (header.last != 0) finish(parts);
    }
    for (auto &[sap, parts] : open)
        finish(parts);
}

void Mask::hide_request(const sim::Switch &sw, std::string &payload) {
    if (payload.size() < sizeof(qarn_cfg_req_msg)) return;
    const auto field = [&payload](std::size_t at, std::size_t size) {
        return std::string_view(payload).substr(at, strnlen(payload.data() + at, size));
    };
    constexpr std::size_t profile = offsetof(qarn_cfg_req_msg, profile_name);
    replace_in(payload, profile, name(field(profile, sizeof qarn_cfg_req_msg::profile_name)));
    constexpr std::size_t line = offsetof(qarn_cfg_req_msg, cmd_line);
    replace_in(payload, line, with_names(sw, field(line, sizeof qarn_cfg_req_msg::cmd_line)));
    hide(payload.data() + offsetof(qarn_cfg_req_msg, startup_uri), sizeof qarn_cfg_req_msg::startup_uri);
}

// Of the line with the time of saving, the words by which the library knows it stay.
void Mask::hide_fact(Event &event) const {
    if (event.opcode >= kTimeOfHeader) return;
    if (event.opcode == static_cast<uint32_t>(sim::FactKind::kStoreLock)) return event.data.clear();
    const std::size_t words = event.data.find(kSavedAt);
    event.data = hidden(event.data);
    if (event.opcode == static_cast<uint32_t>(sim::FactKind::kTextFolder) && words != std::string::npos)
        replace_in(event.data, words, kSavedAt);
}

// The command with the names of port profiles as they are now called, wherever they are whole words.
std::string Mask::with_names(const sim::Switch &sw, std::string_view line) {
    std::string masked(line);
    for (std::size_t space = line.find(' '); space != std::string::npos; space = line.find(' ', space + 1)) {
        const std::string_view rest = line.substr(space + 1);
        for (const auto &[profile, lines] : sw.port_profiles)
            if (!profile.empty() && (rest == profile || rest.starts_with(profile + ' ')))
                replace_in(masked, space + 1, name(profile));
    }
    return masked;
}

void Mask::apply(const sim::Switch &sw, Recording &recording) {
    recording.command.line = with_names(sw, recording.command.line);
    recording.command.display = with_names(sw, recording.command.display);
    recording.digest.reset();
    hide_replies(recording.events);
    for (Event &event : recording.events) {
        if (event.kind == Kind::kRequest) hide_request(sw, event.data);
        if (event.kind == Kind::kFact) hide_fact(event);
    }
}

} // namespace explain::recording
