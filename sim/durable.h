// Files and folders that survive a crash: written, and forced to the disk before anything refers to them. Only their
// owner may read them. Every function throws StoreError, which names the path.
#pragma once

#include <string>
#include <vector>

#include "sim/tlv.h"

namespace sim {

// Throw StoreError with the text of errno.
[[noreturn]] void fail(const std::string &what, const std::string &path);

void make_folder(const std::string &path);
// Make the folder and those above it that do not exist. Appends each new one to `made`, the outermost first.
void make_folders(const std::string &path, std::vector<std::string> &made);
void write_file(const std::string &path, const Bytes &bytes); // which must not exist
void sync_folder(const std::string &path);
void remove_tree(const std::string &path); // which need not exist
// Put the folder `fresh` in the place of `path` in one step. What was there is now called `fresh`.
void exchange_folder(const std::string &path, const std::string &fresh);

} // namespace sim
