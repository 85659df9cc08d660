// The VLAN service's key tables. First every VLAN's contributions are gathered and joined in ascending order into one
// aggregate text (vlan_reverse_table_p); then neighbours with the same aggregate print as one group, a range line and
// the shared text. A checkpoint prints each VLAN alone instead.
//
// A VLAN id outside 0..4095 does not fit the set that a range line is made from: such a VLAN forms a group of its own
// under its own line.
#include <qarncli/vlan_key_table.h>

#include <qarncli/element_store.h>
#include <qarncli/globals.h>
#include <qarncli/id_range.h>
#include <qarncli/ordering.h>
#include <qarncli/request.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/id_mask.h"
#include "base/owner.h"
#include "base/trace.h"
#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "print/header_slots.h"
#include "print/lookup.h"
#include "print/vlan_key_table.h"

namespace qarn {
namespace {

// The two elements of the VLAN service that list VLANs, and how each prints.
struct VlanKind {
    uint32_t elem_id;
    const char *line; // format of one VLAN's header, which is also the name of the key strings that belong to it
    void (*print_ranges)(const qarn_id_mask *mask);
    const char *group_trace; // format of the trace of the current group
    bool has_checkpoint;     // a checkpoint prints these VLANs one by one
};
constexpr VlanKind kVlanKinds[] = {
    {2, "vlan %d\n", qarn_vlan_mask_print, "actualprinting vlan_keystr::%s & Length %d\n", true},
    {5, "vlan configuration %d\n", qarn_vlan_config_mask_print, "actualprinting vlan_config_keystr::%s & Length %d\n",
     false},
};

const VlanKind *find_kind(uint32_t elem_id) {
    for (const VlanKind &kind : kVlanKinds) {
        if (kind.elem_id == elem_id) return &kind;
    }
    return nullptr;
}

// The header line of one VLAN.
class VlanLine {
  public:
    VlanLine(const VlanKind &kind, int32_t vlan) { std::snprintf(text_, sizeof text_, kind.line, vlan); }
    const char *text() const { return text_; }

  private:
    char text_[256];
};

bool fits_the_set(int32_t vlan) {
    return vlan >= 0 && vlan < kIds;
}

void mark(int32_t vlan) {
    if (fits_the_set(vlan)) set_id(&vlan_all_bitset, vlan);
}

// The VLAN of a header slot; null when the slot's text is not a key of the table.
const qarn_key_val *find_vlan(const qarn_elem &elem, int32_t slot) {
    return static_cast<const qarn_key_val *>(g_hash_table_lookup(elem.key_table, keylist[slot]));
}

// Put a text at the head of key_str_list. Returns the entry, or null if memory runs out.
key_str_entry *add_entry(GString *text) {
    key_str_entry *entry = allocate<key_str_entry>().release();
    if (entry == nullptr) return nullptr;
    *entry = {text, 0, key_str_list};
    key_str_list = entry;
    ++keycount;
    return entry;
}

// What the elements contribute to one VLAN, on key_str_list while this lives: copies that the walk makes, or the
// elements' own texts where the index knows them.
class Contributions {
  public:
    explicit Contributions(const char *line) : older_(key_str_list) {
        if (Lookup *lookup = Lookup::for_key_strings()) {
            borrowed_ = true;
            lookup->key_strings().for_each(line, add_entry);
        } else {
            const String name(g_string_new(line));
            traverse(&keystr_element_q, qarn_vlan_keystr_elem_q_cfg_print, name.get());
        }
    }
    ~Contributions() {
        for (key_str_entry *entry = key_str_list; borrowed_ && entry != older_; entry = entry->next)
            entry->str = nullptr; // the elements keep their texts
        delete_key_str_list();
    }
    Contributions(const Contributions &) = delete;
    Contributions &operator=(const Contributions &) = delete;

  private:
    const key_str_entry *older_; // entries that were on the list before; they own their texts
    bool borrowed_ = false;
};

// Free the aggregate if it could not be filed because memory ran out.
void discard_unless_filed() {
    if (g_hash_table_lookup(vlan_reverse_table_p, &g_vlan_id) == g_vlan_aggr_str) return;
    g_string_free(g_vlan_aggr_str, TRUE);
    g_vlan_aggr_str = nullptr;
}

// Join what the elements file under a VLAN's line. A checkpoint prints line and aggregate while the contributions are
// still on key_str_list.
void aggregate_vlan(const char *line, bool checkpoint) {
    g_vlan_aggr_str = g_string_new("");
    const Contributions contributions(line);
    qarn_vlan_add_aggr_keystr();
    if (!checkpoint) return;
    csm_qarn_sp_print("%s", line);
    csm_qarn_sp_print("%s", g_vlan_aggr_str->str);
}

// Every VLAN of the header slots gets its aggregate.
void aggregate(const qarn_elem &elem, const VlanKind &kind, bool checkpoint) {
    clear_ids(&vlan_all_bitset);
    for (int32_t i = 0; i < totalkeys; ++i) {
        const qarn_key_val *key = find_vlan(elem, i);
        if (key == nullptr) continue;
        g_vlan_id = static_cast<int32_t>(key->ifindex);
        mark(g_vlan_id);
        aggregate_vlan(VlanLine(kind, g_vlan_id).text(), checkpoint);
        discard_unless_filed();
        g_traverse = 1;
    }
}

// VLANs with the same aggregate, neighbours in VLAN key order, collected until another aggregate comes.
class VlanGroup {
  public:
    explicit VlanGroup(const VlanKind &kind) : kind_(kind) {}

