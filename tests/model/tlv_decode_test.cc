// What services say about their elements, well formed and not, and what the element store holds afterwards. Replies are
// written as text: "40.7 3 4; after 40.2; text T1; if 257 T2; string K V; key 9 map name" is an element of level 3 and
// property 4 (a further number is its kind of values) with what follows it. The store is compared as text too.
#include <cstring>
#include <set>
#include <sstream>
#include <tuple>

#include "platform/cfglib.h"
#include "platform/cmdshell.h"
#include "sim/cmdshell.h"
#include "support/story.h"

namespace {

using sim::Bytes;
using sim::command_message;
using test::Story;
using test::Tlv;

Tlv said(const std::string &description) {
    Tlv tlv;
    std::istringstream items(description);
    for (std::string item; std::getline(items, item, ';');) {
        std::istringstream words(item);
        std::string what, a, b;
        char dot = 0;
        uint32_t n[5] = {};
        words >> what;
        if (std::isdigit(what[0]) != 0) {
            std::istringstream(what) >> n[0] >> dot >> n[1];
            words >> n[2] >> n[3] >> n[4];
            tlv.element({n[0], n[1], n[2], n[3], n[4]});
        } else if (what == "after" || what == "cond") {
            words >> n[0] >> dot >> n[1];
            tlv.after(n[0], n[1], what == "cond" ? QARN_DEP_CONDITIONAL : QARN_DEP_ORDER);
        } else if (what == "text" || what == "string" || what == "own") {
            words >> a >> b;
            what == "text" ? tlv.text(a) : what == "own" ? tlv.command(command_message(a)) : tlv.key_string(a, b);
        } else if (what == "if" || what == "cmd" || what == "key") {
            words >> n[0] >> a >> b;
            what == "if"    ? tlv.intf_text(n[0], a)
            : what == "cmd" ? tlv.intf_command(n[0], command_message(a))
                            : tlv.key(n[0], a, b);
        }
    }
    return tlv;
}

std::string entries(GHashTable *table, const std::function<std::string(void *, void *)> &describe) {
    std::set<std::string> sorted;
    GHashTableIter iter;
    void *key = nullptr, *value = nullptr;
    g_hash_table_iter_init(&iter, table);
    while (g_hash_table_iter_next(&iter, &key, &value))
        sorted.insert(describe(key, value));
    std::string joined;
    for (const std::string &entry : sorted)
        joined += entry;
    return joined;
}

const char *chars(void *text) {
    return static_cast<GString *>(text)->str;
}

std::string describe(const qarn_elem &elem) {
    std::ostringstream text;
    text << elem.uuid << '.' << elem.elem_id << ' ' << elem.level << ' ' << elem.property << ';';
    if (elem.cfg_str->len > 0) text << ' ' << elem.cfg_str->str;
    text << entries(elem.ifindex_table, [&](void *key, void *value) {
        const bool is_command = elem.val_type == QARN_VAL_COMMAND;
        return " if" + std::to_string(*static_cast<uint32_t *>(key)) +
               (is_command ? std::string(":") + (static_cast<char *>(value) + QARN_CMD_HEADER_SIZE)
                           : std::string("=") + chars(value));
    });
    text << entries(elem.key_table, [](void *key, void *value) {
        const auto &key_val = *static_cast<qarn_key_val *>(value);
        return std::string(" ") + static_cast<char *>(key) + "=" + std::to_string(key_val.ifindex) + "/" +
               key_val.val_str->str;
    });
    text << entries(elem.keystr_table, [](void *key, void *value) {
        return std::string(" ") + static_cast<char *>(key) + "=" + chars(value);
    });
    for (const qarn_elem_dependency *dep = elem.dep_list; dep != nullptr; dep = dep->next)
        text << (dep->dep_type == QARN_DEP_CONDITIONAL ? " cond " : " after ") << dep->uuid << '.' << dep->elem_id;
    return text.str() + "\n";
}

std::string stored() {
    return entries(merge_elem_table_p,
                   [](void *, void *value) { return describe(*static_cast<qarn_merge_val *>(value)->elem); });
}

class Decoding : public Story {
  protected:
    Decoding() { test::start_generation(&req); }

