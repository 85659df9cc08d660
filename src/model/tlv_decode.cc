// The decoder: one reply's TLV stream becomes configuration elements, merged into the element store. TlvReader checks
// every TLV against the reply's extent; what is kept is copied, because the reply is freed right after the call.
//
// A stream may also break the format without leaving the reply:
//   a value too short for its tag's words    is skipped with its follow-ups; if the tag is 0, no element is opened, and
//                                            the TLVs up to the next tag 0 belong to no element
//   a TLV without a value                    counts as an empty text
//   a missing follow-up                      ends the decoding; its entry is not kept
//   a wrong length of a text                 does not matter: a text ends at its NUL
#include <qarncli/tlv_decode.h>

#include <qarncli/element_store.h>
#include <qarncli/globals.h>
#include <qarncli/status.h>

#include <algorithm>
#include <optional>

#include "base/command_message.h"
#include "base/trace.h"
#include "model/element_filter.h"
#include "model/element_store.h"
#include "model/store_index.h"
#include "model/tlv_decode.h"
#include "model/tlv_reader.h"
#include "platform/cfglib.h"
#include "platform/csm.h"

namespace qarn {
namespace {

// The text is copied in place: there are millions, and appending costs more than the copy.
GString *new_string(const TextValue &text) {
    GString *string = g_string_sized_new(text.length);
    std::memcpy(string->str, text.chars, text.length + 1);
    string->len = text.length;
    return string;
}

// Whether a command message's own length word may be used to copy it: it must cover the header and stay inside the TLV.
bool has_valid_length(const Tlv &message) {
    if (message.length < QARN_CMD_HEADER_SIZE) return false;
    const uint32_t length = message_length(message.value);
    return length >= QARN_CMD_HEADER_SIZE && length <= message.length;
}

// After a TLV: go on with the next one, or end with this status.
using Verdict = std::optional<uint32_t>;
constexpr Verdict kNextTlv = std::nullopt;
constexpr Verdict kEnd = 0;

class Decoder {
  public:
    Decoder(const TlvReader &reader, GHashTable *table) : reader_(reader), table_(table) {}

    Decoding run() {
        announced_ = reader_.announced();
        if (debugging(QARN_DEBUG_DECODE)) trace("Num TLVs = %d\n", announced_);
        while (const std::optional<Tlv> tlv = reader_.next()) {
            ++count_;
            if (debugging(QARN_DEBUG_DECODE)) trace("TLV Ctr = %d\n", static_cast<int>(count_));
            if (count_ > announced_) return ended(0, Decoding::End::kMiscounted);
            if (const Verdict verdict = act_on(*tlv)) return ended(*verdict, Decoding::End::kBroken);
        }
        if (lost_element_at_) return ended(0, Decoding::End::kBroken);
        if (reader_.leaves_reply()) return ended(0, Decoding::End::kBroken);
        if (reader_.taken() != announced_) return ended(0, Decoding::End::kMiscounted);
        return ended(0, skipped_ == 0 ? Decoding::End::kWhole : Decoding::End::kSkipped);
    }

  private:
    Decoding ended(uint32_t status, Decoding::End end) const {
        return {.status = status,
                .end = end,
                .announced = static_cast<uint32_t>(announced_),
                .taken = static_cast<uint32_t>(reader_.taken()),
                .skipped = skipped_,
                .repeated = repeated_,
                .offset = static_cast<uint32_t>(lost_element_at_.value_or(reader_.last_begin()))};
    }

    Verdict act_on(const Tlv &tlv) {
        switch (tlv.tag) {
            case QARN_TLV_TAG_ELEM_INFO:
                return open_element(tlv);
            case QARN_TLV_TAG_DEPENDENCY:
                return add_dependency(tlv);
            case QARN_TLV_TAG_STR:
                return append_text(tlv);
            case QARN_TLV_TAG_IFINDEX_STR:
                return add_interface_value(tlv);
            case QARN_TLV_TAG_TLV:
                return show_command(tlv);
            case QARN_TLV_TAG_KEY_STR:
                return add_key_string(tlv);
            case QARN_TLV_TAG_KEY:
                return add_key(tlv);
            default:
                return skip();
        }
    }

