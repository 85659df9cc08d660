// One switch description as a YAML document, and its nodes as texts, numbers, lists and mappings. Reading ends at the
// first malformed node with a DescriptionError that names its line. In a check, the item that holds the node ends
// there, its error is noted, and reading goes on with the next item.
#pragma once

#include <yaml-cpp/yaml.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "sim/findings.h"
#include "sim/notation.h"

namespace sim {

// Ends an item that cannot be read because of an error that has been noted already.
class FollowUp : public std::exception {};

class Document {
  public:
    // `name` is the file's name for messages and for paths relative to it. A check passes the list for its findings.
    Document(std::string name, const std::string &text, Findings *findings = nullptr);

    const YAML::Node &root() const { return root_; }
    [[noreturn]] void fail(const YAML::Node &node, Error error, const std::string &reason) const;
    // Read a part of the document. False if it has an error and this is a check.
    bool attempt(const std::function<void()> &part) const;
    std::size_t num_failed() const { return num_failed_; } // attempts, the inner ones too

    // The value of a node, which messages call `what`.
    std::string text(const YAML::Node &node, const std::string &what) const;
    bool flag(const YAML::Node &node, const std::string &what) const;
    uint32_t number(const YAML::Node &node, const std::string &what, uint32_t low, uint32_t high) const;
    std::string path(const YAML::Node &node, const std::string &what) const; // relative to the description's folder
    // Names with ranges, and ranges of ids; both expanded (notation.h).
    std::vector<std::string> names(const YAML::Node &node, const std::string &what) const;
    std::vector<uint32_t> ids(const YAML::Node &node, const std::string &what, uint32_t low, uint32_t high) const;

    // The row whose word the node holds; every row has a `word`.
    template <typename Row, std::size_t kRows>
    const Row &row_named(const YAML::Node &node, const std::string &what, const Row (&rows)[kRows]) const;

    // An undefined node (the value of an absent key) has no items and no pairs. The keys of a mapping are unique texts.
    // A check attempts each item; false if one has an error.
    bool each_item(const YAML::Node &node, const std::string &what,
                   const std::function<void(const YAML::Node &)> &act) const;
    bool each_pair(const YAML::Node &node, const std::string &what,
                   const std::function<void(const YAML::Node &, const YAML::Node &)> &act) const;

  private:
    [[noreturn]] void fail(const YAML::Mark &mark, Error error, const std::string &reason) const;
    YAML::Node parse(const std::string &text) const;
    template <typename Function>
    auto at(const YAML::Node &node, Function function) const;

    const std::string name_;
    Findings *const findings_;
    mutable std::size_t num_failed_ = 0;
    const YAML::Node root_;
};

// The line of a node, from 1.
inline uint32_t line_of(const YAML::Node &node) {
    return static_cast<uint32_t>(node.Mark().line + 1);
}

template <typename Row, std::size_t kRows>
const Row &Document::row_named(const YAML::Node &node, const std::string &what, const Row (&rows)[kRows]) const {
    const std::string word = text(node, what);
    std::string allowed;
    for (const Row &row : rows) {
        if (word == row.word) return row;
        allowed += (allowed.empty() ? "" : ", ") + std::string(row.word);
    }
    fail(node, Error::kWrongValue, "unknown " + what + " " + quoted(word) + "; allowed: " + allowed);
}

// A mapping with known keys. Functions without a fallback value require their key.
class Mapping {
  public:
    Mapping(const Document &document, const YAML::Node &node, const std::string &what,
            std::initializer_list<const char *> allowed);

    bool has(std::string_view key) const { return (*this)[key].IsDefined(); }
    YAML::Node operator[](std::string_view key) const; // an undefined node for a key that is absent
    YAML::Node require(std::string_view key) const;

    std::string text(std::string_view key) const;
    std::string text(std::string_view key, const std::string &fallback) const;
    bool flag(std::string_view key, bool fallback) const;
    uint32_t number(std::string_view key, uint32_t low, uint32_t high) const;
    uint32_t number(std::string_view key, uint32_t low, uint32_t high, uint32_t fallback) const;

  private:
    std::string what(std::string_view key) const { return std::string(key) + " of " + what_; }

    const Document &document_;
    const YAML::Node node_;
    const std::string what_;
};

} // namespace sim