    uint32_t decode(const Tlv &tlv) {
        const Bytes array = tlv.array();
        watch([&] { status = qarn_parse_tlv(array.data(), merge_elem_table_p); });
        return status;
    }
    uint32_t decode(const char *description) { return decode(said(description)); }
    // Two replies into an empty store.
    std::string stored_after(const char *first, const char *second) {
        test::start_generation(&req);
        EXPECT_EQ(decode(first) + decode(second), 0u);
        return stored();
    }
};

TEST_F(Decoding, KeepsTheElementsOfTheFeature) {
    sim::set_feature_row(16, {{5, 1}, {6, 0}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {7, 2}});
    const std::string all = "5.1 0 0;\n5.2 0 0;\n6.1 0 0;\n6.2 0 0;\n7.1 0 0;\n7.2 0 0;\n";
    const std::tuple<const char *, int32_t, uint32_t, std::string> cases[] = {
        {"elements, a service, the tenth pair", 1, 16, "5.1 0 0;\n6.1 0 0;\n6.2 0 0;\n7.2 0 0;\n"},
        {"no row", 1, 0, all},
        {"no feature", 0, 16, all},
        {"a row past the table", 1, 17, ""},
    };
    for (const auto &[what, feature, row, shown] : cases) {
        qarn_feature = feature;
        ftbl_index = row;
        EXPECT_EQ(stored_after("5.1; 5.2; 6.1; 6.2; 7.1; 7.2", ""), shown) << what;
    }
    ftbl_index = 16;
    EXPECT_EQ(stored_after("5.1 0 4; after 9.2", "9.2 0 4; after 9.3"), "5.1 0 4; after 9.2\n")
        << "a placeholder goes even when its element is not shown";
}

TEST_F(Decoding, StopsAfterTheAnnouncedNumber) {
    const std::tuple<const char *, const char *, uint32_t, const char *> cases[] = {
        {"nothing", "5.0", 0, ""},
        {"fewer", "5.0; text a; text b", 2, "5.0 0 0; a\n"},
        {"a stored interface text is two", "5.0; if 1 x; text a", 3, "5.0 0 0; if1=x\n"},
        {"one that is not stored is one", "5.0 0 0 2; if 1 x; text a", 3, "5.0 0 0; a\n"},
        {"a stored key string is two", "5.0; string k v; text a", 3, "5.0 0 0; k=v\n"},
        {"a key is three", "5.0; key 1 m k; text a", 4, "5.0 0 0; k=1/m\n"},
    };
    for (const auto &[what, said_text, announced, in_store] : cases) {
        test::start_generation(&req);
        EXPECT_EQ(decode(sim::announce(said(said_text), announced)), 0u) << what;
        EXPECT_EQ(stored(), in_store) << what;
    }
}

TEST_F(Decoding, PassesOverWhatHasNoElementOrTooFewWords) {
    Tlv tlv = said("after 1.1; text x; if 1 x; string k v; key 1 m k; own x; 5.0; text a");
    tlv.words(1, {1, 1}).raw(1, "").raw(2, "").raw(3, "abc").text("x").raw(7, "abc");
    tlv.text("x").text("x").text("b").words(3, {7}).raw(2, "");
    EXPECT_EQ(decode(tlv), 0u);
    for (const uint32_t tag : {3u, 6u, 7u})
        EXPECT_EQ(decode(said("5.0").words(tag, {1})), 0u) << "no follow-up, tag " << tag;
    EXPECT_EQ(decode(said("5.0").words(7, {1}).text("m")), 0u);
    EXPECT_EQ(stored(), "5.0 0 0; ab if7=\n");
}

TEST_F(Decoding, EndsAtACommandMessageThatIsNone) {
    const auto with_length = [](uint32_t length) {
        Bytes message = command_message("shut");
        std::memcpy(message.data() + QARN_CMD_LENGTH_AT, &length, sizeof length);
        return message;
    };
    constexpr char kNoPayload[] = "ERROR: qarn_parse_tlv: no payload\n",
                   kBad[] = "ERROR: qarn_parse_tlv: bad message\n";
    const std::tuple<const char *, Bytes, uint32_t, const char *> cases[] = {
        {"good", command_message("shut"), 0, ""},
        {"of the other byte order", command_message("shut", QARN_CMD_STAMP_SWAPPED), 0, ""},
        {"no payload", "", QARN_STATUS_NO_PAYLOAD, kNoPayload},
        {"wrong stamp", command_message("x", 0x1abce), QARN_STATUS_BAD_MESSAGE, kBad},
        {"no room for a stamp", Bytes(63, 'x'), QARN_STATUS_BAD_MESSAGE, kBad},
        {"shorter than its header", with_length(63), QARN_STATUS_BAD_MESSAGE, kBad},
        {"longer than its TLV", with_length(70), QARN_STATUS_BAD_MESSAGE, kBad},
        {"wraps around", with_length(0xfffffff0), QARN_STATUS_BAD_MESSAGE, kBad},
    };
    for (const auto &[what, message, wanted_status, expected] : cases) {
        test::start_generation(&req);
        EXPECT_EQ(decode(said("5.0 0 0 1; text a").intf_command(1, message).text("b")), wanted_status) << what;
        EXPECT_EQ(text, expected) << what;
        EXPECT_EQ(stored(), wanted_status == 0 ? "5.0 0 0; ab if1:shut\n" : "5.0 0 0; a\n") << what;
    }
}

TEST_F(Decoding, ShowsCommandMessagesUnderTheirDebugBit) {
    debug = QARN_DEBUG_PRINT;
    EXPECT_EQ(decode("5.0 0 0 1; cmd 1 shut; text a"), 0u);
    EXPECT_EQ(text, "(qarn_parse_tlv) QARN_TLV_TAG_IFINDEX_STR\nshut\n");
    EXPECT_EQ(stored(), "5.0 0 0; a if1:shut\n");
    EXPECT_EQ(stored_after("", "5.0; own vlan10; text a"), "5.0 0 0; a\n");
    EXPECT_EQ(text, "(qarn_parse_tlv) QARN_TLV_TAG_TLV\n");
    EXPECT_STREQ(g_clistr->str, "vlan10");
}

TEST_F(Decoding, LeavesOutCommandMessagesThatItCannotShow) {
    constexpr char kCommand[] = "5.0 0 0 1; cmd 1 shut; text a", kTag[] = "(qarn_parse_tlv) QARN_TLV_TAG_IFINDEX_STR\n";
    debug = QARN_DEBUG_PRINT;
    test::FailingMalloc memory;
    memory.fail_nth(2, QARN_CMD_PREFIX_SIZE + command_message("shut").size()); // the first is the element's own
    EXPECT_EQ(stored_after("", kCommand), "5.0 0 0; a\n");
    EXPECT_EQ(text, std::string(kTag) + "Qarn (qarn_parse_tlv) Malloc failed\n");
    sw.next("qarn_elem_info_create", {.after = 1});
    EXPECT_EQ(stored_after("", kCommand), "5.0 0 0; a\n");
    EXPECT_EQ(text, std::string(kTag) + "(qarn_parse_tlv) Null debug_element_info_p\n");
}

TEST_F(Decoding, EndsWithoutMemoryForWhatItKeeps) {
    const struct {
        const char *said_text;
        std::size_t size;
        int nth;
    } cases[] = {
        {.said_text = "5.0; text a; if 1 x; text b", .size = sizeof(uint32_t), .nth = 2}, // the first is the store's
        {.said_text = "5.0 0 0 1; text a; cmd 1 x; text b",
         .size = QARN_CMD_PREFIX_SIZE + command_message("x").size(),
         .nth = 1},
        {.said_text = "5.0; text a; key 1 m k; text b", .size = sizeof(qarn_key_val), .nth = 2},
    };
    for (const auto &c : cases) {
        test::FailingMalloc memory;
        test::start_generation(&req);
        memory.fail_nth(c.nth, c.size);
        EXPECT_EQ(decode(c.said_text), QARN_STATUS_NO_MEMORY + 0u) << c.said_text;
        EXPECT_EQ(stored(), "5.0 0 0; a\n") << c.said_text;
    }
    for (const char *creation : {"qarn_elem_info_create", "qarn_elem_dependency_create"}) {
        sw.next(creation, {});
        EXPECT_EQ(decode("6.0; after 1.1"), QARN_STATUS_NO_MEMORY + 0u) << creation;
    }
}

// Two services answer one command: one of them breaks the format, the other's configuration must be whole.
class BrokenReply : public Story {
  protected:
    BrokenReply() {
        add_interface(1, "Ethernet1/1", 1);
        auto &good = sw.service("good", 20, 11);
        good.element(1, 3).text = "good\n";
        good.element(2, 0, QARN_PROP_INTF).intf_texts = {{1, "  fine\n"}};
        sw.service("block", 21, 223).element(1, 4);
        sw.service("broken", 22, 500).script = [this](const qarn_cfg_req_msg &) { return reply; };
    }
    bool leaves_the_other_whole(const Bytes &bytes) {
        reply = bytes;
        run();
        return text.find("\ngood\n") != std::string::npos && text.find("\n  fine\n") != std::string::npos;
    }