    Verdict skip() {
        ++skipped_;
        return kNextTlv;
    }

    void store(qarn_elem *elem) { qarn_merge_hash_insert(elem->uuid, elem, table_); }

    Verdict open_element(const Tlv &tlv) {
        if (!tlv.has_words(5)) return open_nothing();
        qarn_elem header = {};
        qarn_element_info_tlv_parse(tlv.value, &header);
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("UUID:%d Elem:%d Level:%d Property %d\n", header.uuid, header.elem_id, header.level,
                              header.property);
        }
        current_ = find_or_create(header);
        if (current_ == nullptr) return QARN_STATUS_NO_MEMORY;
        if (debugging(QARN_DEBUG_PRINT)) debug_element_ = qarn_elem_info_create(0, 0, 0, 0);
        if (!passes_feature_filter(*current_)) return kNextTlv;
        if (passes_view_filter(*current_)) {
            if (!merged_ || !in_command_) store(current_); // in a command an entry stays as it is: it has no vertex yet
        } else if (merged_) {
            qarn_merge_hash_remove(current_->uuid, current_, table_);
        }
        return kNextTlv;
    }

    // It is unknown which element was meant, so the next TLVs belong to no element, not to the one before.
    Verdict open_nothing() {
        current_ = debug_element_ = nullptr;
        if (!lost_element_at_) lost_element_at_ = reader_.last_begin();
        return kNextTlv;
    }

    // The element that the tag 0 opens: the one that the store already has under that key, or a new one, which takes
    // the place of a placeholder. Null if memory runs out.
    qarn_elem *find_or_create(qarn_elem &header) {
        merged_ = false;
        const qarn_merge_val *entry = qarn_merge_value_get(header.uuid, header.elem_id);
        if (entry == nullptr) return create(header);
        qarn_elem *known = entry->elem;
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("Merging with existing element\n");
            csm_qarn_sp_print("UUID:%d ELEM %d LEVEL %d property %d\n", header.uuid, header.elem_id, header.level,
                              header.property);
            csm_qarn_sp_print("MERGE UUID:%d ELEM %d LEVEL %d property %d\n", known->uuid, known->elem_id, known->level,
                              known->property);
        }
        if ((known->property & QARN_PROP_DUMMY) != 0) return replace_placeholder(known, header);
        if (static_cast<int32_t>(header.property) > 0) known->property = header.property;
        merged_ = true;
        return known;
    }

    static qarn_elem *fill(qarn_elem *elem, const qarn_elem &header) {
        elem->uuid = header.uuid;
        elem->elem_id = header.elem_id;
        elem->level = header.level;
        elem->property = header.property;
        elem->val_type = header.val_type;
        return elem;
    }

    static qarn_elem *create(const qarn_elem &header) {
        qarn_elem *fresh = qarn_elem_info_create(0, 0, 0, 0);
        return fresh != nullptr ? fill(fresh, header) : nullptr;
    }

    qarn_elem *replace_placeholder(qarn_elem *placeholder, qarn_elem &header) {
        header.property |= QARN_PROP_INTF;
        const bool reuses = may_reuse(*placeholder);
        qarn_elem *fresh = reuses ? placeholder : create(header);
        if (fresh == nullptr) return nullptr;
        qarn_merge_hash_remove(header.uuid, placeholder, table_);
        if (!reuses) return fresh;
        // Without memory for the removal the store keeps the placeholder.
        const bool is_removed = qarn_merge_value_get(header.uuid, header.elem_id) == nullptr;
        return is_removed ? fill(placeholder, header) : create(header);
    }

