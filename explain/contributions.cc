#include "explain/contributions.h"

#include <qarncli/element_store.h>
#include <qarncli/globals.h>
#include <qarncli/graph.h>
#include <qarncli/queue.h>

#include <algorithm>
#include <cstring>

namespace explain {
namespace {

// Call `visit` with each key and value of a table.
template <typename Visit>
void for_each(GHashTable *table, const Visit &visit) {
    if (table == nullptr) return;
    GHashTableIter iter;
    void *key = nullptr, *value = nullptr;
    g_hash_table_iter_init(&iter, table);
    while (g_hash_table_iter_next(&iter, &key, &value) != 0)
        visit(key, value);
}

// Call `visit` with each element of a queue that the library has ordered.
template <typename Visit>
void for_each_element(const queue &ordered, const Visit &visit) {
    for (const queue_node *node = ordered.head; node != nullptr; node = node->next) {
        const auto &key = *static_cast<const qarn_merge_key *>(static_cast<const vertex *>(node->data)->data);
        if (const qarn_merge_val *value = qarn_merge_value_get(key.uuid, key.elem_id)) visit(*value->elem);
    }
}

} // namespace

Key key_of(const qarn_elem &element) {
    return key_of(element.uuid, element.elem_id);
}

Contributions::Contributions() {
    read_interfaces();
    read_key_strings();
    read_own_texts();
}

void Contributions::read_interfaces() {
    for_each_element(intf_element_q, [this](const qarn_elem &element) {
        if ((element.property & QARN_PROP_INTF) == 0) return;
        const bool has_texts = element.val_type == QARN_VAL_TEXT;
        for_each(element.ifindex_table, [&](const void *index, const void *value) {
            interfaces_[*static_cast<const uint32_t *>(index)].push_back(
                {&element, has_texts ? static_cast<const GString *>(value) : nullptr});
        });
    });
}

void Contributions::read_key_strings() {
    for_each_element(keystr_element_q, [this](const qarn_elem &element) {
        for_each(element.keystr_table, [&](const void *name, const void *value) {
            const auto *text = static_cast<const GString *>(value);
            if (text == nullptr || text->len == 0) return;
            const KeyString found = {&element, static_cast<const char *>(name), text};
            names_[found.name].push_back(found);
            key_strings_.emplace(text->str, found);
        });
    });
}

void Contributions::read_own_texts() {
    for_each(merge_elem_table_p, [this](const void *, const void *value) {
        const qarn_elem *element = static_cast<const qarn_merge_val *>(value)->elem;
        if (element->cfg_str != nullptr && element->cfg_str->len > 0)
            own_texts_.emplace(element->cfg_str->str, element);
    });
}

const std::vector<InterfaceValue> &Contributions::for_interface(uint32_t if_index) const {
    static const std::vector<InterfaceValue> none;
    const auto found = interfaces_.find(if_index);
    return found != interfaces_.end() ? found->second : none;
}

const std::vector<KeyString> &Contributions::under(std::string_view name) const {
    static const std::vector<KeyString> none;
    const auto found = names_.find(name);
    return found != names_.end() ? found->second : none;
}

// The library lists the contributions newest first before it sorts them.
std::vector<KeyString> Contributions::for_vlan(std::string_view name) const {
    std::vector<KeyString> sorted = under(name);
    std::ranges::reverse(sorted);
    std::ranges::stable_sort(sorted, [](const KeyString &one, const KeyString &other) {
        return std::strcmp(one.text->str, other.text->str) < 0;
    });
    return sorted;
}

const KeyString *Contributions::key_string_at(const char *characters) const {
    const auto found = key_strings_.find(characters);
    return found != key_strings_.end() ? &found->second : nullptr;
}

const qarn_elem *Contributions::own_text_at(const char *characters) const {
    const auto found = own_texts_.find(characters);
    return found != own_texts_.end() ? found->second : nullptr;
}

} // namespace explain
