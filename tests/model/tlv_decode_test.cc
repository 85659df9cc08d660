// What services say about their elements, well formed and not, and what the element store holds afterwards. The store
// is compared as text: "uuid.element Llevel Pproperty 'own text'", then texts per interface, keys, key strings and
// dependencies.
#include <cstring>
#include <set>

#include "platform/cfglib.h"
#include "platform/cmdshell.h"
#include "support/story.h"

namespace {

using sim::Bytes;
using sim::command_message;
using test::Story;
using test::Tlv;

std::string entries(GHashTable *table, const std::function<std::string(void *, void *)> &describe) {
    std::set<std::string> sorted;
    GHashTableIter iter;
    void *key, *value;
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
    std::string text = std::to_string(elem.uuid) + "." + std::to_string(elem.elem_id) + " L" +
                       std::to_string(elem.level) + " P" + std::to_string(elem.property) + " '" + elem.cfg_str->str +
                       "'";
    text += entries(elem.ifindex_table, [&](void *key, void *value) {
        const bool is_command = elem.val_type == QARN_VAL_COMMAND;
        return " if" + std::to_string(*static_cast<std::uint32_t *>(key)) + (is_command ? ":cmd=" : "=") +
               (is_command ? static_cast<char *>(value) + QARN_CMD_HEADER_SIZE : chars(value));
    });
    text += entries(elem.key_table, [](void *key, void *value) {
        const auto &key_val = *static_cast<qarn_key_val *>(value);
        return std::string(" key ") + static_cast<char *>(key) + "=" + std::to_string(key_val.ifindex) + "/" +
               key_val.val_str->str;
    });
    text += entries(elem.keystr_table, [](void *key, void *value) {
        return std::string(" string ") + static_cast<char *>(key) + "=" + chars(value);
    });
    for (const qarn_elem_dependency *dep = elem.dep_list; dep != nullptr; dep = dep->next) {
        text += (dep->dep_type == QARN_DEP_CONDITIONAL ? " if-any " : " after ") + std::to_string(dep->uuid) + "." +
                std::to_string(dep->elem_id);
    }
    return text + "\n";
}

std::string stored() {
    return entries(merge_elem_table_p,
                   [](void *, void *value) { return describe(*static_cast<qarn_merge_val *>(value)->elem); });
}

class Decoding : public Story {
  protected:
    Decoding() { test::start_generation(&req); }

