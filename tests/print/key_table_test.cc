// Keyed configuration: what all services file under an element's keys, in a single service's display, with long
// headers and short of memory. The walks over the tables, which the traces belong to, and the indexes that serve
// without them have to agree everywhere; generated switches, with interfaces too, compare the two at the end.
#include <array>
#include <random>

#include "support/story.h"

namespace {

using test::Story;
using test::Tlv;

using Pairs = std::vector<std::pair<std::string, std::string>>;

constexpr std::uint32_t kNotPrinted = 13; // a level that no command prints

// An element of service 40 with keys (map, name) and key strings (name, text).
Tlv keyed(const Pairs &keys, const Pairs &key_strings, std::uint32_t level = 3, Tlv tlv = {}, std::uint32_t id = 1) {
    tlv.element({.uuid = 40, .elem_id = id, .level = level});
    for (const auto &[map, name] : keys)
        tlv.key(0, map, name);
    for (const auto &[name, text] : key_strings)
        tlv.key_string(name, text);
    return tlv;
}

class KeyTables : public Story {
  protected:
    // What the switch's configuration looks like, printed with the walk's traces and without them.
    std::string show(const Tlv &reply, EntryPoint entry_point = qarn_cli_run_cfg_gen) {
        sw.services.clear();
        sw.service("all", 20, 40).replies(reply);
        std::pair<std::string, std::int32_t> shown, walked;
        for (auto *way : {&walked, &shown}) {
            req.dbg_mask = way == &walked ? QARN_DEBUG_STORE | QARN_DEBUG_LOOKUP : 0;
            g_traverse = g_intf_config_printed = g_all_intf_config_printed = 0;
            key_list = nullptr;
            EXPECT_EQ(run(entry_point), 0u);
            *way = {body(), g_traverse};
        }
        EXPECT_EQ(shown, walked) << "the walk prints another text, or notes other matches";
        return shown.first;
    }
    // The printer alone, for an element that a command has received.
    std::string print(std::uint32_t uuid, std::uint32_t elem_id) {
        watch([&] { print_keytbl(qarn_merge_value_get(uuid, elem_id)); });
        EXPECT_TRUE(keylist == nullptr && totalkeys == 0) << "the key list lives for one pass";
        return text;
    }
    // As in the display of a single service, before anything was printed.
    static void begin_single_service() {
        qarn_feature = 1;
        qarn_feature_send_all = qarn_feature_dns = g_traverse = 0;
        qarnkey = 0;
        key_list = nullptr;
    }
};

TEST_F(KeyTables, KeepLongHeadersWhole) {
    for (const std::size_t length : {499u, 500u, 501u, 5000u}) {
        const std::string map(length, 'h'), longer = map + "h", name(length, 'n');
        EXPECT_EQ(show(keyed({{map, name}, {longer, "short"}, {"", name + "n"}}, {{name, " text\n"}, {"short", "!"}})),
                  map + " text\n" + longer + "!" + name + "n")
            << length;
    }
    show(keyed({{std::string(700, 'h'), "k"}}, {{"k", " text"}}, kNotPrinted));
    test::FailingMalloc memory;
    memory.fail_nth(3); // after the list and its slot
    EXPECT_EQ(print(40, 1), std::string(499, 'h'));
    EXPECT_EQ(print(40, 1), std::string(700, 'h') + " text");
}

TEST_F(KeyTables, AreLeftOutWithoutMemoryForTheKeyList) {
    const Tlv first =
        keyed({{"m\n", "a"}, {"", "b\n"}, {"", "c\n"}}, {{"a", " text\n"}, {"f\n", " more\n"}}, kNotPrinted);
    show(keyed({{"", "k\n"}}, {{"f\n", ""}, {"g\n", ""}, {"h\n", ""}}, kNotPrinted, first, 2));
    begin_single_service();
    test::FailingMalloc memory;
    for (const int nth : {1, 2, 3, 4}) {
        memory.fail_nth(nth);
        EXPECT_EQ(print(40, 1), "") << "the array, then the first to the last slot: " << nth;
        EXPECT_EQ(key_list, nullptr) << "nor is there a feature-key pass " << nth;
    }
    for (const int nth : {3, 4, 5, 6}) {
        memory.fail_nth(nth);
        EXPECT_EQ(print(40, 2), "k\n") << "the list of the feature-key pass: " << nth;
        EXPECT_EQ(key_list, nullptr) << nth;
    }
    EXPECT_EQ(print(40, 2), "k\nf\n more\ng\nh\n");
    EXPECT_EQ(print(40, 1), "b\nc\nm\n text\n");
}

TEST_F(KeyTables, MakeKeyStringsHeadersInTheDisplayOfASingleService) {
    const Tlv first = keyed({}, {{"b\n", " first\n"}, {"a\n", ""}}, kNotPrinted);
    show(keyed({}, {{"b\n", " second\n"}, {"c\n", " third\n"}}, kNotPrinted, first, 2));
    // The whole configuration; all consumers; after a key has matched; with a key word; after in-process output.
    for (int exception = 0; exception < 5; ++exception) {
        begin_single_service();
        qarn_feature = exception != 0;
        qarn_feature_send_all = exception == 1;
        g_traverse = exception == 2;
        qarnkey = exception == 3;
        qarn_feature_dns = exception == 4;
        EXPECT_EQ(print(40, 1), "") << exception;
        EXPECT_EQ(key_list, nullptr) << exception;
    }
    begin_single_service();
    EXPECT_EQ(print(40, 1), "a\nb\n first\n second\n");
    EXPECT_EQ(print(40, 2), "c\n third\n") << "each name once";
    EXPECT_STREQ(key_list->key->str, "c\n") << "newest first";

    qarn_feature = 0;
    show(keyed({}, {{"d\n", " fourth\n"}}, kNotPrinted));
    begin_single_service();
    test::FailingMalloc memory;
    memory.fail_nth(3); // after the list and its slot
    for (const char *expected : {"d\n fourth\n", "d\n fourth\n", ""})
        EXPECT_EQ(print(40, 1), expected) << "what could not be remembered is printed again";
}

TEST_F(KeyTables, RememberFeatureKeysFromCommandToCommand) {
    auto &element = sw.service("aaa", 20, 40).element(1, 3);
    element.text = "own\n";
    element.key_strings = {{"radius\n", " host\n"}};
    add_sap_token(20);
    ASSERT_EQ(run(qarn_cli_run_cfg_gen_sap), 0u);
    EXPECT_EQ(body(), "radius\n host\nown\n\n");
    element.key_strings.emplace_back("tacacs\n", " port\n");
    run(qarn_cli_run_cfg_gen_sap);
    EXPECT_EQ(body(), "tacacs\n port\nown\n\n");
    element.keys = {{0, "m\n", "tacacs\n"}};
    element.key_strings.emplace_back("ldap\n", " lost\n");
    run(qarn_cli_run_cfg_gen_sap);
    EXPECT_EQ(body(), "m\n port\nown\n\n") << "a key has matched";
}

// A switch whose services share names, maps and VLANs as it comes.
class GeneratedSwitch {
  public:
    explicit GeneratedSwitch(unsigned seed) : random_(seed) {}

