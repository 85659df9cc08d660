// The index of key strings by name, made by one walk over the queue.
#include "print/contributions.h"

#include <qarncli/element_store.h>
#include <qarncli/globals.h>

#include "base/trace.h"
#include "print/queued_element.h"

namespace qarn {

ContributionIndex *ContributionIndex::current() {
    return debugging(QARN_DEBUG_STORE) ? nullptr : innermost();
}

const Texts *ContributionIndex::find(const char *name) {
    build();
    return texts_->find(name);
}

void ContributionIndex::build() {
    if (texts_) return;
    texts_.emplace(g_str_hash, g_str_equal);
    for (const queue_node *node = keystr_element_q.head; node != nullptr; node = node->next) {
        if (const qarn_merge_val *entry = value_of_vertex(node->data)) add_texts(entry->elem);
    }
}

void ContributionIndex::add_texts(const qarn_elem *elem) {
    GHashTableIter iter;
    void *name = nullptr;
    void *value = nullptr;
    g_hash_table_iter_init(&iter, elem->keystr_table);
    while (g_hash_table_iter_next(&iter, &name, &value) != 0) {
        auto *text = static_cast<GString *>(value);
        if (text != nullptr && text->len > 0) texts_->add(texts_->open(name), text);
    }
}

} // namespace qarn
