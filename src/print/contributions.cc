// The index of key strings by name, over all elements of the key-string queue. It holds no text of its own: names and
// texts are the elements'.
#include "print/contributions.h"

#include <qarncli/element_store.h>
#include <qarncli/globals.h>

#include "base/trace.h"
#include "print/queued_element.h"

namespace qarn {
namespace {

bool is_printing = false;
GHashTable *by_name = nullptr; // name -> GPtrArray of GStrings; made at the first question

void add_contribution(void *name, void *value, void *) {
    auto *text = static_cast<GString *>(value);
    if (text == nullptr || text->len == 0) return;
    auto *texts = static_cast<GPtrArray *>(g_hash_table_lookup(by_name, name));
    if (texts == nullptr) {
        texts = g_ptr_array_new();
        g_hash_table_insert(by_name, name, texts);
    }
    g_ptr_array_add(texts, text);
}

void add_element(void *data, void *) {
    const qarn_merge_val *value = value_of_vertex(data);
    if (value != nullptr) g_hash_table_foreach(value->elem->keystr_table, add_contribution, nullptr);
}

void free_texts(void *texts) {
    g_ptr_array_unref(static_cast<GPtrArray *>(texts));
}

} // namespace

ContributionIndex::ContributionIndex() {
    is_printing = true;
}

ContributionIndex::~ContributionIndex() {
    is_printing = false;
    g_clear_pointer(&by_name, g_hash_table_destroy);
}

bool has_contribution_index() {
    return is_printing && !debugging(QARN_DEBUG_STORE);
}

const GPtrArray *contributions(const char *name) {
    if (by_name == nullptr) {
        by_name = g_hash_table_new_full(g_str_hash, g_str_equal, nullptr, free_texts);
        traverse(&keystr_element_q, add_element, nullptr);
    }
    return static_cast<const GPtrArray *>(g_hash_table_lookup(by_name, name));
}

} // namespace qarn
