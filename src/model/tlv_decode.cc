// The decoder: one reply's TLV stream becomes configuration elements, merged into the element store. A reply comes
// from outside, so every TLV is held against the reply's extent here, in TlvReader, and nowhere else; what is kept is
// copied, because the reply is freed right after the call.
//
// Where a stream breaks the format without leaving the reply: a value too short for its tag's words is consumed with
// its follow-ups and changes nothing, except that a tag 0 too short for its words opens no element, so that what
// follows belongs to none until the next tag 0; a TLV without a value counts as an empty text; a missing follow-up ends
// the decoding without its entry; a text's length only sizes its copy's first buffer, and never beyond the text.
#include <qarncli/tlv_decode.h>

#include <qarncli/element_store.h>
#include <qarncli/globals.h>
#include <qarncli/request.h>
#include <qarncli/status.h>

#include <algorithm>
#include <iterator>
#include <optional>

#include "base/command_message.h"
#include "base/trace.h"
#include "model/decode.h"
#include "platform/cfglib.h"
#include "platform/csm.h"
#include "platform/tlv_array.h"

namespace qarn {
namespace {

struct Tlv {
    uint32_t tag = 0;
    uint32_t length = 0;
    const unsigned char *value = nullptr; // null when there is none; length is then 0

    bool has_words(uint32_t count) const { return length >= count * sizeof(uint32_t); }
    uint32_t word(uint32_t position) const { return load_u32(value + position * sizeof(uint32_t)); }
};

// A NUL-terminated text inside the reply.
struct Text {
    const char *chars;
    std::size_t length;
};

// A tag and a length, 32 bits each, in every layout of the array; values begin on 4-byte boundaries.
constexpr std::size_t kTlvHeader = 8;

// Walks the array and vouches that what it hands out lies inside the reply.
class TlvReader {
  public:
    TlvReader(const unsigned char *array, const unsigned char *end) : array_(array), end_(end) {}

    int32_t announced() const { return tlv32_aligned_array_get_num_tlvs(array_, 0); }

    // The next TLV; none at the end of the array, or when it does not lie inside. What was read so far bounds where the
    // next tag can be, so that TLVs without a value lead no further than the reply either.
    std::optional<Tlv> next() {
        if (end_ != nullptr && used_ + kTlvHeader > static_cast<std::size_t>(end_ - array_)) return {};
        Tlv tlv;
        void *value = nullptr;
        if (tlv32_aligned_array_get_next_tlv(array_, &tlv.tag, &tlv.length, &value, 0, &cursor_) != 0) return {};
        used_ += kTlvHeader + (std::size_t{tlv.length} + 3) / 4 * 4;
        if (value == nullptr || tlv.length == 0) {
            tlv.length = 0;
        } else {
            tlv.value = static_cast<const unsigned char *>(value);
            if (!holds(tlv.value, tlv.length)) return {};
        }
        ++taken_;
        return tlv;
    }

    // TLVs handed out so far.
    int64_t taken() const { return taken_; }

    // The text that begins at the TLV's value and runs to its NUL, wherever that is inside the reply.
    std::optional<Text> text(const Tlv &tlv) const {
        if (tlv.value == nullptr) return Text{"", 0};
        const auto *chars = reinterpret_cast<const char *>(tlv.value);
        if (end_ == nullptr) return Text{chars, std::strlen(chars)};
        const auto room = static_cast<std::size_t>(end_ - tlv.value);
        const std::size_t length = strnlen(chars, room);
        if (length == room) return {};
        return Text{chars, length};
    }

  private:
    bool holds(const unsigned char *value, uint32_t length) const {
        if (end_ == nullptr) return true;
        return value >= array_ && value <= end_ && length <= static_cast<std::size_t>(end_ - value);
    }

