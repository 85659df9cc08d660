// Keyed configuration: what all services file under an element's keys, in the whole configuration and in the display
// of a single service.
#include "support/story.h"

namespace {

using test::Tlv;

constexpr uint32_t kSap = 20, kUuid = 40;

class KeyTables : public test::Story {
  protected:
    // The printer alone, for an element with one key and one key string; fails in the n-th allocation.
    std::string print(const std::string &key, int failing_allocation) {
        test::start_generation(&req);
        const Tlv tlv = Tlv().element({.uuid = kUuid}).key(0, "", key).key_string("string\n", "");
        qarn_parse_tlv(tlv.array().data(), merge_elem_table_p);
        test::FailingMalloc memory;
        memory.fail_nth(failing_allocation);
        watch([] { print_keytbl(qarn_merge_value_get(kUuid, 0)); });
        EXPECT_TRUE(keylist == nullptr && totalkeys == 0) << "the key list lives for one pass";
        return text;
    }
};

TEST_F(KeyTables, KeepLongHeadersWhole) {
    for (const std::size_t length : {499u, 500u, 501u, 5000u}) {
        const std::string map(length, 'h'), longer = map + "h", name(length, 'n');
        sw.services.clear();
        sw.service("all", kSap, kUuid)
            .replies(Tlv()
                         .element({.uuid = kUuid, .elem_id = 1})
                         .key(0, map, name)
                         .key(0, longer, "short")
                         .key(0, "", name + "n")
                         .key_string(name, " text\n")
                         .key_string("short", "!"));
        EXPECT_EQ(run(), 0u);
        EXPECT_EQ(body(), map + " text\n" + longer + "!" + name + "n") << length;
    }
}

TEST_F(KeyTables, CutALongHeaderWithoutMemoryForIt) {
    EXPECT_EQ(print(std::string(700, 'h'), 3), std::string(499, 'h')) << "after the list and its slot";
}

TEST_F(KeyTables, AreLeftOutWithoutMemoryForTheKeyList) {
    qarn_feature = 1;
    for (const int the_list_or_its_slot : {1, 2}) {
        EXPECT_EQ(print("key\n", the_list_or_its_slot), "");
        EXPECT_EQ(key_list, nullptr) << "nor is the key string printed";
    }
}

// The display of a single service that files text under names of its own.
class FeatureKeys : public KeyTables {
  protected:
    FeatureKeys() {
        element.text = "own\n";
        element.key_strings = {{"radius\n", " host\n"}};
        add_sap_token(kSap);
    }
    std::string show() {
        EXPECT_EQ(run(qarn_cli_run_cfg_gen_sap), 0u);
        return body();
    }
    sim::Element &element = sw.service("aaa", kSap, kUuid).element(1, 3);
};

TEST_F(FeatureKeys, ArePrintedOnceWhileTheLibraryIsLoaded) {
    EXPECT_EQ(show(), "radius\n host\nown\n\n");
    element.key_strings.emplace_back("tacacs\n", " port\n");
    EXPECT_EQ(show(), "tacacs\n port\nown\n\n");
    EXPECT_STREQ(key_list->key->str, "tacacs\n") << "newest first";
}

TEST_F(FeatureKeys, AreNotPrintedOnceAKeyHasMatched) {
    element.keys = {{0, "m\n", "radius\n"}};
    EXPECT_EQ(show(), "m\n host\nown\n\n");
    EXPECT_EQ(g_traverse, 1);
    element.keys.clear();
    EXPECT_EQ(show(), "own\n\n");
}

TEST_F(FeatureKeys, AreNotPrintedWithAKeyWord) {
    qarnkey = 1;
    EXPECT_EQ(show(), "own\n\n");
}

TEST_F(FeatureKeys, AreNotPrintedForAllServicesInFeatureMode) {
    req.sap = 1;
    EXPECT_EQ(generate(), 0u);
    EXPECT_EQ(body(), "own\n\n");
}

TEST_F(FeatureKeys, AreNotPrintedAfterInProcessOutput) {
    qarn_feature_dns = 1;
    EXPECT_EQ(show(), "") << "nor is the element's own text";
}

} // namespace
