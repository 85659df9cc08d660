// Keyed configuration: each header of an element's key table is followed by the texts that all elements file under the
// entries whose key map is that header. In a single feature's display an element's own key strings become headers as
// well, each printed once for as long as the library is loaded (key_list).
//
// The exported callbacks walk the tables and the queue, and write the traces. Without those traces the passes find the
// same texts in the same order through print/lookup.h.
#include <qarncli/key_table.h>

#include <qarncli/element_store.h>
#include <qarncli/globals.h>
#include <qarncli/ordering.h>

#include <cstring>

#include "base/owner.h"
#include "base/trace.h"
#include "platform/csm.h"
#include "print/header_slots.h"
#include "print/lookup.h"
#include "print/vlan_key_table.h"

namespace qarn {
namespace {

const char *name_of(const void *name) {
    return static_cast<const char *>(name);
}
int length_of(const GString *text) {
    return static_cast<int>(text->len);
}

void print_text(const GString *text) {
    csm_qarn_sp_print("%s", text->str);
}

// Everything that the queued elements file under a name.
void print_filed_under(const char *name) {
    if (auto *lookup = Lookup::for_key_strings()) {
        return lookup->key_strings().for_each(name, print_text);
    }
    const String key(g_string_new(name));
    traverse(&keystr_element_q, qarn_keystr_elem_q_cfg_print, key.get());
}

// The texts that follow each header of one key table: those of all entries with that key map, in the table's own order.
// Each map's texts are gathered once, however many entries share it.
class TextsByHeader {
  public:
    TextsByHeader(GHashTable *key_table, Lookup &lookup) {
        GHashTableIter iter;
        void *name = nullptr;
        void *key = nullptr;
        g_hash_table_iter_init(&iter, key_table);
        while (g_hash_table_iter_next(&iter, &name, &key) != 0) {
            auto &under_header = texts_.open(static_cast<qarn_key_val *>(key)->val_str->str);
            lookup.key_strings().for_each(name_of(name), [&](GString *text) { texts_.add(under_header, text); });
        }
    }

    // Null when no entry has this key map.
    const Groups<GString *>::Group *find(const char *header) const { return texts_.find(header); }

  private:
    Groups<GString *> texts_{g_str_hash, g_str_equal};
};

void print_headers_by_walk(GHashTable *key_table) {
    for (int32_t i = 0; i < totalkeys; ++i) {
        csm_qarn_sp_print("%s", keylist[i]);
        g_hash_table_foreach(key_table, qarn_key_elem_print, keylist[i]);
    }
}

void print_headers_by_index(GHashTable *key_table, Lookup &lookup) {
    const TextsByHeader by_header(key_table, lookup);
    for (int32_t i = 0; i < totalkeys; ++i) {
        csm_qarn_sp_print("%s", keylist[i]);
        const auto *texts = by_header.find(keylist[i]);
        if (texts == nullptr) continue;
        for (const GString *text : *texts)
            print_text(text);
        g_traverse = 1;
    }
}

// The element's keys become headers, sorted, each followed by what is filed under it. False if memory for the headers
// runs out: then nothing more of the element's key tables is printed.
bool run_keyed_pass(const qarn_elem &elem) {
    const guint count = g_hash_table_size(elem.key_table);
    if (count == 0) {
        if (elem.uuid == QARN_UUID_VLAN) run_vlan_pass(elem);
        return true;
    }
    const HeaderSlots slots(count);
    if (!slots.ok()) return false;
    if (debugging(QARN_DEBUG_STORE)) trace("num keys %d\n", count);
    g_hash_table_foreach(elem.key_table, qarn_key_elem_print, nullptr);
    qarn_sort_traverse_keys();
    if (elem.uuid == QARN_UUID_VLAN) {
        run_vlan_pass(elem);
    } else if (auto *lookup = Lookup::for_key_strings()) {
        print_headers_by_index(elem.key_table, *lookup);
    } else {
        print_headers_by_walk(elem.key_table);
    }
    return true;
}

bool prints_feature_keys() {
    return qarn_feature == 1 && qarn_feature_send_all == 0 && g_traverse == 0 && qarnkey == 0 && qarn_feature_dns == 0;
}

void add_new_feature_key(void *name, void *, void *) {
    add_header(name_of(name));
    add_feature_key_to_list(name_of(name));
}

// While key_list is empty no name was printed before, and one table has no name twice.
GHFunc collector_of_feature_keys() {
    return key_list == nullptr && !debugging(QARN_DEBUG_STORE) ? add_new_feature_key : qarn_get_keys;
}

// The element's key-string names that were not printed before become headers.
void run_feature_key_pass(const qarn_elem &elem) {
    const guint count = g_hash_table_size(elem.keystr_table);
    if (count == 0) return;
    const HeaderSlots slots(count);
    if (!slots.ok()) return;
    if (debugging(QARN_DEBUG_STORE)) trace("num keys %d\n", count);
    g_hash_table_foreach(elem.keystr_table, collector_of_feature_keys(), nullptr);
    qarn_sort_traverse_keys();
    constexpr int32_t kAhead = 8; // sorted slots lie far apart in memory
    for (int32_t i = 0; i < totalkeys; ++i) {
        if (i + kAhead < totalkeys) __builtin_prefetch(keylist[i + kAhead]);
        csm_qarn_sp_print("%s", keylist[i]);
        print_filed_under(keylist[i]);
    }
}

} // namespace
} // namespace qarn