    const unsigned char *array_;
    const unsigned char *end_;
    uint32_t cursor_ = 0;
    std::size_t used_ = 0; // bytes that the TLVs read so far take at least
    int64_t taken_ = 0;
};

GString *new_string(const Tlv &tlv, const Text &text) {
    GString *string = g_string_sized_new(std::min<std::size_t>(tlv.length, text.length + 1));
    return g_string_append_len(string, text.chars, static_cast<gssize>(text.length));
}

// Whether a command message may be copied by its own length word: that covers the header and stays inside the TLV.
bool has_valid_length(const Tlv &message) {
    if (message.length < QARN_CMD_HEADER_SIZE) return false;
    const uint32_t length = message_length(message.value);
    return length >= QARN_CMD_HEADER_SIZE && length <= message.length;
}

// In a single feature's display the feature's row of the shell's table says which elements belong to it. A row that
// the table does not have is empty.
bool passes_feature_filter(const qarn_elem &elem) {
    if (qarn_feature != 1 || ftbl_index == 0) return true;
    static constexpr uint32_t kEmptyRow[std::size(show_feature_table[0])] = {};
    const uint32_t *pair = (ftbl_index < SHOW_TABLE_ROWS ? show_feature_table[ftbl_index] : kEmptyRow) + 1;
    for (int i = 0; i < SHOW_FEATURE_PAIRS; ++i, pair += 2) {
        if (pair[0] == elem.uuid && (pair[1] == 0 || pair[1] == elem.elem_id)) return true;
    }
    return false;
}

struct View {
    uint32_t display;
    uint32_t property;
    bool kept_when_set; // else kept when the bit is clear
};
constexpr View kViews[] = {
    {QARN_DISPLAY_VSAN, QARN_PROP_VSAN, true},     {QARN_DISPLAY_VLAN, QARN_PROP_VLAN, true},
    {QARN_DISPLAY_BFD, QARN_PROP_BFD, true},       {QARN_DISPLAY_L2MP, QARN_PROP_L2MP, true},
    {QARN_DISPLAY_NO_L2MP, QARN_PROP_L2MP, false}, {QARN_DISPLAY_FEX, QARN_PROP_FEX, true},
    {QARN_DISPLAY_NO_FEX, QARN_PROP_FEX, false},
};

bool passes_view_filter(const qarn_elem &elem) {
    for (const View &view : kViews) {
        if (view.display == cfg_display) return ((elem.property & view.property) != 0) == view.kept_when_set;
    }
    return true;
}

// What acting on a TLV says: go on, or return this status.
using Verdict = std::optional<uint32_t>;
constexpr Verdict kGoOn = std::nullopt;
constexpr Verdict kEnd = 0;

class Decoder {
  public:
    Decoder(const TlvReader &reader, GHashTable *table) : reader_(reader), table_(table) {}

    Decoding run() {
        const int32_t announced = reader_.announced();
        if (debugging(QARN_DEBUG_DECODE)) trace("Num TLVs = %d\n", announced);
        while (const std::optional<Tlv> tlv = reader_.next()) {
            ++count_;
            if (debugging(QARN_DEBUG_DECODE)) trace("TLV Ctr = %d\n", static_cast<int>(count_));
            if (count_ > announced) return {0, false};
            if (const Verdict verdict = act_on(*tlv)) return {*verdict, false};
        }
        return {0, reader_.taken() == announced && !lost_element_};
    }

  private:
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
                return kGoOn;
        }
    }

    void store(qarn_elem *elem) { qarn_merge_hash_insert(elem->uuid, elem, table_); }

