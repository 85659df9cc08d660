// The VLAN service's key tables: each VLAN's contributions joined into one text, neighbours with the same text printed
// as one range, every VLAN for itself in a checkpoint.
#include "sim/cmdshell.h"
#include "support/story.h"

namespace {

using test::Story;
using test::Tlv;

constexpr std::uint32_t kCheckpoint = 0x10;

// Element of the VLAN service with these VLANs, under their numbers as names.
Tlv vlans(std::initializer_list<std::uint32_t> ids, std::uint32_t elem_id = 2, std::uint32_t level = 3) {
    Tlv tlv = Tlv().element({.uuid = 383, .elem_id = elem_id, .level = level});
    for (const std::uint32_t id : ids)
        tlv.key(id, "", std::to_string(id));
    return tlv;
}

// What services file, one (uuid, 1) after the other: VLANs and the text that belongs under them.
using Filed = std::vector<std::vector<std::pair<std::vector<int>, std::string>>>;
Tlv filed(Tlv tlv, const Filed &services, const std::string &line = "vlan ") {
    for (std::uint32_t uuid = 20; const auto &service : services) {
        tlv.element({.uuid = uuid++, .elem_id = 1, .level = 3});
        for (const auto &[ids, text] : service)
            for (const int id : ids)
                tlv.key_string(line + std::to_string(id) + "\n", text);
    }
    return tlv;
}

class VlanKeyTables : public Story {
  protected:
    ~VlanKeyTables() override { sim::set_shell_options({}); }

