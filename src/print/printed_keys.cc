// The set of printed feature keys.
#include "print/printed_keys.h"

#include <qarncli/globals.h>
#include <qarncli/key_table.h>

namespace qarn {

PrintedKeys::PrintedKeys() : names_(g_hash_table_new(g_str_hash, g_str_equal)) {}

PrintedKeys::~PrintedKeys() {
    g_hash_table_destroy(names_);
}

PrintedKeys *PrintedKeys::current() {
    return innermost();
}

bool PrintedKeys::contains(const char *name) {
    take_over_new_names();
    return g_hash_table_contains(names_, name) != 0;
}

void PrintedKeys::take_over_new_names() {
    if (!holds_newest()) {
        g_hash_table_remove_all(names_);
        newest_ = nullptr;
    }
    for (const feature_key_entry *entry = key_list; entry != newest_; entry = entry->next)
        g_hash_table_add(names_, entry->key->str);
    newest_ = key_list;
}

// Whether the list still is the one whose names were taken over, or has grown from it.
bool PrintedKeys::holds_newest() const {
    const feature_key_entry *entry = key_list;
    while (entry != nullptr && entry != newest_)
        entry = entry->next;
    return entry == newest_;
}

} // namespace qarn