    Verdict open_element(const Tlv &tlv) {
        if (!tlv.has_words(5)) return open_nothing();
        qarn_elem *fresh = qarn_elem_info_create(0, 0, 0, 0);
        if (fresh == nullptr) return QARN_STATUS_NO_MEMORY;
        if (debugging(QARN_DEBUG_PRINT)) debug_element_ = qarn_elem_info_create(0, 0, 0, 0);
        qarn_element_info_tlv_parse(tlv.value, fresh);
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("UUID:%d Elem:%d Level:%d Property %d\n", fresh->uuid, fresh->elem_id, fresh->level,
                              fresh->property);
        }
        current_ = merge(fresh);
        if (!passes_feature_filter(*current_)) return kGoOn;
        if (passes_view_filter(*current_)) {
            store(current_);
        } else if (merged_) {
            qarn_merge_hash_remove(current_->uuid, current_, table_);
        }
        return kGoOn;
    }

    // Nobody knows which element was meant: what follows belongs to none, rather than to the one before.
    Verdict open_nothing() {
        current_ = debug_element_ = nullptr;
        lost_element_ = true;
        return kGoOn;
    }

    // The element that the group describes: `fresh`, or the one that the store already has under its key. A
    // placeholder makes room for the real element.
    qarn_elem *merge(qarn_elem *fresh) {
        merged_ = false;
        const qarn_merge_val *entry = qarn_merge_value_get(fresh->uuid, fresh->elem_id);
        if (entry == nullptr) return fresh;
        qarn_elem *known = entry->elem;
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("Merging with existing element\n");
            csm_qarn_sp_print("UUID:%d ELEM %d LEVEL %d property %d\n", fresh->uuid, fresh->elem_id, fresh->level,
                              fresh->property);
            csm_qarn_sp_print("MERGE UUID:%d ELEM %d LEVEL %d property %d\n", known->uuid, known->elem_id, known->level,
                              known->property);
        }
        if ((known->property & QARN_PROP_DUMMY) != 0) {
            qarn_merge_hash_remove(fresh->uuid, known, table_);
            fresh->property |= QARN_PROP_INTF;
            return fresh;
        }
        if (static_cast<int32_t>(fresh->property) > 0) known->property = fresh->property;
        merged_ = true;
        return known;
    }

    Verdict add_dependency(const Tlv &tlv) {
        if (!tlv.has_words(3) || current_ == nullptr) return kGoOn;
        qarn_elem_dependency *dep = qarn_elem_dependency_create(0, 0, 0, current_->dep_list);
        if (dep == nullptr) return QARN_STATUS_NO_MEMORY;
        current_->dep_list = dep;
        qarn_elem_dependency_info_tlv_parse(tlv.value, dep);
        if (debugging(QARN_DEBUG_DECODE)) csm_qarn_sp_print("Dependency UUID:%d Elem:%d\n", dep->uuid, dep->elem_id);
        if (!passes_feature_filter(*current_) || !passes_view_filter(*current_)) return kGoOn;

        const bool spreads = (current_->property & QARN_PROP_INTF) != 0 && (current_->property & QARN_PROP_DUMMY) == 0;
        if (const qarn_merge_val *entry = qarn_merge_value_get(dep->uuid, dep->elem_id)) {
            reach_dependency(entry->elem, spreads);
            return kGoOn;
        }
        return spreads ? add_placeholder(*dep) : kGoOn;
    }

    // What an interface element depends on is ordered among the interface elements.
    void reach_dependency(qarn_elem *target, bool spreads) {
        if (spreads) target->property |= QARN_PROP_INTF;
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("Dependent UUID:%d Elem:%d present. setting property %d\n", target->uuid, target->elem_id,
                              target->property);
            print_current_element();
        }
        store(target);
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
        return kGoOn;
    }

    void print_current_element() const {
        csm_qarn_sp_print("Element  UUID:%d Elem:%d property %d\n", current_->uuid, current_->elem_id,
                          current_->property);
    }

    Verdict append_text(const Tlv &tlv) {
        const std::optional<Text> text = reader_.text(tlv);
        if (!text) return kEnd;
        if (debugging(QARN_DEBUG_DECODE)) csm_qarn_sp_print("Str:%s\n", text->chars);
        if (current_ != nullptr) {
            g_string_append_len(current_->cfg_str, text->chars, static_cast<gssize>(text->length));
        }
        return kGoOn;
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
        if (!if_index || current_ == nullptr) return kGoOn;
        switch (current_->val_type) {
            case QARN_VAL_COMMAND:
                return add_interface_command(std::move(if_index), *operand);
            case QARN_VAL_TEXT:
                return add_interface_text(std::move(if_index), *operand);
            default:
                return kGoOn;
        }
    }

    // An index that is there already keeps its key and takes the new value.
    void insert_interface_value(Malloced<uint32_t> if_index, void *value) {
        ++count_;
        if (g_hash_table_insert(current_->ifindex_table, if_index.get(), value)) static_cast<void>(if_index.release());
    }

    Verdict add_interface_text(Malloced<uint32_t> if_index, const Tlv &operand) {
        const std::optional<Text> text = reader_.text(operand);
        if (!text) return kEnd;
        GString *value = new_string(operand, *text);
        if (debugging(QARN_DEBUG_INTERFACE)) csm_qarn_sp_print("Ifindex:%x Str:%s\n", *if_index, value->str);
        insert_interface_value(std::move(if_index), value);
        return kGoOn;
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
        if (debugging(QARN_DEBUG_PRINT) && !display_interface_command(operand.value)) return kGoOn;
        insert_interface_value(std::move(if_index), copy.release() + QARN_CMD_PREFIX_SIZE);
        return kGoOn;
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
        if (!debugging(QARN_DEBUG_PRINT) || debug_element_ == nullptr) return kGoOn;
        if (!has_valid_length(tlv)) return report_bad_message();
        unsigned char *copy = copy_message(tlv.value).release();
        if (copy == nullptr) return QARN_STATUS_NO_MEMORY;
        debug_element_->dbg_cmd_buf = copy;
        set_up_render_handle(copy);
        debug_element_->val_type = QARN_VAL_COMMAND;
        csm_qarn_sp_print("(qarn_parse_tlv) QARN_TLV_TAG_TLV\n");
        cmd_show_run_opt_cr(copy, 4);
        sr_cmds_cleanup();
        return kGoOn;
    }

    // A key that is there already keeps its copy of the name and takes the new value.
    static void insert_by_name(GHashTable *table, const Text &name, void *value) {
        char *copy = g_strndup(name.chars, name.length);
        if (!g_hash_table_insert(table, copy, value)) g_free(copy);
    }

    Verdict add_key_string(const Tlv &tlv) {
        const std::optional<Text> name = reader_.text(tlv);
        if (!name) return kEnd;
        const std::optional<Tlv> operand = reader_.next();
        if (!operand) return kEnd;
        const std::optional<Text> text = reader_.text(*operand);
        if (!text) return kEnd;
        String value(new_string(*operand, *text));
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("(QARN_TLV_TAG_KEY_STR) Str:%s Len:%d\n", value->str, static_cast<int>(value->len));
        }
        if (current_ == nullptr) return kGoOn;
        ++count_;
        insert_by_name(current_->keystr_table, *name, value.release());
        return kGoOn;
    }

    Verdict add_key(const Tlv &tlv) {
        const std::optional<Tlv> map_operand = reader_.next();
        if (!map_operand) return kEnd;
        const std::optional<Text> map = reader_.text(*map_operand);
        if (!map) return kEnd;
        String key_map(new_string(*map_operand, *map));
        if (debugging(QARN_DEBUG_DECODE)) {
            csm_qarn_sp_print("(QARN_TLV_TAG_KEY) Val:%s Len %d\n", key_map->str, static_cast<int>(key_map->len));
        }
        const std::optional<Tlv> name_operand = reader_.next();
        if (!name_operand) return kEnd;
        count_ += 2;
        const std::optional<Text> name = reader_.text(*name_operand);
        if (!name) return kEnd;
        if (!tlv.has_words(1) || current_ == nullptr) return kGoOn;
        auto key = allocate<qarn_key_val>();
        if (!key) return QARN_STATUS_NO_MEMORY;
        if (merged_ && current_->uuid == QARN_UUID_KEYS_ONCE) {
            if (debugging(QARN_DEBUG_DECODE)) csm_qarn_sp_print("skipping key from uuid %d\n", current_->uuid);
            return kGoOn;
        }
        *key = {tlv.word(0), key_map.release()};
        insert_by_name(current_->key_table, *name, key.release());
        return kGoOn;
    }

    TlvReader reader_;
    GHashTable *table_;
    qarn_elem *current_ = nullptr;
    qarn_elem *debug_element_ = nullptr; // never stored; made for the debug display only
    bool merged_ = false;                // the current element was in the store before
    bool lost_element_ = false;          // a tag 0 was too short to name its element
    int64_t count_ = 0;                  // TLVs seen, and follow-ups as far as the announced number includes them
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
