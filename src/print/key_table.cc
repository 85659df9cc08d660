// Keyed configuration: under each header of an element's key table stand the texts that all elements file under the
// entries whose key map is that header. In a single feature's display an element's own key strings become headers as
// well, each printed once for as long as the library is loaded (key_list).
//
// The exported callbacks are the literal walk over the tables and the queue, and carry its traces. While a generation
// prints without those traces, the passes find the same texts in the same order through the contribution index.
#include <qarncli/key_table.h>

#include <qarncli/element_store.h>
#include <qarncli/globals.h>

#include <cstring>

#include "base/owner.h"
#include "base/trace.h"
#include "platform/csm.h"
#include "print/contributions.h"
#include "print/key_list.h"
#include "print/printed_keys.h"
#include "print/queued_element.h"
#include "print/vlan_pass.h"

namespace {

using qarn::debugging;
using qarn::String;
using qarn::trace;

const char *name_of(const void *name) {
    return static_cast<const char *>(name);
}
int length_of(const GString *text) {
    return static_cast<int>(text->len);
}

void print_texts(const qarn::Texts &texts) {
    for (const GString *text : texts)
        csm_qarn_sp_print("%s", text->str);
}

// Everything that the queued elements file under a name.
void print_filed_under(const char *name) {
    if (auto *index = qarn::ContributionIndex::current()) {
        if (const qarn::Texts *texts = index->find(name)) print_texts(*texts);
        return;
    }
    const String key(g_string_new(name));
    traverse(&keystr_element_q, qarn_keystr_elem_q_cfg_print, key.get());
}

// What stands under each header of one key table: the texts of all entries with that key map, in the table's own
// order. Each map's texts are gathered once, however many entries share it.
class TextsByHeader {
  public:
    TextsByHeader(GHashTable *key_table, qarn::ContributionIndex *index) {
        GHashTableIter iter;
        void *name = nullptr;
        void *key = nullptr;
        g_hash_table_iter_init(&iter, key_table);
        while (g_hash_table_iter_next(&iter, &name, &key) != 0) {
            qarn::Texts &under_header = texts_.open(static_cast<qarn_key_val *>(key)->val_str->str);
            const qarn::Texts *texts = index->find(name_of(name));
            if (texts == nullptr) continue;
            for (GString *text : *texts)
                texts_.add(under_header, text);
        }
    }

    // Null when no entry has this key map.
    const qarn::Texts *find(const char *header) const { return texts_.find(header); }

  private:
    qarn::Groups<GString *> texts_{g_str_hash, g_str_equal};
};

void print_headers_by_walk(GHashTable *key_table) {
    for (int32_t i = 0; i < totalkeys; ++i) {
        csm_qarn_sp_print("%s", keylist[i]);
        g_hash_table_foreach(key_table, qarn_key_elem_print, keylist[i]);
    }
}

void print_headers_by_index(GHashTable *key_table, qarn::ContributionIndex *index) {
    const TextsByHeader by_header(key_table, index);
    for (int32_t i = 0; i < totalkeys; ++i) {
        csm_qarn_sp_print("%s", keylist[i]);
        const qarn::Texts *texts = by_header.find(keylist[i]);
        if (texts == nullptr) continue;
        print_texts(*texts);
        g_traverse = 1;
    }
}

// The element's keys become headers, sorted, each followed by what is filed under it. False when there is no memory
// for the key list: then nothing more of the element's key tables is printed.
bool run_keyed_pass(const qarn_elem &elem) {
    const guint count = g_hash_table_size(elem.key_table);
    if (count == 0) {
        if (elem.uuid == QARN_UUID_VLAN) qarn::run_vlan_pass(elem);
        return true;
    }
    const qarn::KeyList list(count);
    if (!list.ok()) return false;
    if (debugging(QARN_DEBUG_STORE)) trace("num keys %d\n", count);
    g_hash_table_foreach(elem.key_table, qarn_key_elem_print, nullptr);
    qarn_sort_traverse_keys();
    if (elem.uuid == QARN_UUID_VLAN) {
        qarn::run_vlan_pass(elem);
    } else if (auto *index = qarn::ContributionIndex::current()) {
        print_headers_by_index(elem.key_table, index);
    } else {
        print_headers_by_walk(elem.key_table);
    }
    return true;
}

bool prints_feature_keys() {
    return qarn_feature == 1 && qarn_feature_send_all == 0 && g_traverse == 0 && qarnkey == 0 && qarn_feature_dns == 0;
}

// The element's key-string names that were not printed before become headers.
void run_feature_key_pass(const qarn_elem &elem) {
    const guint count = g_hash_table_size(elem.keystr_table);
    if (count == 0) return;
    const qarn::KeyList list(count);
    if (!list.ok()) return;
    if (debugging(QARN_DEBUG_STORE)) trace("num keys %d\n", count);
    g_hash_table_foreach(elem.keystr_table, qarn_get_keys, nullptr);
    qarn_sort_traverse_keys();
    for (int32_t i = 0; i < totalkeys; ++i) {
        csm_qarn_sp_print("%s", keylist[i]);
        print_filed_under(keylist[i]);
    }
}

} // namespace