    Bytes reply;
    // Everything that a reply can say.
    const Bytes rich = said(
                           "500.1 3 4; after 500.2; text rich; if 1 rich; string s x; key 9 map name; 500.2 3 4 1;"
                           "cmd 1 command; own own; text end")
                           .reply();
};

TEST_F(BrokenReply, GivesWhatCameBeforeTheBreach) {
    const Tlv kept = said("500.0 3; text kept").raw(99, "an unknown tag");
    const Bytes huge_command = command_message("x").replace(QARN_CMD_LENGTH_AT, 4, "\xff\xff\xff\x7f");
    const std::pair<const char *, Tlv> cases[] = {
        {"whole", kept},
        {"fewer announced than there are", sim::announce(Tlv(kept).text("lost\n"), 2)},
        {"text without an end", Tlv(kept).raw(2, "noend...")},
        {"element without its last word", Tlv(kept).words(0, {500, 1, 3, 0}).text("lost\n").text("lost\n")},
        {"value past the reply", sim::announce_size(sim::lie(kept, 2, 400, "x"), 500)},
        {"length that wraps around", sim::announce_size(sim::lie(kept, 2, 0xfffffffc, "x"), ~0u)},
        {"text of half the memory", sim::announce_size(sim::lie(Tlv(kept).words(3, {1}), 2, 0x7ffffff0, "x"), ~0u)},
        {"key string name without an end", Tlv(kept).raw(6, "noend...")},
        {"key name without an end", Tlv(kept).words(7, {1}).text("map").raw(2, "noend...")},
        {"follow-up past the reply", sim::announce_size(Tlv(kept).words(3, {1}), 500)},
        {"command past the reply", Tlv(kept).words(0, {500, 2, 0, 4, 1}).intf_command(1, huge_command)},
    };
    for (const auto &[what, tlv] : cases) {
        EXPECT_TRUE(leaves_the_other_whole(tlv.reply())) << what << text;
        EXPECT_NE(text.find("\ngood\nkept\n\n\ninterface Ethernet1/1\n  fine\n\n"), std::string::npos) << what << text;
        const bool is_incomplete = errors.starts_with("The configuration of Sap 22 is incomplete: it ");
        EXPECT_EQ(is_incomplete, tlv.count() != kept.count()) << what << errors;
    }
}

TEST_F(BrokenReply, IsNotOneThatEndsInAnEmptyTlv) {
    EXPECT_TRUE(leaves_the_other_whole(said("500.0 3; text kept").raw(QARN_TLV_TAG_STR, "").reply()));
    EXPECT_EQ(errors, "");
    EXPECT_TRUE(leaves_the_other_whole(said("500.0 3").words(QARN_TLV_TAG_IFINDEX_STR, {1}).raw(0, "").reply()));
    EXPECT_EQ(errors, "") << "nor one whose last follow-up is empty";
}

TEST_F(BrokenReply, LeavesTheOthersWholeWhereverItIsCut) {
    for (req.dbg_mask = 0; req.dbg_mask <= QARN_DEBUG_PRINT; req.dbg_mask += QARN_DEBUG_PRINT) {
        for (std::size_t size = 0; size <= rich.size(); ++size)
            ASSERT_TRUE(leaves_the_other_whole(rich.substr(0, size))) << size << text;
        EXPECT_NE(text.find("rich\n"), std::string::npos) << "the last one was whole" << text;
    }
}

} // namespace