    std::uint32_t decode(const Tlv &tlv) {
        const Bytes array = tlv.array();
        watch([&] { status = qarn_parse_tlv(array.data(), merge_elem_table_p); });
        return status;
    }
};

TEST_F(Decoding, KeepsWhatEveryTagSays) {
    EXPECT_EQ(decode(Tlv()), 0u);
    EXPECT_EQ(stored(), "");
    EXPECT_EQ(decode(Tlv()
                         .element({.uuid = 40, .elem_id = 7, .level = 3, .property = 4})
                         .after(40, 2)
                         .text("T1")
                         .intf_text(257, "T2")
                         .key_string("K", "V")),
              0u);
    EXPECT_EQ(stored(), "40.2 L3 P20 ''\n40.7 L3 P4 'T1' if257=T2 string K=V after 40.2\n");

    EXPECT_EQ(decode(Tlv()
                         .element({.uuid = 50, .elem_id = 1})
                         .after(1, 2)
                         .after(3, 4, QARN_DEP_CONDITIONAL)
                         .text("one ")
                         .raw(4, "unknown")
                         .raw(8, "")
                         .raw(0xffffffff, "unknown")
                         .text("two")
                         .intf_text(1, "old")
                         .intf_text(1, "new")
                         .key(10, "map", "name")
                         .key(11, "", "name")
                         .key_string("name", "old")
                         .key_string("name", "")
                         .command("not looked at")
                         .element({.uuid = 50, .elem_id = 2, .val_type = QARN_VAL_COMMAND})
                         .intf_command(1, command_message("shut"))
                         .intf_command(2, command_message("mtu", QARN_CMD_STAMP_SWAPPED))
                         .element({.uuid = 50, .elem_id = 3, .val_type = 2})
                         .intf_text(1, "dropped")),
              0u);
    EXPECT_EQ(stored(),
              "40.2 L3 P20 ''\n40.7 L3 P4 'T1' if257=T2 string K=V after 40.2\n"
              "50.1 L0 P0 'one two' if1=new key name=11/ string name= if-any 3.4 after 1.2\n"
              "50.2 L0 P0 '' if1:cmd=shut if2:cmd=mtu\n50.3 L0 P0 ''\n");
    EXPECT_EQ(text, "");
}

TEST_F(Decoding, MergesAnElementThatIsSentAgain) {
    struct Case {
        const char *what;
        Tlv first, second;
        const char *stored;
    } const cases[] = {
        {"texts and dependencies of both, level and kind of the first",
         Tlv().element({.uuid = 5, .elem_id = 1, .level = 2}).text("a").after(1, 1).intf_text(1, "x"),
         Tlv().element({.uuid = 5, .elem_id = 1, .level = 9, .val_type = 2}).text("b").after(2, 2).intf_text(2, "y"),
         "5.1 L2 P0 'ab' if1=x if2=y after 2.2 after 1.1\n"},
        {"a property above 0 replaces", Tlv().element({.uuid = 5, .elem_id = 1, .property = 3}),
         Tlv().element({.uuid = 5, .elem_id = 1, .property = 0x20}), "5.1 L0 P32 ''\n"},
        {"property 0 does not", Tlv().element({.uuid = 5, .elem_id = 1, .property = 3}),
         Tlv().element({.uuid = 5, .elem_id = 1, .property = 0}), "5.1 L0 P3 ''\n"},
        {"a negative one does not", Tlv().element({.uuid = 5, .elem_id = 1, .property = 3}),
         Tlv().element({.uuid = 5, .elem_id = 1, .property = 0x80000004}), "5.1 L0 P3 ''\n"},
        {"keys of UUID 40 come once, its key strings always",
         Tlv().element({.uuid = 40, .elem_id = 1}).key(1, "m", "a").key_string("s", "1"),
         Tlv().element({.uuid = 40, .elem_id = 1}).key(2, "m", "a").key(3, "m", "b").key_string("t", "2"),
         "40.1 L0 P0 '' key a=1/m string s=1 string t=2\n"},
        {"keys of others merge", Tlv().element({.uuid = 41, .elem_id = 1}).key(1, "m", "a"),
         Tlv().element({.uuid = 41, .elem_id = 1}).key(2, "m", "a").key(3, "m", "b"),
         "41.1 L0 P0 '' key a=2/m key b=3/m\n"},
        {"a UUID that only ends like 40 is another service",
         Tlv().element({.uuid = 65576, .elem_id = 1}).key(1, "m", "a"),
         Tlv().element({.uuid = 65576, .elem_id = 1}).key(2, "m", "b"), "65576.1 L0 P0 '' key a=1/m key b=2/m\n"},
        {"identity is the low 16 bits", Tlv().element({.uuid = 5, .elem_id = 1}).text("a"),
         Tlv().element({.uuid = 65541, .elem_id = 65537}).text("b"), "5.1 L0 P0 'ab'\n"},
        {"within one reply too", Tlv(),
         Tlv()
             .element({.uuid = 5, .elem_id = 1})
             .text("a")
             .element({.uuid = 6})
             .element({.uuid = 5, .elem_id = 1})
             .text("b"),
         "5.1 L0 P0 'ab'\n6.0 L0 P0 ''\n"},
    };
    for (const Case &c : cases) {
        test::start_generation(&req);
        EXPECT_EQ(decode(c.first), 0u) << c.what;
        EXPECT_EQ(decode(c.second), 0u) << c.what;
        EXPECT_EQ(stored(), c.stored) << c.what;
    }
}

TEST_F(Decoding, SpreadsTheInterfaceBitAndHoldsPlacesForElementsToCome) {
    const Tlv target = Tlv().element({.uuid = 9, .elem_id = 2, .level = 1, .property = 1});
    const auto dependent = [](std::uint32_t property, std::uint32_t dep_type = QARN_DEP_ORDER) {
        return Tlv().element({.uuid = 5, .elem_id = 1, .level = 3, .property = property}).after(9, 2, dep_type);
    };
    struct Case {
        const char *what;
        Tlv first, second;
        const char *stored;
    } const cases[] = {
        {"a placeholder", Tlv(), dependent(4), "5.1 L3 P4 '' after 9.2\n9.2 L3 P20 ''\n"},
        {"gives way to the element", dependent(4), target, "5.1 L3 P4 '' after 9.2\n9.2 L1 P5 ''\n"},
        {"for a condition too", Tlv(), dependent(4, QARN_DEP_CONDITIONAL), "5.1 L3 P4 '' if-any 9.2\n9.2 L3 P20 ''\n"},
        {"none for an ordinary element", Tlv(), dependent(1), "5.1 L3 P1 '' after 9.2\n"},
        {"none for one that calls itself a placeholder", Tlv(), dependent(0x14), "5.1 L3 P20 '' after 9.2\n"},
        {"the bit on what is there", target, dependent(4), "5.1 L3 P4 '' after 9.2\n9.2 L1 P5 ''\n"},
        {"no bit from an ordinary element", target, dependent(1), "5.1 L3 P1 '' after 9.2\n9.2 L1 P1 ''\n"},
    };
    for (const Case &c : cases) {
        test::start_generation(&req);
        decode(c.first);
        EXPECT_EQ(decode(c.second), 0u) << c.what;
        EXPECT_EQ(stored(), c.stored) << c.what;
    }
    qarn_merge_value_get(9, 2)->vertex = reinterpret_cast<vertex *>(&req);
    decode(dependent(1));
    EXPECT_EQ(qarn_merge_value_get(9, 2)->vertex, nullptr) << "the entry is made anew";
}

TEST_F(Decoding, KeepsTheElementsOfTheView) {
    const std::uint32_t properties[] = {0, 1, 2, 0x20, 0x40, 0x80};
    const std::map<std::uint32_t, std::string> kept = {{1, "1"},  {2, "2"},     {7, "3"},     {8, "4"},
                                                       {10, "5"}, {9, "01235"}, {11, "01234"}};
    for (const std::uint32_t display : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 13u, 16u, 0xffffffffu}) {
        test::start_generation(&req);
        cfg_display = display;
        Tlv tlv;
        for (std::uint32_t i = 0; i < std::size(properties); ++i)
            tlv.element({.uuid = 5, .elem_id = i, .property = properties[i]});
        decode(tlv);
        std::string shown;
        for (std::uint32_t i = 0; i < std::size(properties); ++i)
            if (qarn_merge_value_get(5, i) != nullptr) shown += std::to_string(i);
        EXPECT_EQ(shown, kept.contains(display) ? kept.at(display) : "012345") << "cfg_display " << display;
    }
}

