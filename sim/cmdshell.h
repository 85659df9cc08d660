// The command shell's option words and tables, which control the next display.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace sim {

// The shell's option words, as the next command finds them.
struct ShellOptions {
    uint32_t filter_mode = 0, script_mode = 0, generic_option = 0;
};
void set_shell_options(const ShellOptions &options);

// Fill a row of the SAP table: the SAPs of a feature and its key word.
void set_sap_row(uint32_t row, const std::vector<uint32_t> &saps, uint32_t key_word);
uint32_t key_word_of_sap_row(uint32_t row);
// Fill a row of the feature table: the (uuid, elem_id) pairs that the feature shows.
void set_feature_row(uint32_t row, const std::vector<std::pair<uint32_t, uint32_t>> &pairs);
// Empty both tables.
void clear_show_tables();

} // namespace sim
