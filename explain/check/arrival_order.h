// Whether the text of a command depends on the order in which the replies arrive.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "explain/check/rule.h"
#include "explain/check/trial.h"
#include "explain/origins.h"
#include "explain/subject.h"
#include "sim/switch.h"

namespace explain {

// The lines of a text, each with the element that printed it. Keeps nothing of the library's tables.
class AttributedText {
  public:
    AttributedText(const Subject &subject, const Origins &origins);

    // The first element whose line is not where it is in the other text, as a finding; an empty one if they are equal.
    std::vector<Finding> compare(const std::string &other) const;

  private:
    struct Owner {
        std::string service, name;
        std::optional<Key> element;
    };
    std::vector<std::string> lines_;
    std::vector<std::size_t> owners_of_lines_; // positions in owners_
    std::vector<Owner> owners_;
};

// Runs the display and returns its text, without a header that has a time.
using Display = std::function<std::string(sim::Switch &sw)>;

// Trials of a display with its replies in random orders, cut at random. To be made before the display runs.
class OtherOrders {
  public:
    OtherOrders(sim::Switch &sw, uint32_t count, const Display &display);

    bool are_none() const { return trials_.empty(); }
    // Ends with the first finding. What functions in the shell's process have sent is left out: they are called again.
    std::vector<Finding> check(const Observation &seen, const AttributedText &text);

  private:
    const sim::Switch &switch_;
    std::deque<Trial> trials_;
};

} // namespace explain
