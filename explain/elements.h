// The elements of the last command and what they wait for, as the library's tables have them.
#pragma once

#include <qarncli/element.h>

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "explain/stream.h"

namespace explain {

inline constexpr uint32_t kPrintLevels = 13; // 0 to 12

struct Dependency {
    Key on;
    uint32_t type;                     // QARN_DEP_...
    std::optional<std::size_t> target; // position of the element; none: no service has sent it
};

struct Element {
    Key key;
    const qarn_elem *record;
    std::vector<Dependency> dependencies; // in the order in which they were declared

    uint32_t level() const { return record->level; }
    bool has_property(uint32_t bit) const { return (record->property & bit) != 0; }
    bool is_placeholder() const { return has_property(QARN_PROP_DUMMY); }
    bool has_text() const { return record->cfg_str->len > 0; }
};

// Which elements the library orders together. Each pass is one order; a loop ends the command.
struct Pass {
    enum class Kind : uint8_t { kInterfaces, kKeyStrings, kLevel };
    Kind kind;
    uint32_t level = 0; // of kLevel
};

class Elements {
  public:
    Elements(); // to be called after the command, in its process

    const std::vector<Element> &all() const { return all_; } // in ascending order of their keys
    std::optional<std::size_t> find(Key key) const;

    // Whether the element takes part: a conditional one does while one of the elements that it names has text.
    bool takes_part(std::size_t at) const { return takes_part_[at]; }
    bool is_in(const Pass &pass, std::size_t at) const;
    // The elements that this one waits for in the pass, each as often as it names them.
    std::vector<std::size_t> predecessors(const Pass &pass, std::size_t at) const;

  private:
    void read_store();
    void find_targets();
    bool is_condition_met(const Element &element) const;

    std::vector<Element> all_;
    std::unordered_map<uint32_t, std::size_t> positions_;
    std::vector<bool> takes_part_;
};

} // namespace explain
