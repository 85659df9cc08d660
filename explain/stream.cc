#include "explain/stream.h"

#include <qarncli/element.h>
#include <qarncli/tlv_decode.h>

#include <algorithm>
#include <cstring>

namespace explain {
namespace {

constexpr std::size_t kArrayAt = 4, kFirstTlvAt = 12, kHeaderSize = 8;

uint32_t word_at(std::string_view bytes, std::size_t at) {
    uint32_t word = 0;
    std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

struct Tlv {
    uint32_t tag;
    std::size_t at;
    std::string_view value;
    bool has_words(std::size_t count) const { return value.size() >= count * sizeof(uint32_t); }
    uint32_t word(std::size_t i) const { return word_at(value, i * sizeof(uint32_t)); }
};

class Reader {
  public:
    Reader(std::string_view reply, StreamSink &sink) : reply_(reply), sink_(sink) {}

    StreamHeader read() {
        if (!read_header()) return header_;
        while (header_.counted < header_.announced) {
            const auto tlv = next();
            if (!tlv || !take(*tlv)) break;
        }
        check_count();
        return header_;
    }

  private:
    void fault(std::size_t at, std::string what) { sink_.fault({at, std::move(what)}); }
    void stray_fault(std::size_t at, std::string what) { sink_.fault({at, std::move(what), true}); }

    // Whether there are TLVs to read.
    bool read_header() {
        if (reply_.size() < kArrayAt) return end_at(0, "the reply has no status word");
        header_.status = word_at(reply_, 0);
        if (header_.status != 0) return false;
        if (reply_.size() < kFirstTlvAt) return end_at(reply_.size(), "the reply ends before its first TLV");
        header_.announced = word_at(reply_, kArrayAt);
        set_end(word_at(reply_, kArrayAt + sizeof(uint32_t)));
        return true;
    }

    void set_end(uint32_t size) {
        end_ = kArrayAt + std::size_t{size};
        if (end_ != reply_.size())
            fault(kArrayAt + sizeof(uint32_t), "the array has " + std::to_string(size) + " bytes by its size, and " +
                                                   std::to_string(reply_.size() - kArrayAt) + " in the reply");
        end_ = std::min(end_, reply_.size());
    }

    void check_count() {
        if (header_.counted != header_.announced && !has_ended_early_)
            stray_fault(next_, "the array announces " + std::to_string(header_.announced) + " TLVs and has " +
                                   std::to_string(header_.counted));
        if (header_.counted >= header_.announced && next_ < end_)
            stray_fault(next_, "TLVs after the " + std::to_string(header_.announced) + " that the array announces");
    }

    bool pass_over(const Tlv &tlv, std::string what) {
        fault(tlv.at, std::move(what));
        return true;
    }

    bool end_at(std::size_t at, std::string what) {
        fault(at, std::move(what));
        has_ended_early_ = true;
        return false;
    }

    std::optional<Tlv> next() {
        if (next_ + kHeaderSize > end_) return {};
        Tlv tlv = {.tag = word_at(reply_, next_), .at = next_, .value = {}};
        const std::size_t length = word_at(reply_, next_ + sizeof(uint32_t)), begin = next_ + kHeaderSize;
        if (length > end_ - begin) {
            end_at(next_, "the value of a TLV with tag " + std::to_string(tlv.tag) + " has " + std::to_string(length) +
                              " bytes and leaves the reply");
            return {};
        }
        tlv.value = reply_.substr(begin, length);
        next_ = std::min(begin + (length + 3) / 4 * 4, end_);
        ++header_.counted;
        return tlv;
    }

    // A text ends with its zero byte.
    std::optional<std::string_view> text_in(const Tlv &tlv) {
        const std::size_t zero = tlv.value.find('\0');
        if (zero != std::string_view::npos) {
            if (zero + 1 != tlv.value.size()) fault(tlv.at, "a text has bytes after its zero byte");
            return tlv.value.substr(0, zero);
        }
        if (tlv.value.empty()) {
            fault(tlv.at, "a TLV that should be a text has no value");
            return tlv.value;
        }
        const auto begin = static_cast<std::size_t>(tlv.value.data() - reply_.data());
        const std::size_t later = reply_.find('\0', begin);
        if (later == std::string_view::npos) {
            end_at(tlv.at, "a text has no zero byte");
            return {};
        }
        fault(tlv.at, "a text has no zero byte in its TLV");
        return reply_.substr(begin, later - begin);
    }

    bool miss_follow_up(const Tlv &owner) {
        if (!has_ended_early_) end_at(owner.at, "a TLV has no follow-up");
        return false;
    }

    std::optional<std::string_view> next_text(const Tlv &owner) {
        const auto tlv = next();
        if (tlv) return text_in(*tlv);
        miss_follow_up(owner);
        return {};
    }

    void add(Item item) {
        item.is_stray = !val_type_;
        if (item.is_stray) stray_fault(item.at, "a TLV belongs to no element");
        sink_.item(item);
    }

    bool take(const Tlv &tlv) {
        switch (tlv.tag) {
            case QARN_TLV_TAG_ELEM_INFO:
                return open(tlv);
            case QARN_TLV_TAG_DEPENDENCY:
                return take_dependency(tlv);
            case QARN_TLV_TAG_STR:
                return take_text(tlv);
            case QARN_TLV_TAG_IFINDEX_STR:
                return take_interface_value(tlv);
            case QARN_TLV_TAG_TLV:
                add({.kind = Item::Kind::kCommand, .at = tlv.at, .text = tlv.value});
                return true;
            case QARN_TLV_TAG_KEY_STR:
                return take_key_string(tlv);
            case QARN_TLV_TAG_KEY:
                return take_key(tlv);
            default:
                fault(tlv.at, "the tag " + std::to_string(tlv.tag) + " is unknown");
                add({.kind = Item::Kind::kUnknown, .at = tlv.at, .index = tlv.tag, .text = tlv.value});
                return true;
        }
    }

    bool open(const Tlv &tlv) {
        val_type_.reset();
        if (!tlv.has_words(5)) {
            stray_fault(tlv.at, "an element has fewer than five words");
            return true;
        }
        val_type_ = tlv.word(4);
        sink_.element({tlv.word(0), tlv.word(1), tlv.word(2), tlv.word(3), tlv.word(4), tlv.at});
        return true;
    }

    bool take_dependency(const Tlv &tlv) {
        if (!tlv.has_words(3)) return pass_over(tlv, "a dependency has fewer than three words");
        const uint32_t type = tlv.word(2);
        const auto kind = type == QARN_DEP_ORDER         ? Item::Kind::kAfter
                          : type == QARN_DEP_CONDITIONAL ? Item::Kind::kOnlyIf
                                                         : Item::Kind::kOtherDependency;
        add({.kind = kind, .at = tlv.at, .uuid = tlv.word(0), .id = tlv.word(1), .index = type});
        return true;
    }

    bool take_text(const Tlv &tlv) {
        const auto text = text_in(tlv);
        if (text) add({.kind = Item::Kind::kText, .at = tlv.at, .text = *text});
        return text.has_value();
    }

    bool take_interface_value(const Tlv &tlv) {
        const bool is_command = val_type_ == uint32_t{QARN_VAL_COMMAND};
        const auto operand = next();
        if (!operand) return miss_follow_up(tlv);
        if (!tlv.has_words(1)) return pass_over(tlv, "an interface value has no index");
        const auto value = is_command ? std::optional(operand->value) : text_in(*operand);
        if (!value) return false;
        add({.kind = is_command ? Item::Kind::kInterfaceCommand : Item::Kind::kInterfaceText,
             .at = tlv.at,
             .index = tlv.word(0),
             .text = *value});
        return true;
    }

    bool take_key_string(const Tlv &tlv) {
        const auto name = text_in(tlv);
        const auto text = name ? next_text(tlv) : std::nullopt;
        if (text) add({.kind = Item::Kind::kKeyString, .at = tlv.at, .name = *name, .text = *text});
        return text.has_value();
    }

    bool take_key(const Tlv &tlv) {
        const auto map = next_text(tlv);
        const auto name = map ? next_text(tlv) : std::nullopt;
        if (!name) return false;
        if (!tlv.has_words(1)) return pass_over(tlv, "a key has no index");
        add({.kind = Item::Kind::kKey, .at = tlv.at, .index = tlv.word(0), .name = *name, .text = *map});
        return true;
    }

    std::string_view reply_;
    std::size_t next_ = kFirstTlvAt, end_ = 0;
    std::optional<uint32_t> val_type_; // of the current element; none: there is no element
    bool has_ended_early_ = false;
    StreamHeader header_;
    StreamSink &sink_;
};

} // namespace

Key key_of(uint32_t uuid, uint32_t id) {
    return {static_cast<uint16_t>(uuid), static_cast<uint16_t>(id)};
}

std::string text_of(Key key) {
    std::string text = "(";
    return text.append(std::to_string(key.uuid)).append(",").append(std::to_string(key.id)).append(")");
}

StreamHeader read_stream(std::string_view reply, StreamSink &sink) {
    return Reader(reply, sink).read();
}

} // namespace explain