    Tlv reply() {
        for (std::uint32_t n = 2 + pick(12); n > 0; --n)
            add_element({.uuid = 36 + n, .elem_id = 1 + pick(3), .level = pick(12)});
        for (const std::uint32_t id : {2u, 5u, 6u})
            if (pick(4) != 0) add_element({.uuid = 383, .elem_id = id, .level = pick(12)});
        reply_.element({.uuid = 223, .elem_id = 7, .level = 12});
        return reply_;
    }

  private:
    std::uint32_t pick(std::uint32_t below) { return static_cast<std::uint32_t>(random_() % below); }
    std::string name() { return std::array{"", "a\n", "b\n", "vlan 3\n", "line\n", "c", "d\n", "e"}[pick(8)]; }
    std::string value() { return std::array{"", " same\n", " one\n", " two\n"}[pick(4)]; }

    void add_element(const sim::ElementInfo &info) {
        sim::ElementInfo opened = info;
        if (pick(3) == 0) opened.property = QARN_PROP_INTF;
        reply_.element(opened);
        for (std::uint32_t n = pick(4); n > 0; --n)
            reply_.intf_text(1 + pick(4), pick(5) != 0 ? "  port of " + std::to_string(info.uuid) : "");
        earlier_.push_back(info);
        const auto &other = earlier_[pick(static_cast<std::uint32_t>(earlier_.size()))];
        if (other.uuid != info.uuid) reply_.after(other.uuid, other.elem_id); // no loops: on earlier ones only
        if (pick(2) != 0) reply_.text("element " + std::to_string(info.uuid) + "\n");
        for (std::uint32_t n = pick(5); n > 0; --n) {
            const std::string map = name();
            reply_.key(n, map, name());
        }
        for (std::uint32_t n = info.uuid == 383 ? pick(12) : 0; n > 0; --n)
            reply_.key(n, "", std::to_string(n));
        for (std::uint32_t n = pick(6); n > 0; --n)
            reply_.key_string(name(), " of " + std::to_string(info.uuid) + "\n");
        for (std::uint32_t n = pick(9); n > 0; --n)
            reply_.key_string((pick(2) != 0 ? "vlan " : "vlan configuration ") + std::to_string(n) + "\n", value());
    }

    std::mt19937 random_;
    Tlv reply_;
    std::vector<sim::ElementInfo> earlier_;
};

TEST_F(KeyTables, PrintTheSameByWalkAndByIndex) {
    EntryPoint command = qarn_cli_run_cfg_gen;
    for (const std::uint32_t index : {3u, 1u, 2u})
        add_interface(index, "e" + std::to_string(index), 7);
    for (unsigned seed = 7001; seed <= 7200 && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        if (seed == 7101) { // the other half as the display of a single service
            command = qarn_cli_run_cfg_gen_sap;
            add_sap_token(20);
        }
        EXPECT_NE(show(GeneratedSwitch(seed).reply(), command).find_first_not_of('\n'), std::string::npos);
    }
}

TEST_F(KeyTables, TraceTheirWalk) {
    show(keyed({{"", "free\n"}}, {{"f\n", " fresh\n"}}, kNotPrinted));
    begin_single_service();
    debug = QARN_DEBUG_STORE;
    EXPECT_EQ(print(40, 1), "free\nf\n fresh\n");
    EXPECT_EQ(traces,
              "num keys 1\n"
              "qarn_key_elem_print  \n"
              "qarn_key_elem_print KEY STRING ::: free\n & Length 5\n"
              "qarn_key_elem_print printing KEY free\n\n"
              " 0 - free\n"
              "qarn_key_elem_print  \n"
              "sorted_key free\n key_map "
              "num keys 1\n"
              "qarn_get_keys value:: fresh\n len::7\n"
              " 0 - f\n"
              "qarn_keystr_print key::f\n sharedkey::f\n\n"
              "qarn_keystr_print key len::2 sharedkey len::2\n"
              "qarn_keystr_print value:: fresh\n len::7\n");
}

} // namespace