    std::string show(const Tlv &reply) {
        sw.services.clear();
        sw.service("all", 20, 383).replies(reply);
        std::string walked;
        for (const std::uint32_t mask : {std::uint32_t{QARN_DEBUG_STORE}, 0u}) {
            req.dbg_mask = mask;
            EXPECT_EQ(run(), 0u);
            if (mask != 0) walked = text;
        }
        EXPECT_EQ(text, walked) << "the walk prints another text";
        return body();
    }
    // The printer alone, for an element of level 13 that a command has received.
    std::string print(std::uint32_t elem_id) {
        watch([&] { print_keytbl(qarn_merge_value_get(383, elem_id)); });
        EXPECT_TRUE(keylist == nullptr && totalkeys == 0 && key_str_list == nullptr && keycount == 0);
        return text;
    }
};

TEST_F(VlanKeyTables, JoinNeighboursWithTheSameText) {
    const auto named = [](const std::vector<std::pair<std::string, std::uint32_t>> &keys) {
        Tlv tlv = vlans({});
        for (const auto &[name, id] : keys)
            tlv.key(id, "", name);
        return tlv;
    };
    struct Case {
        const char *what;
        Tlv reply;
        std::string text;
    } const cases[] = {
        {"a VLAN in between", filed(vlans({7, 6, 5, 4, 3, 2}), {{{{2, 3, 4, 5, 7}, " a\n"}, {{6}, " b\n"}}}),
         "vlan 2-5\n a\nvlan 6\n b\nvlan 7\n a\n"},
        {"no contributions", vlans({9, 2, 3, 5, 0, 4095}), "vlan 0,2-3,5,9,4095\n"},
        {"shorter names first", filed(vlans({100, 9, 10}), {{{{9}, " x\n"}, {{10}, " y\n"}, {{100}, " z\n"}}}),
         "vlan 9\n x\nvlan 10\n y\nvlan 100\n z\n"},
        {"VLAN configuration",
         filed(filed(vlans({1, 2}, 5), {{{{1, 2}, " x\n"}}}, "vlan configuration "), {{{{1}, " lost"}}}),
         "vlan configuration 1-2\n x\n"},
        {"any other element", filed(vlans({1, 2}, 3).text("own\n"), {{{{1}, " lost\n"}}}), "own\n\n"},
        {"texts of all services in their own order, equal ones kept",
         filed(vlans({1}).key_string("vlan 1\n", " name\n"), {{{{1}, " z\n"}}, {{{1}, " a\n"}}, {{{1}, " z\n"}}}),
         "vlan 1\n a\n name\n z\n z\n"},
        {"the same texts from different services",
         filed(vlans({1, 2}), {{{{1}, " a\n"}, {{2}, " b\n"}}, {{{1}, " b\n"}, {{2}, " a\n"}}}), "vlan 1-2\n a\n b\n"},
        {"groups follow the names", filed(named({{"a", 10}, {"bb", 3}, {"cc", 4}}), {{{{10}, " x\n"}}}),
         "vlan 10\n x\nvlan 3-4\n"},
        {"a key map counts only as another key's name",
         filed(vlans({5, 6}).key(9, "5", "x").key(8, "nowhere", "y"), {{{{8, 9}, " lost\n"}}}), "vlan 5-6\n"},
        {"outside the set",
         filed(named({{"1", 4095}, {"2", 4096}, {"3", 4097}, {"4", 0xffffffff}, {"5", 0x7fffffff}}),
               {{{{4096, 4097}, " x\n"}, {{-1}, " y\n"}}}),
         "vlan 4095\nvlan 4096\n x\nvlan 4097\n x\nvlan -1\n y\nvlan 2147483647\n"},
    };
    for (const Case &c : cases)
        EXPECT_EQ(show(c.reply), c.text) << c.what;
}

TEST_F(VlanKeyTables, LeaveOutWhatThereIsNoMemoryFor) {
    show(filed(vlans({1, 2, 3, 4}, 2, 13), {{{{1, 2, 3}, " a\n"}, {{4}, " b\n"}}, {{{4}, " a\n"}}}));
    test::FailingMalloc memory;
    memory.fail_nth(2, sizeof(std::int32_t));
    EXPECT_EQ(print(2), "vlan 1,3\n a\nvlan 4\n a\n b\n") << "VLAN 2 has no place in the reverse table";
    memory.fail_all(sizeof(std::int32_t));
    EXPECT_EQ(print(2), "");
    memory.fail_nth(4, sizeof(key_str_entry));
    EXPECT_EQ(print(2), "vlan 1-4\n a\n") << "a contribution of VLAN 4";
    for (const int nth : {1, 2, 3, 5}) {
        memory.fail_nth(nth);
        EXPECT_EQ(print(2), "") << "the key list: " << nth;
        EXPECT_EQ(g_hash_table_size(vlan_reverse_table_p), 0u);
    }
    EXPECT_EQ(print(2), "vlan 1-3\n a\nvlan 4\n a\n b\n");
    sim::set_shell_options({.generic_option = kCheckpoint});
    memory.fail_nth(1, sizeof(std::int32_t));
    EXPECT_EQ(print(2), "vlan 1\nvlan 2\n a\nvlan 3\n a\nvlan 4\n a\n b\n");
}

TEST_F(VlanKeyTables, TraceTheirWalk) {
    show(filed(vlans({9, 10}, 2, 13), {{{{10}, " x\n"}}}));
    debug = QARN_DEBUG_STORE;
    EXPECT_EQ(print(2), "vlan 9\nvlan 10\n x\n");
    const std::string sorted = " 0 - 10 1 - 9"; // as headers; the keys were collected and sorted with their own traces
    EXPECT_EQ(traces.substr(std::min(traces.size(), traces.find(sorted + "get"))),
              sorted +
                  "get vlankeystr for len 7 key::vlan 9\n\n"
                  "get vlankeystr for len 7 key::vlan 9\n\n"
                  "qarn_vlan_add_aggr_keystr Adding vlan 9 to reverse hash table str is \n"
                  "get vlankeystr for len 8 key::vlan 10\n\n"
                  "FOUND, Addingtokeystrlist keystr len::3 str:: x\n\n"
                  "get vlankeystr for len 8 key::vlan 10\n\n"
                  "qarn_vlan_add_aggr_keystr Adding vlan 10 to reverse hash table str is  x\n\n"
                  "actualprinting vlan_keystr:: & Length 0\n"
                  "actualprinting value_str:: & Length 0\n"
                  "actualprinting vlan_keystr:: & Length 0\n"
                  "actualprinting value_str:: x\n & Length 3\n");

    show(vlans({1}, 5, 13));
    debug = QARN_DEBUG_STORE;
    print(5);
    EXPECT_TRUE(
        traces.ends_with("actualprinting vlan_config_keystr:: & Length 0\n"
                         "actualprinting value_str:: & Length 0\n"))
        << traces;
}

TEST_F(VlanKeyTables, FindAMatchUntilThereIsOne) {
    GString a = {const_cast<char *>("a"), 1, 2}, b = {const_cast<char *>("b"), 1, 2};
    int value = 0, later = 0;
    debug = QARN_DEBUG_STORE;
    watch([&] {
        EXPECT_EQ(qarn_vlan_get_bitmask(&a, &later, &b), 0);
        EXPECT_EQ(qarn_vlan_get_bitmask(&a, &value, &a), 1);
        EXPECT_EQ(qarn_vlan_get_bitmask(&a, &later, &a), 0);
        EXPECT_EQ(qarn_vlan_get_bitmask(&a, &later, &b), 0);
    });
    EXPECT_EQ(g_vlan_bitset, &value);
    EXPECT_EQ(traces,
              "qarn_vlan_get_bitmask strcmp failed\n"
              "qarn_vlan_get_bitmask found matching keystr a\n"
              "qarn_vlan_get_bitmask found matching vlan bitmask\n"
              "qarn_vlan_get_bitmask found matching vlan bitmask\n");
}

} // namespace
