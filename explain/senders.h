// Which service has sent what of an element.
#pragma once

#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "explain/observation.h"
#include "explain/stream.h"

namespace explain {

// The part of an element's own text that one service has sent.
struct OwnPart {
    uint32_t sap;
    std::size_t size; // in bytes
};

class Senders {
  public:
    explicit Senders(const Observation &observation);

    // SAPs, each once, in the order of their replies.
    const std::vector<uint32_t> &of(Key element) const;
    // How many elements each SAP has sent.
    std::map<uint32_t, std::size_t> count_elements() const;
    // Parts of the own text of an element that several services have sent; empty if they do not make up the text.
    std::vector<OwnPart> parts_of(Key element, std::string_view text) const;
    // Of several senders, the one whose value the library keeps: that of the last. 0: it cannot be told.
    uint32_t of_interface(Key element, uint32_t if_index) const;
    uint32_t of_key_string(Key element, std::string_view name) const;
    // All that have declared that the element waits for the other one.
    std::vector<uint32_t> of_dependency(Key element, Key on) const;

  private:
    struct Shared {
        std::vector<std::pair<uint32_t, std::string_view>> own;
        std::map<uint32_t, uint32_t> by_interface;
        std::map<std::string_view, uint32_t> by_name;
        std::vector<std::pair<Key, uint32_t>> dependencies;
    };

    void note_senders(const Observation &observation);
    void note_shared(const Observation &observation);
    static void note(Shared &shared, uint32_t sap, const Item &item);

    std::map<Key, std::vector<uint32_t>> senders_;
    std::map<Key, Shared> shared_; // elements that several services have sent
};

} // namespace explain