TEST_F(Decoding, TakesAnElementOutOfTheViewWhenItLeavesIt) {
    cfg_display = QARN_DISPLAY_NO_L2MP;
    decode(Tlv().element({.uuid = 5, .elem_id = 1, .property = 4}).text("a"));
    const qarn_elem *elem = qarn_merge_value_get(5, 1)->elem;
    EXPECT_EQ(decode(Tlv().element({.uuid = 5, .elem_id = 1, .property = 0x44}).text("b").after(9, 9)), 0u);
    EXPECT_EQ(stored(), "") << "no placeholder either";
    EXPECT_EQ(describe(*elem), "5.1 L0 P68 'ab' after 9.9\n");
}

TEST_F(Decoding, KeepsTheElementsOfTheFeature) {
    sim::set_feature_row(16, {{5, 1}, {6, 0}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {7, 2}});
    struct Case {
        const char *what;
        std::int32_t feature;
        std::uint32_t row;
        const char *shown;
    } const cases[] = {
        {"named elements, whole services, the tenth pair", 1, 16, "5.1 6.1 6.2 7.2 "},
        {"no row", 1, 0, "5.1 5.2 6.1 6.2 7.1 7.2 "},
        {"no feature", 0, 16, "5.1 5.2 6.1 6.2 7.1 7.2 "},
        {"an empty row", 1, 15, ""},
        {"a row behind the table", 1, 17, ""},
        {"far behind it", 1, 0xffffffff, ""},
    };
    for (const Case &c : cases) {
        test::start_generation(&req);
        qarn_feature = c.feature;
        ftbl_index = c.row;
        Tlv tlv;
        for (const std::uint32_t uuid : {5u, 6u, 7u})
            tlv.element({.uuid = uuid, .elem_id = 1}).element({.uuid = uuid, .elem_id = 2});
        EXPECT_EQ(decode(tlv), 0u) << c.what;
        const auto names = [](void *, void *value) {
            const qarn_elem &elem = *static_cast<qarn_merge_val *>(value)->elem;
            return std::to_string(elem.uuid) + "." + std::to_string(elem.elem_id) + " ";
        };
        EXPECT_EQ(entries(merge_elem_table_p, names), c.shown) << c.what;
    }
}

