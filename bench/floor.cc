// The least that a program on the element records must do. Everything is allocated and kept as the records demand.
#include "bench/floor.h"

#include <qarncli/globals.h>
#include <qarncli/key_table.h>
#include <qarncli/tlv_decode.h>

#include <cassert>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/cfglib.h"
#include "platform/ifmgr.h"
#include "platform/mts.h"
#include "platform/tlv_array.h"

namespace bench {
namespace {

uint32_t word(const void *value) {
    uint32_t word = 0;
    std::memcpy(&word, value, sizeof word);
    return word;
}

struct Tlv {
    uint32_t tag = 0, length = 0;
    void *value = nullptr;

    const char *text() const { return static_cast<const char *>(value); }
    GString *string() const { return g_string_new_len(text(), static_cast<gssize>(length) - 1); }
};

// The elements of all replies, by what they carry.
struct Elements {
    bool may_be_resent = false; // several services send the same elements
    GHashTable *store = g_hash_table_new(g_int_hash, g_int_equal);
    std::vector<qarn_elem *> all, with_interfaces, with_keys, with_key_strings, with_vlan_strings;
};

template <typename Record>
Record *allocated(const Record &record) {
    return new (std::malloc(sizeof(Record))) Record(record);
}

// Reads the TLVs of one reply. Each tag 0 opens an element, to which the TLVs after it belong.
class Decoder {
  public:
    Decoder(const void *array, Elements &elements) : array_(array), elements_(elements) {}

    void run() {
        while (next(tlv_)) {
            if (tlv_.tag == QARN_TLV_TAG_ELEM_INFO) {
                open_element();
            } else {
                add_to_element();
            }
        }
    }

  private:
    bool next(Tlv &to) {
        return tlv32_aligned_array_get_next_tlv(array_, &to.tag, &to.length, &to.value, 0, &cursor_) == 0;
    }

    Tlv operand() {
        Tlv operand;
        next(operand);
        return operand;
    }

    // What an element is sent again for joins the element that the store has: that takes a look-up, and no record.
    void open_element() {
        qarn_elem header = {};
        qarn_element_info_tlv_parse(tlv_.value, &header);
        alignas(gint)
            const qarn_merge_key key = {static_cast<uint16_t>(header.uuid), static_cast<uint16_t>(header.elem_id)};
        elem_ = elements_.may_be_resent ? find(&key) : nullptr;
        if (elem_ == nullptr) add_element(header, key);
    }

    qarn_elem *find(const qarn_merge_key *key) const {
        const auto *value = static_cast<const qarn_merge_val *>(g_hash_table_lookup(elements_.store, key));
        return value != nullptr ? value->elem : nullptr;
    }

    void add_element(const qarn_elem &header, const qarn_merge_key &key) {
        elem_ = qarn_elem_info_create(header.uuid, header.elem_id, header.level, header.property);
        elem_->val_type = header.val_type;
        g_hash_table_insert(elements_.store, allocated(key), allocated(qarn_merge_val{elem_, nullptr}));
        elements_.all.push_back(elem_);
        if ((elem_->property & QARN_PROP_INTF) != 0) elements_.with_interfaces.push_back(elem_);
    }

    void add_to_element() {
        assert(elem_ != nullptr);
        switch (tlv_.tag) {
            case QARN_TLV_TAG_DEPENDENCY:
                elem_->dep_list = qarn_elem_dependency_create(0, 0, 0, elem_->dep_list);
                qarn_elem_dependency_info_tlv_parse(tlv_.value, elem_->dep_list);
                break;
            case QARN_TLV_TAG_STR:
                g_string_append_len(elem_->cfg_str, tlv_.text(), static_cast<gssize>(tlv_.length) - 1);
                break;
            case QARN_TLV_TAG_IFINDEX_STR:
                g_hash_table_insert(elem_->ifindex_table, allocated(word(tlv_.value)), operand().string());
                break;
            case QARN_TLV_TAG_KEY_STR:
                add_key_string();
                break;
            case QARN_TLV_TAG_KEY:
                add_key();
                break;
            default:
                break;
        }
    }

    void add_key_string() {
        if (g_hash_table_size(elem_->keystr_table) == 0) {
            const bool of_vlans = std::strncmp(tlv_.text(), "vlan ", 5) == 0;
            (of_vlans ? elements_.with_vlan_strings : elements_.with_key_strings).push_back(elem_);
        }
        g_hash_table_insert(elem_->keystr_table, g_strndup(tlv_.text(), tlv_.length - 1), operand().string());
    }

    void add_key() {
        const Tlv header = operand(), name = operand();
        if (g_hash_table_size(elem_->key_table) == 0) elements_.with_keys.push_back(elem_);
        g_hash_table_insert(elem_->key_table, g_strndup(name.text(), name.length - 1),
                            allocated(qarn_key_val{word(tlv_.value), header.string()}));
    }

