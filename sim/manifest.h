// The manifest of a saved configuration: whose it is, when it was saved, and what each of its files must hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "sim/tlv.h"

namespace sim {

struct Manifest {
    // What a file must hold.
    struct File {
        std::size_t size = 0;
        std::string checksum; // SHA-256 in hexadecimal digits
    };
    struct SavedService {
        uint32_t sap = 0;
        std::string name;
        std::size_t elements = 0;
        File file;
    };

    std::string switch_name;
    uint32_t vdc = 0;
    std::time_t saved_at = 0;
    File text; // of the whole configuration
    std::vector<SavedService> services;

    const SavedService *find(uint32_t sap) const; // null: nothing was saved for it
};

Manifest::File describe_file(const Bytes &contents);

// What is wrong with a file of these contents; empty if nothing is.
std::string difference(const Manifest::File &expected, const Bytes &contents);

// The manifest as lines of text, and the manifest in such a text; none if a byte of the text has changed.
std::string manifest_text(const Manifest &manifest);
std::optional<Manifest> parse_manifest(const std::string &text);

} // namespace sim