TEST_F(Decoding, DropsThePlaceholderOfAnElementThatTheFeatureDoesNotShow) {
    sim::set_feature_row(1, {{5, 1}});
    qarn_feature = 1;
    ftbl_index = 1;
    decode(Tlv().element({.uuid = 5, .elem_id = 1, .property = 4}).after(9, 2));
    EXPECT_EQ(stored(), "5.1 L0 P4 '' after 9.2\n9.2 L0 P20 ''\n");
    decode(Tlv().element({.uuid = 9, .elem_id = 2, .property = 4}).after(9, 3));
    EXPECT_EQ(stored(), "5.1 L0 P4 '' after 9.2\n");
}

TEST_F(Decoding, StopsBehindTheAnnouncedNumber) {
    const auto element = [](std::uint32_t val_type = 0) { return Tlv().element({.uuid = 5, .val_type = val_type}); };
    struct Case {
        const char *what;
        Tlv tlv;
        std::uint32_t announced;
        const char *stored;
    } const cases[] = {
        {"nothing", element(), 0, ""},
        {"less than nothing", element(), 0xffffffff, ""},
        {"more than there is", element().text("a"), 3, "5.0 L0 P0 'a'\n"},
        {"fewer", element().text("a").text("b"), 2, "5.0 L0 P0 'a'\n"},
        {"a stored interface text is two", element().intf_text(1, "x").text("a"), 3, "5.0 L0 P0 '' if1=x\n"},
        {"one that is not stored is one", element(2).intf_text(1, "x").text("a"), 3, "5.0 L0 P0 'a'\n"},
        {"a stored key string is two", element().key_string("k", "v").text("a"), 3, "5.0 L0 P0 '' string k=v\n"},
        {"one without an element is one", Tlv().key_string("k", "v").element({.uuid = 5}).text("a"), 3,
         "5.0 L0 P0 'a'\n"},
        {"a key is three", element().key(1, "m", "k").text("a"), 4, "5.0 L0 P0 '' key k=1/m\n"},
        {"also without an element", Tlv().key(1, "m", "k").element({.uuid = 5}).text("a"), 4, "5.0 L0 P0 ''\n"},
        {"a last entry may end beyond it", element().key(1, "m", "k"), 2, "5.0 L0 P0 '' key k=1/m\n"},
    };
    for (Case c : cases) {
        test::start_generation(&req);
        EXPECT_EQ(decode(c.tlv.announce(c.announced)), 0u) << c.what;
        EXPECT_EQ(stored(), c.stored) << c.what;
    }
}

