// Parses a switch description and reads the values of its nodes. A mapping lists the keys that it allows, a value has a
// type and bounds, and every message names the file, the line and the value that is wrong.
#include "sim/description/document.h"

#include <yaml-cpp/depthguard.h>
#include <yaml-cpp/eventhandler.h>

#include <algorithm>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "sim/description.h"

namespace sim {
namespace {

// Notes where the documents of a text begin.
class DocumentStarts : public YAML::EventHandler {
  public:
    std::vector<YAML::Mark> marks;

    void OnDocumentStart(const YAML::Mark &mark) override { marks.push_back(mark); }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark &, YAML::anchor_t) override {}
    void OnAlias(const YAML::Mark &, YAML::anchor_t) override {}
    void OnScalar(const YAML::Mark &, const std::string &, YAML::anchor_t, const std::string &) override {}
    void OnSequenceStart(const YAML::Mark &, const std::string &, YAML::anchor_t, YAML::EmitterStyle::value) override {}
    void OnSequenceEnd() override {}
    void OnMapStart(const YAML::Mark &, const std::string &, YAML::anchor_t, YAML::EmitterStyle::value) override {}
    void OnMapEnd() override {}
};

// Where a second document begins, if there is one. The search ends there, because the parser reads some broken texts as
// an endless sequence of documents.
std::optional<YAML::Mark> second_document(const std::string &text) {
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    DocumentStarts starts;
    if (parser.HandleNextDocument(starts)) parser.HandleNextDocument(starts);
    if (starts.marks.size() < 2) return {};
    return starts.marks[1];
}

} // namespace

Document::Document(std::string name, const std::string &text, Findings *findings)
    : name_(std::move(name)), findings_(findings), root_(parse(text)) {}

YAML::Node Document::parse(const std::string &text) const {
    try {
        const std::optional<YAML::Mark> second = second_document(text);
        YAML::Node document = YAML::Load(text);
        if (second) fail(*second, Error::kNotYaml, "the file has a second document");
        if (!document.IsDefined() || document.IsNull()) fail(YAML::Mark(), Error::kNotYaml, "the description is empty");
        return document;
    } catch (const YAML::DeepRecursion &error) {
        fail(error.mark, Error::kNotYaml, "the description is nested too deep");
    } catch (const YAML::Exception &error) {
        fail(error.mark, Error::kNotYaml, error.msg);
    }
}

void Document::fail(const YAML::Mark &mark, Error error, const std::string &reason) const {
    throw DescriptionError(name_, error_finding(error, static_cast<uint32_t>(mark.line + 1), reason));
}

void Document::fail(const YAML::Node &node, Error error, const std::string &reason) const {
    fail(node.Mark(), error, reason);
}

bool Document::attempt(const std::function<void()> &part) const {
    if (findings_ == nullptr) {
        part();
        return true;
    }
    try {
        part();
        return true;
    } catch (const DescriptionError &error) {
        findings_->push_back(error.finding());
    } catch (const FollowUp &) { // noted where its cause is
    }
    ++num_failed_;
    return false;
}

// Report an error in a notation at the node that holds it.
template <typename Function>
auto Document::at(const YAML::Node &node, Function function) const {
    try {
        return function();
    } catch (const std::invalid_argument &error) {
        fail(node, Error::kWrongValue, error.what());
    }
}

std::string Document::text(const YAML::Node &node, const std::string &what) const {
    if (!node.IsScalar()) fail(node, Error::kWrongType, what + " must be text");
    if (node.Scalar().find('\0') != std::string::npos) fail(node, Error::kWrongValue, what + " must not contain a NUL");
    return node.Scalar();
}

bool Document::flag(const YAML::Node &node, const std::string &what) const {
    const std::string word = text(node, what);
    if (word != "true" && word != "false")
        fail(node, Error::kWrongType, what + " must be true or false, not " + quoted(word));
    return word == "true";
}

uint32_t Document::number(const YAML::Node &node, const std::string &what, uint32_t low, uint32_t high) const {
    const std::string word = text(node, what);
    const std::optional<uint32_t> value = to_number(word);
    if (!value || *value < low || *value > high) {
        fail(node, value ? Error::kOutOfRange : Error::kWrongType,
             what + " must be a number from " + std::to_string(low) + " to " + std::to_string(high) + ", not " +
                 quoted(word));
    }
    return *value;
}

