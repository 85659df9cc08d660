// What a check of the configuration that services send can find. docs/qarn-tlv.md has a row for each rule of one
// stream.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "explain/stream.h"

namespace explain {

struct CheckRule {
    const char *name; // the same in every version
    const char *meaning;
};

struct Finding {
    const CheckRule *rule;
    std::string service;        // name; empty: it is not known
    std::optional<Key> element; // none: the finding concerns the reply as a whole
    std::size_t at;             // byte of the reply
    std::string text;
};

} // namespace explain