TEST_F(Decoding, PassesOverWhatHasNoElementOrTooFewWords) {
    const Bytes short_word = "abc";
    EXPECT_EQ(decode(Tlv()
                         .after(1, 1)
                         .text("x")
                         .intf_text(1, "x")
                         .key_string("k", "v")
                         .key(1, "m", "k")
                         .command(command_message("x"))
                         .element({.uuid = 5})
                         .text("a")
                         .words(QARN_TLV_TAG_ELEM_INFO, {6, 6, 6, 6})
                         .words(QARN_TLV_TAG_DEPENDENCY, {1, 1})
                         .raw(QARN_TLV_TAG_DEPENDENCY, "")
                         .raw(QARN_TLV_TAG_STR, "")
                         .raw(QARN_TLV_TAG_IFINDEX_STR, short_word)
                         .text("follow-up")
                         .raw(QARN_TLV_TAG_KEY, short_word)
                         .text("follow-up")
                         .text("follow-up")
                         .text("b")
                         .words(QARN_TLV_TAG_IFINDEX_STR, {7})
                         .raw(QARN_TLV_TAG_STR, "")),
              0u);
    EXPECT_EQ(stored(), "5.0 L0 P0 'ab' if7=\n");
    for (const std::uint32_t tag : {QARN_TLV_TAG_IFINDEX_STR, QARN_TLV_TAG_KEY_STR, QARN_TLV_TAG_KEY})
        EXPECT_EQ(decode(Tlv().words(0, {5, 0, 0, 0, 0}).words(tag, {1})), 0u) << "no follow-up, tag " << tag;
    EXPECT_EQ(decode(Tlv().words(0, {5, 0, 0, 0, 0}).words(QARN_TLV_TAG_KEY, {1}).text("m")), 0u);
    EXPECT_EQ(stored(), "5.0 L0 P0 'ab' if7=\n");
}

TEST_F(Decoding, EndsAtACommandMessageThatIsNone) {
    const Bytes good = command_message("shut");
    const auto with_length = [&](std::uint32_t length) {
        Bytes message = good;
        std::memcpy(message.data() + QARN_CMD_LENGTH_AT, &length, sizeof length);
        return message;
    };
    constexpr char kNoPayload[] = "ERROR: qarn_parse_tlv: no payload\n",
                   kBad[] = "ERROR: qarn_parse_tlv: bad message\n";
    struct Case {
        const char *what;
        Bytes message;
        std::uint32_t status;
        const char *text, *stored;
    } const cases[] = {
        {"good", good, 0, "", "5.0 L0 P0 'ab' if1:cmd=shut\n"},
        {"no payload", "", QARN_STATUS_NO_PAYLOAD, kNoPayload, "5.0 L0 P0 'a'\n"},
        {"wrong stamp", command_message("x", 0x1abce), QARN_STATUS_BAD_MESSAGE, kBad, "5.0 L0 P0 'a'\n"},
        {"no room for a stamp", Bytes(63, 'x'), QARN_STATUS_BAD_MESSAGE, kBad, "5.0 L0 P0 'a'\n"},
        {"shorter than its header", with_length(63), QARN_STATUS_BAD_MESSAGE, kBad, "5.0 L0 P0 'a'\n"},
        {"longer than its TLV", with_length(70), QARN_STATUS_BAD_MESSAGE, kBad, "5.0 L0 P0 'a'\n"},
        {"wraps around", with_length(0xfffffff0), QARN_STATUS_BAD_MESSAGE, kBad, "5.0 L0 P0 'a'\n"},
    };
    for (const Case &c : cases) {
        test::start_generation(&req);
        EXPECT_EQ(decode(Tlv().element({.uuid = 5, .val_type = 1}).text("a").intf_command(1, c.message).text("b")),
                  c.status)
            << c.what;
        EXPECT_EQ(text, c.text) << c.what;
        EXPECT_EQ(stored(), c.stored) << c.what;
    }
    EXPECT_EQ(decode(Tlv().element({.uuid = 6}).command("").text("b")), QARN_STATUS_NO_PAYLOAD + 0u);
    EXPECT_EQ(text, kNoPayload);
    EXPECT_EQ(decode(Tlv().command("")), QARN_STATUS_NO_PAYLOAD + 0u) << "also before any element";
}

