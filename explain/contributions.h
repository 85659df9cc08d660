// What the elements of the last command have for an interface or under a name, in the order in which the library prints
// it. Read from the library's queues and tables.
#pragma once

#include <qarncli/element.h>

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "explain/stream.h"

namespace explain {

struct InterfaceValue {
    const qarn_elem *element;
    const GString *text; // null: a command message
};

struct KeyString {
    const qarn_elem *element;
    const char *name;
    const GString *text;
};

class Contributions {
  public:
    Contributions();

    const std::vector<InterfaceValue> &for_interface(uint32_t if_index) const;
    const std::vector<KeyString> &under(std::string_view name) const;
    // As the library joins what is filed under the name of a VLAN: smallest text first.
    std::vector<KeyString> for_vlan(std::string_view name) const;
    // The key string, or the element with the own text, whose characters begin there; null: none.
    const KeyString *key_string_at(const char *characters) const;
    const qarn_elem *own_text_at(const char *characters) const;

  private:
    void read_interfaces();
    void read_key_strings();
    void read_own_texts();

    std::unordered_map<uint32_t, std::vector<InterfaceValue>> interfaces_;
    std::unordered_map<std::string_view, std::vector<KeyString>> names_;
    std::unordered_map<const char *, KeyString> key_strings_;
    std::unordered_map<const char *, const qarn_elem *> own_texts_;
};

Key key_of(const qarn_elem &element);

} // namespace explain
