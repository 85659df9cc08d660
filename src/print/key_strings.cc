// A few tables are searched one after the other: that costs less than grouping what they hold. A single feature has
// few.
#include "print/key_strings.h"

#include <qarncli/element.h>
#include <qarncli/queue.h>

#include "print/lookup.h"

namespace qarn {
namespace {

constexpr guint kFewTables = 4;

} // namespace

KeyStrings::KeyStrings(const queue &elements) : tables_(g_ptr_array_new()) {
    for (const queue_node *node = elements.head; node != nullptr; node = node->next) {
        const qarn_merge_val *entry = value_of_vertex(node->data);
        if (entry == nullptr || g_hash_table_size(entry->elem->keystr_table) == 0) continue;
        g_ptr_array_add(tables_.get(), entry->elem->keystr_table);
    }
    if (tables_->len > kFewTables) group_by_name();
}

void KeyStrings::group_by_name() {
    Groups<GString *> &groups = by_name_.emplace(g_str_hash, g_str_equal);
    for (guint i = 0; i < tables_->len; ++i) {
        GHashTableIter iter;
        void *name = nullptr;
        void *value = nullptr;
        g_hash_table_iter_init(&iter, table(i));
        while (g_hash_table_iter_next(&iter, &name, &value) != 0) {
            auto *text = static_cast<GString *>(value);
            if (text != nullptr && text->len > 0) groups.add(groups.open(name), text);
        }
    }
}

} // namespace qarn