int creations;
qarn_elem *create_only_the_first(std::uint32_t uuid, std::uint32_t elem_id, std::uint32_t level,
                                 std::uint32_t property) {
    return creations++ == 0 ? qarn_elem_info_create(uuid, elem_id, level, property) : nullptr;
}

TEST_F(Decoding, ShowsCommandMessagesUnderTheirDebugBit) {
    const Tlv per_interface = Tlv()
                                  .element({.uuid = 5, .val_type = 1})
                                  .intf_command(1, command_message("shut", QARN_CMD_STAMP, 77))
                                  .text("a");
    const Tlv own = Tlv().element({.uuid = 5}).command(command_message("vlan 10")).text("a");
    const std::size_t size = QARN_CMD_PREFIX_SIZE + command_message("shut").size();
    const std::size_t own_size = QARN_CMD_PREFIX_SIZE + command_message("vlan 10").size();
    debug = QARN_DEBUG_PRINT;

    EXPECT_EQ(decode(per_interface), 0u);
    EXPECT_EQ(text, "(qarn_parse_tlv) QARN_TLV_TAG_IFINDEX_STR\nshut\n");
    EXPECT_EQ(sw.calls, (std::vector<std::string>{"cmd_show_run_opt()", "sr_cmds_cleanup()"}));
    EXPECT_EQ(cmd_debug_flags, 77u);
    EXPECT_EQ(stored(), "5.0 L0 P0 'a' if1:cmd=shut\n");

    test::start_generation(&req);
    EXPECT_EQ(decode(own), 0u);
    EXPECT_EQ(text, "(qarn_parse_tlv) QARN_TLV_TAG_TLV\n");
    EXPECT_EQ(sw.calls, (std::vector<std::string>{"cmd_show_run_opt_cr(4)", "sr_cmds_cleanup()"}));
    EXPECT_STREQ(g_clistr->str, "vlan 10");
    EXPECT_EQ(decode(Tlv().command(command_message("x")).element({.uuid = 5}).text("b")), 0u);
    EXPECT_EQ(text, "") << "no element, no display";

    test::FailingMalloc memory;
    test::start_generation(&req);
    memory.fail_nth(2, size);
    EXPECT_EQ(decode(per_interface), 0u);
    EXPECT_EQ(text, "(qarn_parse_tlv) QARN_TLV_TAG_IFINDEX_STR\nQarn (qarn_parse_tlv) Malloc failed\n");
    EXPECT_EQ(stored(), "5.0 L0 P0 'a'\n");
    memory.fail_nth(1, own_size);
    EXPECT_EQ(decode(own), QARN_STATUS_NO_MEMORY + 0u);
    EXPECT_EQ(text, "");

    test::start_generation(&req);
    const test::Interposed creation("qarn_elem_info_create", reinterpret_cast<void *>(create_only_the_first));
    EXPECT_EQ(decode(per_interface), 0u);
    EXPECT_EQ(text, "(qarn_parse_tlv) QARN_TLV_TAG_IFINDEX_STR\n(qarn_parse_tlv) Null debug_element_info_p\n");
    EXPECT_EQ(stored(), "5.0 L0 P0 'a'\n");
}