    // In a command the record of a placeholder that the decoder made serves for the element that arrives. One that a
    // service sent may hold configuration.
    bool may_reuse(const qarn_elem &placeholder) const {
        return in_command_ && placeholder.cfg_str->len == 0 && g_hash_table_size(placeholder.ifindex_table) == 0 &&
               g_hash_table_size(placeholder.key_table) == 0 && g_hash_table_size(placeholder.keystr_table) == 0 &&
               placeholder.dep_list == nullptr;
    }

    Verdict add_dependency(const Tlv &tlv) {
        if (!tlv.has_words(3) || current_ == nullptr) return skip();
        qarn_elem_dependency *dep = qarn_elem_dependency_create(0, 0, 0, current_->dep_list);
        if (dep == nullptr) return QARN_STATUS_NO_MEMORY;
        current_->dep_list = dep;
        qarn_elem_dependency_info_tlv_parse(tlv.value, dep);
        if (debugging(QARN_DEBUG_DECODE)) csm_qarn_sp_print("Dependency UUID:%d Elem:%d\n", dep->uuid, dep->elem_id);
        const bool orders_interfaces =
            (current_->property & QARN_PROP_INTF) != 0 && (current_->property & QARN_PROP_DUMMY) == 0;
        if (in_command_ && !orders_interfaces && !debugging(QARN_DEBUG_DECODE)) return kNextTlv; // nothing would change
        if (!passes_feature_filter(*current_) || !passes_view_filter(*current_)) return kNextTlv;

        if (const qarn_merge_val *entry = qarn_merge_value_get(dep->uuid, dep->elem_id)) {
            mark(entry->elem, orders_interfaces);
            return kNextTlv;
        }
        return orders_interfaces ? add_placeholder(*dep) : kNextTlv;
    }

