#include "explain/senders.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace explain {
namespace {

const std::vector<uint32_t> kNobody;

// Reads every reply that the library decoded, and passes on each element and item with the service that sent it.
class Replies : public StreamSink {
  public:
    std::function<void(uint32_t sap, Key element)> opened = [](uint32_t, Key) {};
    std::function<void(uint32_t sap, Key element, const Item &item)> has = [](uint32_t, Key, const Item &) {};

    void read(const Observation &observation) {
        for (const Observation::Reply &reply : observation.replies()) {
            sap_ = reply.sap;
            is_open_ = false;
            read_stream(observation.answers().at(sap_).replies[reply.at], *this);
        }
    }
    void element(const StreamElement &element) override {
        key_ = key_of(element.uuid, element.id);
        is_open_ = true;
        opened(sap_, key_);
    }
    void item(const Item &item) override {
        if (is_open_) has(sap_, key_, item);
    }

  private:
    uint32_t sap_ = 0;
    Key key_;
    bool is_open_ = false;
};

} // namespace

Senders::Senders(const Observation &observation) {
    note_senders(observation);
    note_shared(observation);
}

void Senders::note_senders(const Observation &observation) {
    Replies replies;
    replies.opened = [&](uint32_t sap, Key key) {
        std::vector<uint32_t> &saps = senders_[key];
        if (std::ranges::find(saps, sap) == saps.end()) saps.push_back(sap);
    };
    replies.read(observation);
}

void Senders::note_shared(const Observation &observation) {
    for (const auto &[key, saps] : senders_)
        if (saps.size() > 1) shared_[key];
    if (shared_.empty()) return;
    Replies replies;
    replies.has = [&](uint32_t sap, Key key, const Item &item) {
        const auto shared = shared_.find(key);
        if (shared != shared_.end()) note(shared->second, sap, item);
    };
    replies.read(observation);
}

void Senders::note(Shared &shared, uint32_t sap, const Item &item) {
    switch (item.kind) {
        case Item::Kind::kText:
            shared.own.emplace_back(sap, item.text);
            return;
        case Item::Kind::kInterfaceText:
        case Item::Kind::kInterfaceCommand:
            shared.by_interface[item.index] = sap;
            return;
        case Item::Kind::kKeyString:
            shared.by_name[item.name] = sap;
            return;
        case Item::Kind::kAfter:
        case Item::Kind::kOnlyIf:
            shared.dependencies.emplace_back(key_of(item.uuid, item.id), sap);
            return;
        default:
            return;
    }
}

const std::vector<uint32_t> &Senders::of(Key element) const {
    const auto found = senders_.find(element);
    return found != senders_.end() ? found->second : kNobody;
}

std::map<uint32_t, std::size_t> Senders::count_elements() const {
    std::map<uint32_t, std::size_t> counts;
    for (const auto &[key, saps] : senders_)
        for (const uint32_t sap : saps)
            ++counts[sap];
    return counts;
}

// The library completes the text with a newline, which counts to the last part.
std::vector<OwnPart> Senders::parts_of(Key element, std::string_view text) const {
    std::vector<OwnPart> parts;
    const auto shared = shared_.find(element);
    if (shared == shared_.end()) return parts;
    std::string_view rest = text;
    for (const auto &[sap, part] : shared->second.own) {
        if (!rest.starts_with(part)) return {};
        rest.remove_prefix(part.size());
        if (!part.empty()) parts.push_back({sap, part.size()});
    }
    if (rest == "\n" && !parts.empty()) {
        ++parts.back().size;
        rest = {};
    }
    return rest.empty() ? parts : std::vector<OwnPart>();
}

uint32_t Senders::of_interface(Key element, uint32_t if_index) const {
    const auto shared = shared_.find(element);
    if (shared == shared_.end()) return 0;
    const auto found = shared->second.by_interface.find(if_index);
    return found != shared->second.by_interface.end() ? found->second : 0;
}

uint32_t Senders::of_key_string(Key element, std::string_view name) const {
    const auto shared = shared_.find(element);
    if (shared == shared_.end()) return 0;
    const auto found = shared->second.by_name.find(name);
    return found != shared->second.by_name.end() ? found->second : 0;
}

std::vector<uint32_t> Senders::of_dependency(Key element, Key on) const {
    const auto shared = shared_.find(element);
    if (shared == shared_.end()) return of(element);
    std::vector<uint32_t> saps;
    for (const auto &[target, sap] : shared->second.dependencies)
        if (target == on && std::ranges::find(saps, sap) == saps.end()) saps.push_back(sap);
    return saps;
}

} // namespace explain