TEST_F(Decoding, EndsWithoutMemory) {
    const Tlv element = Tlv().element({.uuid = 5}).text("a");
    const auto with = [&](Tlv tlv) { return tlv.text("b"); };
    const std::size_t entry = sizeof(qarn_merge_val), key = sizeof(qarn_key_val);
    struct Case {
        const char *what;
        Tlv tlv;
        int nth;
        std::size_t size;
        std::uint32_t status;
        const char *stored;
    } const cases[] = {
        {"interface index", with(Tlv(element).intf_text(1, "x")), 2, 4, QARN_STATUS_NO_MEMORY, "5.0 L0 P0 'a'\n"},
        {"interface command",
         with(Tlv().element({.uuid = 5, .val_type = 1}).text("a").intf_command(1, command_message("x"))), 1,
         QARN_CMD_PREFIX_SIZE + command_message("x").size(), QARN_STATUS_NO_MEMORY, "5.0 L0 P0 'a'\n"},
        {"key", with(Tlv(element).key(1, "m", "k")), 2, key, QARN_STATUS_NO_MEMORY, "5.0 L0 P0 'a'\n"},
        {"key of the store", with(element), 1, sizeof(qarn_merge_key), 0, ""},
        {"entry of the store", with(element), 1, entry, 0, ""},
    };
    for (const Case &c : cases) {
        test::FailingMalloc memory;
        test::start_generation(&req);
        memory.fail_nth(c.nth, c.size);
        EXPECT_EQ(decode(c.tlv), c.status) << c.what;
        EXPECT_EQ(stored(), c.stored) << c.what;
    }
    sw.next("qarn_elem_dependency_create", {});
    EXPECT_EQ(decode(Tlv(element).after(1, 1)), QARN_STATUS_NO_MEMORY + 0u);
    sw.next("qarn_elem_info_create", {});
    EXPECT_EQ(decode(element), QARN_STATUS_NO_MEMORY + 0u);
}

TEST_F(Decoding, TracesItsWork) {
    debug = QARN_DEBUG_DECODE | QARN_DEBUG_INTERFACE;
    decode(Tlv()
               .element({.uuid = 40, .elem_id = 7, .level = 3, .property = 4})
               .after(40, 2)
               .text("T1")
               .intf_text(257, "T2")
               .key_string("K", "V")
               .key(9, "map", "name")
               .element({.uuid = 40, .elem_id = 2, .level = 1})
               .element({.uuid = 40, .elem_id = 7, .level = 5, .property = 6})
               .after(40, 2)
               .key(9, "map", "name"));
    EXPECT_EQ(text,
              "UUID:40 Elem:7 Level:3 Property 4\n"
              "Dependency UUID:40 Elem:2\n"
              "Adding dummy element UUID:40 Elem:2 property 20\n"
              "Element  UUID:40 Elem:7 property 4\n"
              "Str:T1\n"
              "Ifindex:101 Str:T2\n"
              "(QARN_TLV_TAG_KEY_STR) Str:V Len:1\n"
              "(QARN_TLV_TAG_KEY) Val:map Len 3\n"
              "UUID:40 Elem:2 Level:1 Property 0\n"
              "Merging with existing element\n"
              "UUID:40 ELEM 2 LEVEL 1 property 0\n"
              "MERGE UUID:40 ELEM 2 LEVEL 3 property 20\n"
              "UUID:40 Elem:7 Level:5 Property 6\n"
              "Merging with existing element\n"
              "UUID:40 ELEM 7 LEVEL 5 property 6\n"
              "MERGE UUID:40 ELEM 7 LEVEL 3 property 4\n"
              "Dependency UUID:40 Elem:2\n"
              "Dependent UUID:40 Elem:2 present. setting property 4\n"
              "Element  UUID:40 Elem:7 property 6\n"
              "(QARN_TLV_TAG_KEY) Val:map Len 3\n"
              "skipping key from uuid 40\n");
    EXPECT_EQ(traces,
              "Num TLVs = 16\nTLV Ctr = 1\nTLV Ctr = 2\nTLV Ctr = 3\nTLV Ctr = 4\nTLV Ctr = 6\nTLV Ctr = 8\n"
              "TLV Ctr = 11\nTLV Ctr = 12\nTLV Ctr = 13\nTLV Ctr = 14\n");
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
        broken.script = [this](const qarn_cfg_req_msg &) { return reply; };
    }

    sim::Service &broken = sw.service("broken", 22, 500);
    Bytes reply;
};