std::string Document::path(const YAML::Node &node, const std::string &what) const {
    const std::string path = text(node, what);
    if (path.empty()) fail(node, Error::kWrongValue, what + " must not be empty");
    return path[0] == '/' ? path : name_.substr(0, name_.rfind('/') + 1) + path;
}

std::vector<std::string> Document::names(const YAML::Node &node, const std::string &what) const {
    const std::string ranges = text(node, what);
    return at(node, [&] { return expand_names(ranges); });
}

std::vector<uint32_t> Document::ids(const YAML::Node &node, const std::string &what, uint32_t low,
                                    uint32_t high) const {
    const std::string ranges = text(node, what);
    std::vector<uint32_t> all;
    for (const IdRange &range : at(node, [&] { return parse_id_ranges(ranges, what, low, high); }))
        for (uint32_t id = range.low; id <= range.high; ++id)
            all.push_back(id);
    return all;
}

bool Document::each_item(const YAML::Node &node, const std::string &what,
                         const std::function<void(const YAML::Node &)> &act) const {
    if (!node.IsDefined()) return true;
    if (!node.IsSequence()) fail(node, Error::kWrongType, what + " must be a list");
    bool is_whole = true;
    for (const YAML::Node &item : node)
        is_whole = attempt([&] { act(item); }) && is_whole;
    return is_whole;
}

bool Document::each_pair(const YAML::Node &node, const std::string &what,
                         const std::function<void(const YAML::Node &, const YAML::Node &)> &act) const {
    if (!node.IsDefined()) return true;
    if (!node.IsMap()) fail(node, Error::kWrongType, what + " must be a mapping");
    bool is_whole = true;
    std::set<std::string> seen;
    for (const auto &pair : node) {
        const auto read = [&] {
            const std::string key = text(pair.first, "a key of " + what);
            if (!seen.insert(key).second)
                fail(pair.first, Error::kDuplicate, what + " has the key " + quoted(key) + " twice");
            act(pair.first, pair.second);
        };
        is_whole = attempt(read) && is_whole;
    }
    return is_whole;
}

Mapping::Mapping(const Document &document, const YAML::Node &node, const std::string &what,
                 std::initializer_list<const char *> allowed)
    : document_(document), node_(node), what_(what) {
    std::string list;
    for (const char *key : allowed)
        list += (list.empty() ? "" : ", ") + std::string(key);
    document.each_pair(node, what, [&](const YAML::Node &key, const YAML::Node &value) {
        if (std::ranges::find(allowed, key.Scalar()) == allowed.end())
            document.fail(key, Error::kUnknownKey,
                          what + " has the unknown key " + quoted(key.Scalar()) + "; allowed: " + list);
        // The parser gives an absent value the line of the next node, so the message names the line of the key.
        if (value.IsNull()) document.fail(key, Error::kMissingKey, key.Scalar() + " has no value");
    });
}

YAML::Node Mapping::operator[](std::string_view key) const {
    const YAML::Node value = node_[std::string(key)];
    if (value.IsDefined() && value.IsNull()) throw FollowUp(); // a check has noted that it has no value
    return value;
}

YAML::Node Mapping::require(std::string_view key) const {
    const YAML::Node value = (*this)[key];
    if (!value.IsDefined()) document_.fail(node_, Error::kMissingKey, what_ + " needs a key " + quoted(key));
    return value;
}

std::string Mapping::text(std::string_view key) const {
    return document_.text(require(key), what(key));
}

std::string Mapping::text(std::string_view key, const std::string &fallback) const {
    return has(key) ? text(key) : fallback;
}

bool Mapping::flag(std::string_view key, bool fallback) const {
    return has(key) ? document_.flag((*this)[key], what(key)) : fallback;
}

uint32_t Mapping::number(std::string_view key, uint32_t low, uint32_t high) const {
    return document_.number(require(key), what(key), low, high);
}

uint32_t Mapping::number(std::string_view key, uint32_t low, uint32_t high, uint32_t fallback) const {
    return has(key) ? number(key, low, high) : fallback;
}

} // namespace sim
