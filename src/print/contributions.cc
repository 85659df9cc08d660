// The index of key strings by name, over all elements of the key-string queue.
#include "print/contributions.h"

#include <qarncli/element_store.h>
#include <qarncli/globals.h>

#include "base/trace.h"
#include "print/queued_element.h"

namespace qarn {
namespace {

void add_contribution(void *name, void *value, void *by_name) {
    auto *text = static_cast<GString *>(value);
    if (text == nullptr || text->len == 0) return;
    auto *table = static_cast<GHashTable *>(by_name);
    auto *texts = static_cast<GPtrArray *>(g_hash_table_lookup(table, name));
    if (texts == nullptr) {
        texts = g_ptr_array_new();
        g_hash_table_insert(table, name, texts);
    }
    g_ptr_array_add(texts, text);
}

void add_element(void *data, void *by_name) {
    const qarn_merge_val *value = value_of_vertex(data);
    if (value != nullptr) g_hash_table_foreach(value->elem->keystr_table, add_contribution, by_name);
}

void free_texts(void *texts) {
    g_ptr_array_unref(static_cast<GPtrArray *>(texts));
}

} // namespace

ContributionIndex::~ContributionIndex() {
    if (by_name_ != nullptr) g_hash_table_destroy(by_name_);
}

ContributionIndex *ContributionIndex::current() {
    return debugging(QARN_DEBUG_STORE) ? nullptr : innermost();
}

const GPtrArray *ContributionIndex::find(const char *name) {
    if (by_name_ == nullptr) {
        by_name_ = g_hash_table_new_full(g_str_hash, g_str_equal, nullptr, free_texts);
        traverse(&keystr_element_q, add_element, by_name_);
    }
    return static_cast<const GPtrArray *>(g_hash_table_lookup(by_name_, name));
}

} // namespace qarn