TEST_F(BrokenReply, GivesWhatCameBeforeTheBreach) {
    const auto element = [] { return Tlv().element({.uuid = 500, .level = 3}).text("kept\n"); };
    const Bytes huge_command = command_message("x").replace(QARN_CMD_LENGTH_AT, 4, "\xff\xff\xff\x7f");
    const std::pair<const char *, Bytes> cases[] = {
        {"whole", element().reply()},
        {"text without an end", element().raw(QARN_TLV_TAG_STR, "noend...").reply()},
        {"value behind the reply", element().lie(QARN_TLV_TAG_STR, 400, "x").announce_size(500).reply()},
        {"length that wraps around",
         element().lie(QARN_TLV_TAG_STR, 0xfffffffc, "x").announce_size(0xffffffff).reply()},
        {"text of half the memory", element()
                                        .words(QARN_TLV_TAG_IFINDEX_STR, {1})
                                        .lie(QARN_TLV_TAG_STR, 0x7ffffff0, Bytes("x\0", 2))
                                        .announce_size(0xffffffff)
                                        .reply()},
        {"interface text without an end",
         element().words(QARN_TLV_TAG_IFINDEX_STR, {1}).raw(QARN_TLV_TAG_STR, "noend...").reply()},
        {"key string name without an end", element().raw(QARN_TLV_TAG_KEY_STR, "noend...").reply()},
        {"key name without an end",
         element().words(QARN_TLV_TAG_KEY, {1}).text("map").raw(QARN_TLV_TAG_STR, "noend...").reply()},
        {"follow-up behind the reply", element().words(QARN_TLV_TAG_IFINDEX_STR, {1}).announce_size(500).reply()},
        {"command message behind the reply", element()
                                                 .element({.uuid = 500, .elem_id = 2, .property = 4, .val_type = 1})
                                                 .intf_command(1, huge_command)
                                                 .reply()},
    };
    for (const auto &[what, bytes] : cases) {
        reply = bytes;
        EXPECT_EQ(run(), 0u) << what;
        EXPECT_NE(text.find("\ngood\nkept\n\n\ninterface Ethernet1/1\n  fine\n"), std::string::npos) << what << text;
    }
}

// Interfaces, keys, commands and dependencies: everything that a reply can say.
Bytes rich_reply() {
    return Tlv()
        .element({.uuid = 500, .elem_id = 1, .level = 3, .property = 4})
        .after(500, 2)
        .text("rich\n")
        .intf_text(1, "  rich\n")
        .key_string("vlan 10", "  name rich\n")
        .key(9, "map", "name")
        .element({.uuid = 500, .elem_id = 2, .level = 3, .property = 4, .val_type = 1})
        .intf_command(1, command_message("  command"))
        .command(command_message("  own"))
        .text("end\n")
        .reply();
}

TEST_F(BrokenReply, LeavesTheOthersWholeWhereverItIsCut) {
    const Bytes whole = rich_reply();
    for (req.dbg_mask = 0; req.dbg_mask <= QARN_DEBUG_PRINT; req.dbg_mask += QARN_DEBUG_PRINT) {
        for (std::size_t size = 0; size <= whole.size(); ++size) {
            reply = whole.substr(0, size);
            run();
            ASSERT_NE(text.find("good\n"), std::string::npos) << size << text;
            ASSERT_NE(text.find("  fine\n"), std::string::npos) << size << text;
        }
        EXPECT_NE(text.find("rich\n"), std::string::npos) << "the last one was whole";
    }
}

TEST_F(BrokenReply, LeavesTheOthersWholeWhateverItsWordsAre) {
    const Bytes whole = rich_reply();
    const auto size = static_cast<std::uint32_t>(whole.size());
    for (std::size_t at = 4; at < whole.size(); at += 4) {
        for (const std::uint32_t word : {0u, 3u, 9u, size - 1, size + 1, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
            reply = whole;
            std::memcpy(reply.data() + at, &word, sizeof word);
            run();
            ASSERT_NE(text.find("good\n"), std::string::npos) << at << " " << word << text;
            ASSERT_NE(text.find("  fine\n"), std::string::npos) << at << " " << word << text;
        }
    }
}

} // namespace