void print_keytbl(qarn_merge_val *value) {
    const qarn_elem &elem = *value->elem;
    if (qarn::run_keyed_pass(elem) && qarn::prints_feature_keys()) qarn::run_feature_key_pass(elem);
}

void qarn_key_elem_print(void *name, void *value, void *sorted_key) {
    const GString *key_map = static_cast<const qarn_key_val *>(value)->val_str;
    const bool tracing = qarn::debugging(QARN_DEBUG_STORE);
    if (tracing) qarn::trace("qarn_key_elem_print  \n");
    if (sorted_key != nullptr) {
        if (tracing) qarn::trace("sorted_key %s key_map %s", qarn::name_of(sorted_key), key_map->str);
        if (std::strcmp(key_map->str, qarn::name_of(sorted_key)) != 0) return;
        const qarn::String key(g_string_new(qarn::name_of(name)));
        traverse(&keystr_element_q, qarn_keystr_elem_q_cfg_print, key.get());
        g_traverse = 1;
        return;
    }
    if (tracing) {
        qarn::trace("qarn_key_elem_print KEY STRING ::: %s & Length %d\n", qarn::name_of(name),
                    static_cast<int>(std::strlen(qarn::name_of(name))));
    }
    if (key_map->len >= 1) {
        if (tracing) qarn::trace("qarn_key_elem_print printing KEYMAP %d\n", totalkeys);
        qarn::add_header(key_map->str);
    } else {
        if (tracing) qarn::trace("qarn_key_elem_print printing KEY %s\n", qarn::name_of(name));
        qarn::add_header(qarn::name_of(name));
    }
}

int32_t qarn_sort_traverse_keys() {
    qarn::trace_headers();
    sortmyarray(keylist, totalkeys);
    return 0;
}

void sortmyarray(char **array, int32_t count) {
    qarn::sort_slots_by_text(array, count);
}

int qarn_key_cmp_fn(const void *a, const void *b) {
    return std::strcmp(*static_cast<char *const *>(a), *static_cast<char *const *>(b));
}

void qarn_keystr_elem_q_cfg_print(void *vertex, void *key) {
    const qarn_merge_val *value = qarn::value_of_vertex(vertex);
    if (value != nullptr) g_hash_table_foreach(value->elem->keystr_table, qarn_keystr_print, key);
}

void qarn_keystr_print(void *name, void *value, void *key) {
    const auto *text = static_cast<const GString *>(value);
    const auto *shared_key = static_cast<const GString *>(key);
    if (qarn::debugging(QARN_DEBUG_STORE)) {
        qarn::trace("qarn_keystr_print key::%s sharedkey::%s\n", qarn::name_of(name), shared_key->str);
        qarn::trace("qarn_keystr_print key len::%d sharedkey len::%d\n",
                    static_cast<int>(std::strlen(qarn::name_of(name))), qarn::length_of(shared_key));
        if (text != nullptr) qarn::trace("qarn_keystr_print value::%s len::%d\n", text->str, qarn::length_of(text));
    }
    if (std::strcmp(qarn::name_of(name), shared_key->str) == 0 && text != nullptr && text->len > 0) {
        csm_qarn_sp_print("%s", text->str);
    }
}

void qarn_get_keys(void *name, void *value, void *) {
    if (const auto *text = static_cast<const GString *>(value); text != nullptr && qarn::debugging(QARN_DEBUG_STORE)) {
        qarn::trace("qarn_get_keys value::%s len::%d\n", text->str, qarn::length_of(text));
    }
    if (qarn_feature_key_printed(qarn::name_of(name)) != 0) return;
    qarn::add_header(qarn::name_of(name));
    add_feature_key_to_list(qarn::name_of(name));
}

int32_t qarn_feature_key_printed(const char *name) {
    if (auto *lookup = qarn::Lookup::for_printed_names()) return lookup->is_printed(name) ? 1 : 0;
    for (const feature_key_entry *entry = key_list; entry != nullptr; entry = entry->next) {
        if (std::strcmp(entry->key->str, name) == 0) return 1;
    }
    return 0;
}

feature_key_entry *add_feature_key_to_list(const char *name) {
    feature_key_entry *entry = qarn::allocate<feature_key_entry>().release();
    if (entry == nullptr) return nullptr;
    *entry = {g_string_new(name), key_list};
    key_list = entry;
    if (auto *lookup = qarn::Lookup::for_printed_names()) lookup->add_printed(*entry);
    return entry;
}

void qarn_key_feature_print(void *name, void *value, void *) {
    if (const auto *text = static_cast<const GString *>(value); text != nullptr && qarn::debugging(QARN_DEBUG_STORE)) {
        qarn::trace("qarn_key_feature_print value::%s len::%d\n", text->str, qarn::length_of(text));
    }
    if (qarn_feature_key_printed(qarn::name_of(name)) != 0) return;
    csm_qarn_sp_print("%s", qarn::name_of(name));
    add_feature_key_to_list(qarn::name_of(name));
    const qarn::String key(g_string_new(qarn::name_of(name)));
    traverse(&keystr_element_q, qarn_keystr_elem_q_cfg_print, key.get());
}
