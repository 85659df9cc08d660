#include "explain/elements.h"

#include <qarncli/element_store.h>
#include <qarncli/globals.h>

#include <algorithm>

namespace explain {
namespace {

uint32_t word_of(Key key) {
    return uint32_t{key.uuid} << 16 | key.id;
}

// The library's list has the newest first.
std::vector<Dependency> dependencies_of(const qarn_elem &record) {
    std::vector<Dependency> dependencies;
    for (const qarn_elem_dependency *one = record.dep_list; one != nullptr; one = one->next)
        dependencies.push_back({key_of(one->uuid, one->elem_id), one->dep_type, {}});
    std::ranges::reverse(dependencies);
    return dependencies;
}

} // namespace

Elements::Elements() {
    read_store();
    find_targets();
    takes_part_.reserve(all_.size());
    for (const Element &element : all_)
        takes_part_.push_back(!element.has_property(QARN_PROP_CONDITIONAL) || is_condition_met(element));
}

void Elements::read_store() {
    if (merge_elem_table_p == nullptr) return;
    GHashTableIter iter;
    void *key = nullptr, *value = nullptr;
    all_.reserve(g_hash_table_size(merge_elem_table_p));
    g_hash_table_iter_init(&iter, merge_elem_table_p);
    while (g_hash_table_iter_next(&iter, &key, &value) != 0) {
        const auto &stored = *static_cast<const qarn_merge_key *>(key);
        const qarn_elem *record = static_cast<const qarn_merge_val *>(value)->elem;
        all_.push_back({{stored.uuid, stored.elem_id}, record, dependencies_of(*record)});
    }
    std::ranges::sort(all_, {}, &Element::key);
}

void Elements::find_targets() {
    for (std::size_t at = 0; at < all_.size(); ++at)
        positions_.emplace(word_of(all_[at].key), at);
    for (Element &element : all_)
        for (Dependency &dependency : element.dependencies)
            dependency.target = find(dependency.on);
}

std::optional<std::size_t> Elements::find(Key key) const {
    const auto found = positions_.find(word_of(key));
    return found != positions_.end() ? std::optional(found->second) : std::nullopt;
}

bool Elements::is_condition_met(const Element &element) const {
    return std::ranges::any_of(element.dependencies, [this](const Dependency &dependency) {
        return dependency.type == QARN_DEP_CONDITIONAL && dependency.target && all_[*dependency.target].has_text();
    });
}

bool Elements::is_in(const Pass &pass, std::size_t at) const {
    if (!takes_part_[at]) return false;
    switch (pass.kind) {
        case Pass::Kind::kInterfaces:
            return all_[at].has_property(QARN_PROP_INTF);
        case Pass::Kind::kKeyStrings:
            return true;
        case Pass::Kind::kLevel:
            return all_[at].level() == pass.level;
    }
    return false;
}

std::vector<std::size_t> Elements::predecessors(const Pass &pass, std::size_t at) const {
    std::vector<std::size_t> found;
    for (const Dependency &dependency : all_[at].dependencies)
        if (dependency.type == QARN_DEP_ORDER && dependency.target && is_in(pass, *dependency.target))
            found.push_back(*dependency.target);
    return found;
}

} // namespace explain