    // What an interface element depends on is ordered among the interface elements.
    void mark(qarn_elem *target, bool orders_interfaces) {
        if (orders_interfaces) target->property |= QARN_PROP_INTF;
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("Dependent UUID:%d Elem:%d present. setting property %d\n", target->uuid, target->elem_id,
                              target->property);
            print_current_element();
        }
        if (!in_command_) store(target);
    }

    Verdict add_placeholder(const qarn_elem_dependency &dep) {
        qarn_elem *placeholder = qarn_elem_info_create(dep.uuid, dep.elem_id, current_->level, 0);
        if (placeholder == nullptr) return QARN_STATUS_NO_MEMORY;
        placeholder->property = QARN_PROP_DUMMY | QARN_PROP_INTF;
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("Adding dummy element UUID:%d Elem:%d property %d\n", placeholder->uuid,
                              placeholder->elem_id, placeholder->property);
            print_current_element();
        }
        qarn_merge_hash_insert(dep.uuid, placeholder, table_);
        return kNextTlv;
    }

    void print_current_element() const {
        csm_qarn_sp_print("Element  UUID:%d Elem:%d property %d\n", current_->uuid, current_->elem_id,
                          current_->property);
    }

    Verdict append_text(const Tlv &tlv) {
        const std::optional<TextValue> text = reader_.text(tlv);
        if (!text) return kEnd;
        if (debugging(QARN_DEBUG_DECODE)) csm_qarn_sp_print("Str:%s\n", text->chars);
        if (current_ == nullptr) return skip();
        if (merged_ && text->length > 0) ++repeated_;
        g_string_append_len(current_->cfg_str, text->chars, static_cast<gssize>(text->length));
        return current_->level < uint32_t{kPrintLevels} || text->length == 0 ? kNextTlv : skip();
    }

    Verdict add_interface_value(const Tlv &tlv) {
        Malloced<uint32_t> if_index;
        if (tlv.has_words(1)) {
            if_index = allocate<uint32_t>();
            if (!if_index) return QARN_STATUS_NO_MEMORY;
            *if_index = tlv.word(0);
        }
        const std::optional<Tlv> operand = reader_.next();
        if (!operand) return kEnd;
        if (!if_index || current_ == nullptr) return skip();
        switch (current_->val_type) {
            case QARN_VAL_COMMAND:
                return add_interface_command(std::move(if_index), *operand);
            case QARN_VAL_TEXT:
                return add_interface_text(std::move(if_index), *operand);
            default:
                return skip();
        }
    }

    // An index that is there already keeps its key and takes the new value.
    void insert_interface_value(Malloced<uint32_t> if_index, void *value) {
        ++count_;
        if (g_hash_table_insert(current_->ifindex_table, if_index.get(), value)) static_cast<void>(if_index.release());
    }

    Verdict add_interface_text(Malloced<uint32_t> if_index, const Tlv &operand) {
        const std::optional<TextValue> text = reader_.text(operand);
        if (!text) return kEnd;
        GString *value = new_string(*text);
        if (debugging(QARN_DEBUG_INTERFACE)) csm_qarn_sp_print("Ifindex:%x Str:%s\n", *if_index, value->str);
        insert_interface_value(std::move(if_index), value);
        return kNextTlv;
    }

    static Verdict report_no_payload() {
        csm_qarn_sp_print("ERROR: qarn_parse_tlv: no payload\n");
        return QARN_STATUS_NO_PAYLOAD;
    }

    static Verdict report_bad_message() {
        csm_qarn_sp_print("ERROR: qarn_parse_tlv: bad message\n");
        return QARN_STATUS_BAD_MESSAGE;
    }

    Verdict add_interface_command(Malloced<uint32_t> if_index, const Tlv &operand) {
        if (operand.value == nullptr) return report_no_payload();
        if (!has_valid_length(operand) || !has_valid_stamp(operand.value)) return report_bad_message();
        Malloced<unsigned char> copy = copy_message(operand.value);
        if (!copy) return QARN_STATUS_NO_MEMORY;
        if (debugging(QARN_DEBUG_PRINT) && !display_interface_command(operand.value)) return kNextTlv;
        insert_interface_value(std::move(if_index), copy.release() + QARN_CMD_PREFIX_SIZE);
        return kNextTlv;
    }

    // Debug display of an interface's command message; false when it could not be shown, and is then not stored.
    bool display_interface_command(const unsigned char *message) {
        csm_qarn_sp_print("(qarn_parse_tlv) QARN_TLV_TAG_IFINDEX_STR\n");
        if (debug_element_ == nullptr) {
            csm_qarn_sp_print("(qarn_parse_tlv) Null debug_element_info_p\n");
            return false;
        }
        unsigned char *copy = copy_message(message).release();
        if (copy == nullptr) {
            csm_qarn_sp_print("Qarn (qarn_parse_tlv) Malloc failed\n");
            return false;
        }
        debug_element_->dbg_cmd_buf = copy;
        set_up_render_handle(copy);
        take_debug_flags(copy + QARN_CMD_PREFIX_SIZE);
        cmd_show_run_opt(copy);
        sr_cmds_cleanup();
        return true;
    }

    Verdict show_command(const Tlv &tlv) {
        if (tlv.value == nullptr) return report_no_payload();
        if (!debugging(QARN_DEBUG_PRINT) || debug_element_ == nullptr) return kNextTlv;
        if (!has_valid_length(tlv)) return report_bad_message();
        unsigned char *copy = copy_message(tlv.value).release();
        if (copy == nullptr) return QARN_STATUS_NO_MEMORY;
        debug_element_->dbg_cmd_buf = copy;
        set_up_render_handle(copy);
        debug_element_->val_type = QARN_VAL_COMMAND;
        csm_qarn_sp_print("(qarn_parse_tlv) QARN_TLV_TAG_TLV\n");
        cmd_show_run_opt_cr(copy, 4);
        sr_cmds_cleanup();
        return kNextTlv;
    }

    // A key that is there already keeps its copy of the name and takes the new value.
    static void insert_by_name(GHashTable *table, const TextValue &name, void *value) {
        auto *copy = static_cast<char *>(std::memcpy(g_malloc(name.length + 1), name.chars, name.length + 1));
        if (!g_hash_table_insert(table, copy, value)) g_free(copy);
    }

    Verdict add_key_string(const Tlv &tlv) {
        const std::optional<TextValue> name = reader_.text(tlv);
        if (!name) return kEnd;
        const std::optional<Tlv> operand = reader_.next();
        if (!operand) return kEnd;
        const std::optional<TextValue> text = reader_.text(*operand);
        if (!text) return kEnd;
        String value(new_string(*text));
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("(QARN_TLV_TAG_KEY_STR) Str:%s Len:%d\n", value->str, static_cast<int>(value->len));
        }
        if (current_ == nullptr) return skip();
        ++count_;
        insert_by_name(current_->keystr_table, *name, value.release());
        return kNextTlv;
    }

    Verdict add_key(const Tlv &tlv) {
        const std::optional<Tlv> map_operand = reader_.next();
        if (!map_operand) return kEnd;
        const std::optional<TextValue> map = reader_.text(*map_operand);
        if (!map) return kEnd;
        String key_map(new_string(*map));
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("(QARN_TLV_TAG_KEY) Val:%s Len %d\n", key_map->str, static_cast<int>(key_map->len));
        }
        const std::optional<Tlv> name_operand = reader_.next();
        if (!name_operand) return kEnd;
        count_ += 2;
        const std::optional<TextValue> name = reader_.text(*name_operand);
        if (!name) return kEnd;
        if (!tlv.has_words(1) || current_ == nullptr) return skip();
        auto key = allocate<qarn_key_val>();
        if (!key) return QARN_STATUS_NO_MEMORY;
        if (merged_ && current_->uuid == QARN_UUID_KEYS_ONCE) {
            if (debugging(QARN_DEBUG_DECODE)) csm_qarn_sp_print("skipping key from uuid %d\n", current_->uuid);
            return kNextTlv;
        }
        *key = {tlv.word(0), key_map.release()};
        insert_by_name(current_->key_table, *name, key.release());
        return kNextTlv;
    }

    TlvReader reader_;
    GHashTable *table_;
    const bool in_command_ = StoreIndex::current() != nullptr; // not called by a program on its own
    qarn_elem *current_ = nullptr;
    qarn_elem *debug_element_ = nullptr; // never stored; made for the debug display only
    bool merged_ = false;                // the current element was in the store before
    int32_t announced_ = 0;
    uint32_t skipped_ = 0, repeated_ = 0;
    std::optional<std::size_t> lost_element_at_; // the first tag 0 that was too short to name its element
    int64_t count_ = 0;                          // TLVs and follow-ups seen, as counted against the announced number
};

} // namespace

Decoding decode_reply(const unsigned char *array, const unsigned char *end, GHashTable *table) {
    return Decoder(TlvReader(array, end), table).run();
}

} // namespace qarn

uint32_t qarn_parse_tlv(const void *array, GHashTable *table) {
    return qarn::decode_reply(static_cast<const unsigned char *>(array), nullptr, table).status;
}

void qarn_element_info_tlv_parse(const void *value, qarn_elem *elem) {
    uint32_t words[5];
    std::memcpy(words, value, sizeof words);
    elem->uuid = words[0];
    elem->elem_id = words[1];
    elem->level = words[2];
    elem->property = words[3];
    elem->val_type = words[4];
}

void qarn_elem_dependency_info_tlv_parse(const void *value, qarn_elem_dependency *dep) {
    uint32_t words[3];
    std::memcpy(words, value, sizeof words);
    dep->uuid = words[0];
    dep->elem_id = words[1];
    dep->dep_type = words[2];
}