    const void *array_;
    Elements &elements_;
    uint32_t cursor_ = 0;
    Tlv tlv_;
    qarn_elem *elem_ = nullptr;
};

// Joins the fragments of each service, and decodes the whole.
void receive(uint32_t handle, Elements &elements) {
    struct Joined {
        unsigned char *bytes = nullptr;
        std::size_t filled = 0;
    };
    std::map<uint32_t, Joined> replies;
    std::size_t missing = sim::current().services.size();
    qarn_recv_opts options = {};
    options.word[MTS_OPT_OPCODE] = QARN_OPC_REPLY;
    mts_msg msg = {};
    while (missing > 0) {
        if (mts_recv(handle, &msg, &options) != 0) throw std::runtime_error("a reply is missing");
        const auto *frag = static_cast<const qarn_cfg_frag *>(mts_payload_get(&msg));
        Joined &reply = replies[frag->sap];
        if (reply.bytes == nullptr) reply.bytes = static_cast<unsigned char *>(std::malloc(frag->total_len));
        std::memcpy(reply.bytes + reply.filled, frag->data, frag->len);
        reply.filled += frag->len;
        if (frag->last != 0) {
            Decoder(reply.bytes + sizeof(uint32_t), elements).run();
            std::free(reply.bytes);
            --missing;
        }
        mts_drop(handle, &msg);
    }
}

void write_block(const GString *block, std::FILE *out) {
    std::fwrite(block->str, 1, block->len, out);
}

// Appends the text that each table has for `key`.
void append_found(GString *block, const std::vector<qarn_elem *> &elements, GHashTable *qarn_elem::*table,
                  const void *key) {
    for (const qarn_elem *elem : elements) {
        const auto *text = static_cast<const GString *>(g_hash_table_lookup(elem->*table, key));
        if (text != nullptr) g_string_append_len(block, text->str, static_cast<gssize>(text->len));
    }
}

void write_interfaces(const Elements &elements, std::FILE *out) {
    ifindex_sublist *list = nullptr;
    qarn_req req = {};
    if_manager_ifindex_list_get(&req, &list, 1);
    for (; list != nullptr; list = list->next) {
        for (int32_t i = 0; i < list->count; ++i) {
            char name[80];
            snprintf_if_index(name, sizeof name, list->ifindexes[i]);
            GString *block = g_string_sized_new(256);
            g_string_append_printf(block, "\ninterface %s\n", name);
            append_found(block, elements.with_interfaces, &qarn_elem::ifindex_table, &list->ifindexes[i]);
            write_block(block, out);
            g_string_free(block, TRUE);
        }
    }
}

// Successive VLANs with the same text are one block, under the header of the first.
void write_vlans(const qarn_elem &owner, const Elements &elements, std::FILE *out) {
    std::map<uint32_t, const char *> vlans;
    GHashTableIter iter;
    void *name = nullptr, *key = nullptr;
    g_hash_table_iter_init(&iter, owner.key_table);
    while (g_hash_table_iter_next(&iter, &name, &key) != 0)
        vlans.emplace(static_cast<qarn_key_val *>(key)->ifindex, static_cast<const char *>(name));
    GString *last = g_string_new("");
    for (const auto &[vlan, line] : vlans) {
        GString *block = g_string_sized_new(256);
        append_found(block, elements.with_vlan_strings, &qarn_elem::keystr_table, line);
        if (!g_string_equal(last, block)) {
            std::fputs(line, out);
            write_block(block, out);
        }
        g_string_free(last, TRUE);
        last = block;
    }
    g_string_free(last, TRUE);
}

void write_keys(const qarn_elem &owner, const Elements &elements, std::FILE *out) {
    GHashTableIter iter;
    void *name = nullptr, *key = nullptr;
    g_hash_table_iter_init(&iter, owner.key_table);
    while (g_hash_table_iter_next(&iter, &name, &key) != 0) {
        GString *block = g_string_new(static_cast<qarn_key_val *>(key)->val_str->str);
        append_found(block, elements.with_key_strings, &qarn_elem::keystr_table, name);
        write_block(block, out);
        g_string_free(block, TRUE);
    }
}

// In a display of one feature the names of its key strings are headers: each in a slot of the key list while they
// print, and on the list of printed keys for good.
void write_feature_keys(const qarn_elem &elem, std::FILE *out) {
    constexpr std::size_t kSlotSize = 500;
    std::vector<char *> slots(g_hash_table_size(elem.keystr_table));
    for (char *&slot : slots)
        slot = static_cast<char *>(std::malloc(kSlotSize));
    keylist = slots.data();
    GHashTableIter iter;
    void *name = nullptr, *text = nullptr;
    g_hash_table_iter_init(&iter, elem.keystr_table);
    for (auto slot = slots.begin(); g_hash_table_iter_next(&iter, &name, &text) != 0; ++slot) {
        g_strlcpy(*slot, static_cast<const char *>(name), kSlotSize);
        key_list = allocated(feature_key_entry{g_string_new(*slot), key_list});
        std::fputs(*slot, out);
        write_block(static_cast<GString *>(text), out);
    }
    for (char *slot : slots)
        std::free(slot);
    keylist = nullptr;
}

} // namespace

void run_floor(const Shape &shape, uint32_t handle, std::FILE *out) {
    Elements elements;
    elements.may_be_resent = shape.resent > 0;
    receive(handle, elements);
    for (const qarn_elem *elem : elements.all) {
        if (elem->cfg_str->len > 0) write_block(elem->cfg_str, out);
    }
    if (shape.feature_keys > 0) {
        for (const qarn_elem *elem : elements.with_key_strings)
            write_feature_keys(*elem, out);
    }
    for (const qarn_elem *owner : elements.with_keys) {
        if (owner->uuid == QARN_UUID_VLAN) {
            write_vlans(*owner, elements, out);
        } else {
            write_keys(*owner, elements, out);
        }
    }
    write_interfaces(elements, out);
}

} // namespace bench