void print_keytbl(qarn_merge_val *value) {
    const qarn_elem &elem = *value->elem;
    if (run_keyed_pass(elem) && prints_feature_keys()) run_feature_key_pass(elem);
}

void qarn_key_elem_print(void *name, void *value, void *sorted_key) {
    const GString *key_map = static_cast<const qarn_key_val *>(value)->val_str;
    const bool tracing = debugging(QARN_DEBUG_STORE);
    if (tracing) trace("qarn_key_elem_print  \n");
    if (sorted_key != nullptr) {
        if (tracing) trace("sorted_key %s key_map %s", name_of(sorted_key), key_map->str);
        if (std::strcmp(key_map->str, name_of(sorted_key)) != 0) return;
        const String key(g_string_new(name_of(name)));
        traverse(&keystr_element_q, qarn_keystr_elem_q_cfg_print, key.get());
        g_traverse = 1;
        return;
    }
    if (tracing) {
        trace("qarn_key_elem_print KEY STRING ::: %s & Length %d\n", name_of(name),
              static_cast<int>(std::strlen(name_of(name))));
    }
    if (key_map->len >= 1) {
        if (tracing) trace("qarn_key_elem_print printing KEYMAP %d\n", totalkeys);
        qarn::add_to_key_list(key_map->str);
    } else {
        if (tracing) trace("qarn_key_elem_print printing KEY %s\n", name_of(name));
        qarn::add_to_key_list(name_of(name));
    }
}

int32_t qarn_sort_traverse_keys() {
    qarn::trace_key_list();
    sortmyarray(keylist, totalkeys);
    return 0;
}

void sortmyarray(char **array, int32_t count) {
    qarn::sort_slots(array, count, qarn_key_cmp_fn);
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
    if (debugging(QARN_DEBUG_STORE)) {
        trace("qarn_keystr_print key::%s sharedkey::%s\n", name_of(name), shared_key->str);
        trace("qarn_keystr_print key len::%d sharedkey len::%d\n", static_cast<int>(std::strlen(name_of(name))),
              length_of(shared_key));
        if (text != nullptr) trace("qarn_keystr_print value::%s len::%d\n", text->str, length_of(text));
    }
    if (std::strcmp(name_of(name), shared_key->str) == 0 && text != nullptr && text->len > 0) {
        csm_qarn_sp_print("%s", text->str);
    }
}

void qarn_get_keys(void *name, void *value, void *) {
    if (const auto *text = static_cast<const GString *>(value); text != nullptr && debugging(QARN_DEBUG_STORE)) {
        trace("qarn_get_keys value::%s len::%d\n", text->str, length_of(text));
    }
    if (qarn_feature_key_printed(name_of(name)) != 0) return;
    qarn::add_to_key_list(name_of(name));
    add_feature_key_to_list(name_of(name));
}

int32_t qarn_feature_key_printed(const char *name) {
    if (auto *keys = qarn::PrintedKeys::current()) return keys->contains(name) ? 1 : 0;
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
    return entry;
}

void qarn_key_feature_print(void *name, void *value, void *) {
    if (const auto *text = static_cast<const GString *>(value); text != nullptr && debugging(QARN_DEBUG_STORE)) {
        trace("qarn_key_feature_print value::%s len::%d\n", text->str, length_of(text));
    }
    if (qarn_feature_key_printed(name_of(name)) != 0) return;
    csm_qarn_sp_print("%s", name_of(name));
    add_feature_key_to_list(name_of(name));
    const String key(g_string_new(name_of(name)));
    traverse(&keystr_element_q, qarn_keystr_elem_q_cfg_print, key.get());
}