    void add(int32_t vlan, const GString *aggregate) {
        if (text_ == nullptr) start(vlan, aggregate);
        trace_joining(aggregate);
        if (!joins(vlan, aggregate)) {
            print_header();
            csm_qarn_sp_print("%s", text_->str);
            start(vlan, aggregate);
        }
        mark(vlan);
    }
    void finish() const {
        if (text_ == nullptr) return;
        print_header();
        if (text_->len != 0) csm_qarn_sp_print("%s", text_->str);
    }

  private:
    void start(int32_t vlan, const GString *aggregate) {
        clear_ids(&vlan_all_bitset);
        first_ = vlan;
        text_ = aggregate;
    }
    bool joins(int32_t vlan, const GString *aggregate) const {
        if (std::strcmp(text_->str, aggregate->str) != 0) return false;
        return vlan == first_ || (fits_the_set(vlan) && fits_the_set(first_));
    }
    void print_header() const {
        if (fits_the_set(first_)) {
            kind_.print_ranges(&vlan_all_bitset);
        } else {
            csm_qarn_sp_print("%s", VlanLine(kind_, first_).text());
        }
    }
    void trace_joining(const GString *aggregate) const {
        if (!debugging(QARN_DEBUG_STORE)) return;
        trace(kind_.group_trace, text_->str, static_cast<int>(text_->len));
        trace("actualprinting value_str::%s & Length %d\n", aggregate->str, static_cast<int>(aggregate->len));
    }

    const VlanKind &kind_;
    int32_t first_ = 0;
    const GString *text_ = nullptr; // null until the first VLAN
};

void print_groups(const qarn_elem &elem, const VlanKind &kind) {
    clear_ids(&vlan_all_bitset);
    VlanGroup group(kind);
    for (int32_t i = 0; i < totalkeys; ++i) {
        const qarn_key_val *key = find_vlan(elem, i);
        if (key == nullptr) continue;
        g_vlan_id = static_cast<int32_t>(key->ifindex);
        const auto *text = static_cast<const GString *>(g_hash_table_lookup(vlan_reverse_table_p, &g_vlan_id));
        if (text != nullptr) group.add(g_vlan_id, text);
    }
    group.finish();
}

// File the aggregate under its VLAN. It replaces the aggregate of another key of the same VLAN.
void file_aggregate(Malloced<int32_t> vlan, GString *aggregate) {
    void *old_aggregate = g_hash_table_lookup(vlan_reverse_table_p, vlan.get());
    if (old_aggregate != nullptr && old_aggregate != aggregate)
        g_string_free(static_cast<GString *>(old_aggregate), TRUE);
    if (g_hash_table_insert(vlan_reverse_table_p, vlan.get(), aggregate)) static_cast<void>(vlan.release());
}

// A contribution that is not joined yet, with its text at hand for sorting.
struct Unjoined {
    const GString *text;
    key_str_entry *entry;

    bool operator<(const Unjoined &other) const { return std::strcmp(text->str, other.text->str) < 0; }
};

// Append the contributions that are not joined yet, smallest text first.
void join_contributions() {
    GArray *unjoined = g_array_new(FALSE, FALSE, sizeof(Unjoined));
    for (key_str_entry *entry = key_str_list; entry != nullptr; entry = entry->next) {
        const Unjoined next = {entry->str, entry};
        if (entry->used == 0) g_array_append_val(unjoined, next);
    }
    auto *begin = reinterpret_cast<Unjoined *>(unjoined->data);
    auto *end = begin + unjoined->len;
    std::stable_sort(begin, end);
    for (Unjoined *next = begin; next != end && keycount != 0; ++next, --keycount) {
        g_string_append_len(g_vlan_aggr_str, next->text->str, static_cast<gssize>(next->text->len));
        next->entry->used = 1;
    }
    g_array_unref(unjoined);
}

} // namespace

void run_vlan_pass(const qarn_elem &elem) {
    qarn_sort_traverse_vlan_keys();
    const VlanKind *kind = find_kind(elem.elem_id);
    if (kind == nullptr) return;
    const bool checkpoint = kind->has_checkpoint && (g_cli_generic_option & QARN_OPTION_CHECKPOINT) != 0;
    aggregate(elem, *kind, checkpoint);
    if (checkpoint) return;
    print_groups(elem, *kind);
    g_hash_table_foreach_remove(vlan_reverse_table_p, vlan_table_cleanup, nullptr);
    g_vlan_aggr_str = nullptr;
}

} // namespace qarn

int32_t qarn_sort_traverse_vlan_keys() {
    qarn::trace_headers();
    sort_vlan_array(keylist, totalkeys);
    return 0;
}

void sort_vlan_array(char **array, int32_t count) {
    qarn::sort_slots(array, count, qarn_vlan_key_cmp_fn);
}

int qarn_vlan_key_cmp_fn(const void *a, const void *b) {
    const char *left = *static_cast<char *const *>(a);
    const char *right = *static_cast<char *const *>(b);
    const auto left_length = static_cast<int>(std::strlen(left));
    const auto right_length = static_cast<int>(std::strlen(right));
    if (left_length != right_length) return left_length < right_length ? -1 : 1;
    return std::strcmp(left, right);
}

void qarn_vlan_keystr_elem_q_cfg_print(void *vertex, void *line) {
    const qarn_merge_val *value = qarn::value_of_vertex(vertex);
    if (value == nullptr) return;
    const auto *name = static_cast<const GString *>(line);
    if (qarn::debugging(QARN_DEBUG_STORE)) {
        qarn::trace("get vlankeystr for len %d key::%s\n", static_cast<int>(name->len), name->str);
    }
    const auto *text = static_cast<const GString *>(g_hash_table_lookup(value->elem->keystr_table, name->str));
    if (text == nullptr || text->len < 1) return;
    if (qarn::debugging(QARN_DEBUG_STORE)) {
        qarn::trace("FOUND, Addingtokeystrlist keystr len::%d str::%s\n", static_cast<int>(text->len), text->str);
    }
    add_key_str_list(text->str);
}

key_str_entry *add_key_str_list(const char *text) {
    key_str_entry *entry = qarn::add_entry(nullptr);
    if (entry != nullptr) entry->str = g_string_new(text);
    return entry;
}

void qarn_vlan_add_aggr_keystr() {
    auto vlan = qarn::allocate<int32_t>();
    if (!vlan) return;
    *vlan = g_vlan_id;
    qarn::join_contributions();
    if (qarn::debugging(QARN_DEBUG_STORE)) {
        qarn::trace("qarn_vlan_add_aggr_keystr Adding vlan %d to reverse hash table str is %s\n", g_vlan_id,
                    g_vlan_aggr_str->str);
    }
    qarn::file_aggregate(std::move(vlan), g_vlan_aggr_str);
}

void delete_key_str_list() {
    while (key_str_list != nullptr) {
        const qarn::Malloced<key_str_entry> entry(key_str_list);
        key_str_list = entry->next;
        if (entry->str != nullptr) g_string_free(entry->str, TRUE);
    }
    keycount = 0;
}

gboolean vlan_table_cleanup(void *key, void *value, void *) {
    std::free(key);
    auto *text = static_cast<GString *>(value);
    if (text != nullptr && text->str != nullptr) g_string_free(text, TRUE);
    return TRUE;
}

void qarn_vlan_reversetable_print(void *key, void *value, void *) {
    const auto *text = static_cast<const GString *>(value);
    csm_qarn_sp_print("PRINTING reversetable\n");
    csm_qarn_sp_print(" vlan id is %d\n", *static_cast<const int32_t *>(key));
    csm_qarn_sp_print(" reverse value str is %s\n", text->str);
    csm_qarn_sp_print(" reverse value len is %d\n", static_cast<int>(text->len));
}

// After the first match the answer is 0 without a comparison, for as long as the library is loaded.
gboolean qarn_vlan_get_bitmask(void *key, void *value, void *wanted) {
    static bool latch = false;
    if (latch) {
        if (qarn::debugging(QARN_DEBUG_STORE)) qarn::trace("qarn_vlan_get_bitmask found matching vlan bitmask\n");
        return FALSE;
    }
    const char *text = static_cast<const GString *>(key)->str;
    latch = std::strcmp(static_cast<const GString *>(wanted)->str, text) == 0;
    if (!latch) {
        if (qarn::debugging(QARN_DEBUG_STORE)) qarn::trace("qarn_vlan_get_bitmask strcmp failed\n");
        return FALSE;
    }
    g_vlan_bitset = value;
    if (qarn::debugging(QARN_DEBUG_STORE)) qarn::trace("qarn_vlan_get_bitmask found matching keystr %s\n", text);
    return TRUE;
}
