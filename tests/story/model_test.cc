// Random switches and commands, shown to the library and to a model of it that takes every rule at its simplest: it
// walks over everything where the library looks things up, and sweeps until nothing is left. Both must print the same
// text. Every tenth case runs again with the debug bits under which the library walks too, instead of using its
// indexes. MODEL_SEED and MODEL_CASES in the environment set the first seed and the number of cases.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <set>
#include <sstream>

#include "explain/origins.h"
#include "explain/recording/file.h"
#include "explain/recording/recorder.h"
#include "explain/recording/replay.h"
#include "platform/ifmgr.h"
#include "sim/cmdshell.h"
#include "sim/reply.h"
#include "support/globals.h"
#include "support/story.h"

namespace {

using explain::recording::Recording;
using sim::Bytes;
using std::string;
using std::to_string;
using Word = uint32_t;
using Replies = std::vector<std::pair<Word, Bytes>>; // by SAP, in the order in which they are complete

struct Command {
    uint32_t (*entry)(qarn_req *);
    Word display = 0, sap = 0, excluded = 0, option = 0, low = 0, high = ~0u;
    bool names(Word id) const { return id >= low && id <= high; } // a VSAN or an interface
};

struct Element {
    Word uuid, id, level, property;
    string text = {};
    std::map<Word, string> intf_texts = {};
    std::map<string, std::pair<Word, string>> keys = {}; // name -> index, map
    // Keys with one map print in the order in which GLib walks their table, so the names are in one of GLib's.
    std::shared_ptr<GHashTable> key_names{g_hash_table_new(g_str_hash, g_str_equal), g_hash_table_unref};
    std::map<string, string> key_strings = {};
    std::vector<std::pair<Word, bool>> dependencies = {}; // and whether it is a condition
};

Word word(const Bytes &bytes, std::size_t at) {
    Word word = 0;
    std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

// A text runs to its zero byte.
string text_of(const Bytes &value) {
    return value.substr(0, value.find('\0'));
}

// Where an element is in the store: nobody looks at the upper halves.
Word place_of(Word uuid, Word id) {
    return uuid << 16 | (id & 0xffff);
}

string ended(const string &text) {
    return text.empty() || text.ends_with('\n') ? text : text + "\n";
}

string ranges(const std::set<Word> &ids) {
    string text;
    for (const Word first : ids) {
        if (ids.contains(first - 1)) continue;
        Word last = first;
        while (ids.contains(last + 1))
            ++last;
        text += (text.empty() ? "" : ",") + to_string(first) + (last == first ? "" : "-" + to_string(last));
    }
    return text;
}

struct Model {
    const sim::Switch &sw;
    const Command &command;
    string out = {};
    std::map<Word, std::shared_ptr<Element>> store = {};
    std::vector<Word> intf_queue = {}, keystr_queue = {};
    std::vector<sim::Interface> interfaces = {}; // that the command is for
    std::set<string> printed_keys = {};
    string intf_name = {};
    bool add_nl = false, traverse = false, walked = false, intf_printed = false;

    // The text of the whole command into `out`; returns its status.
    Word run(const Replies &replies) {
        for (const sim::Interface &intf : sw.interfaces)
            if (command.display != 3 || command.names(intf.index)) interfaces.push_back(intf);
        if (command.display == QARN_DISPLAY_INTERFACE && interfaces.empty()) {
            out = "\n";
            return 0;
        }
        const bool failed = collect(replies);
        out += command.option == QARN_OPTION_CHECKPOINT ? "\n!Command: Checkpoint cmd vdc 1\n"
                                                        : "\n!Command: show running-config\n";
        out += string("!Time: ") + test::kNowText + "\nversion 4.2(7)\n";
        return !print_levels() || failed;
    }

    // Decode the replies up to the one that completes the list of services; true when one failed or is missing.
    bool collect(const Replies &replies) {
        std::vector<Word> saps(command.sap != 0, command.sap);
        for (const sim::Service &service : sw.services)
            if (service.consumer && command.sap == 0) saps.push_back(service.sap);
        std::ranges::replace(saps, command.excluded, Word{0});
        std::size_t answered = command.excluded != 0; // also when it would not be asked anyway
        bool failed = false;
        for (const auto &[sap, reply] : replies) {
            if (std::ranges::count(saps, sap) != 0) ++answered;
            std::ranges::replace(saps, sap, Word{0});
            failed = failed || word(reply, 0) != 0;
            if (word(reply, 0) != 0) out += "Sap " + to_string(sap) + " returned failure code:0x2a\n";
            if (word(reply, 0) == 0) decode(reply.substr(4));
            if (answered >= saps.size()) return failed;
        }
        if (std::ranges::count(saps, 296u) != 0) out += "!Waiting on CLI Server to respond..\n";
        out += "The following SAPs did not respond within the expected timeframe\nPending SAPS:";
        for (const Word sap : saps)
            out += sap != 0 ? to_string(sap) + " " : "";
        out += "\nPrinting Ascii configuration for remaining SAPs\n";
        return true;
    }

    bool is_in_view(const Element &element) const {
        const Word bits[] = {0, 1, 2, 0, 0, 0, 0, 0x20, 0x40, 0x40, 0x80, 0x80}, bit = bits[command.display];
        return bit == 0 || ((element.property & bit) != 0) != (command.display == 9 || command.display == 11);
    }

    // Merge what one reply says into the store.
    void decode(const Bytes &array) {
        std::vector<std::pair<Word, Bytes>> tlvs;
        for (std::size_t at = 8; at < array.size(); at += 8 + (tlvs.back().second.size() + 3) / 4 * 4)
            tlvs.emplace_back(word(array, at), array.substr(at + 8, word(array, at + 4)));
        std::shared_ptr<Element> current;
        bool merged = false;
        for (std::size_t i = 0; i < tlvs.size(); ++i) {
            const auto &[tag, value] = tlvs[i];
            const std::size_t last = i + (tag == 3 || tag == 6 ? 1 : tag == 7 ? 2 : 0);
            if (last >= tlvs.size()) return; // what a TLV without its follow-ups says is open; here it says nothing
            const string a = text_of(tlvs[std::min(i + 1, last)].second), b = text_of(tlvs[last].second);
            i = last;
            if (tag == 0) {
                const Word at = place_of(word(value, 0), word(value, 4));
                const Element sent = {word(value, 0), word(value, 4), word(value, 8), word(value, 12)};
                const bool is_known = store.contains(at);
                merged = is_known && (store[at]->property & 0x10) == 0;
                current = merged ? store[at] : std::make_shared<Element>(sent);
                if (merged && static_cast<int32_t>(sent.property) > 0) current->property = sent.property;
                if (is_known && !merged) current->property |= 4;
                store.erase(at);
                if (is_in_view(*current)) store[at] = current;
            }
            if (tag == 1) {
                const Word on = place_of(word(value, 0), word(value, 4));
                current->dependencies.emplace_back(on, word(value, 8) == 1);
                if (!is_in_view(*current) || (current->property & 0x14) != 4) continue;
                const Element placeholder = {word(value, 0), word(value, 4), current->level, 0x10};
                if (!store.contains(on)) store[on] = std::make_shared<Element>(placeholder);
                store[on]->property |= 4;
            }
            if (tag == 2) current->text += text_of(value);
            if (tag == 3) current->intf_texts[word(value, 0)] = a;
            if (tag == 6) current->key_strings[text_of(value)] = a;
            if (tag != 7 || (merged && current->uuid == 40)) continue;
            const auto key = current->keys.insert_or_assign(b, std::pair(word(value, 0), a)).first;
            g_hash_table_add(current->key_names.get(), const_cast<char *>(key->first.c_str()));
        }
    }

    // Sweep over the store in key order until nothing is placed any more; false for a loop. Level -1 is every level.
    bool order(int level, bool intf_only, std::vector<Word> &queue) const {
        const auto holds = [&](const std::pair<Word, bool> &on) {
            return on.second && store.contains(on.first) && !store.at(on.first)->text.empty();
        };
        std::set<Word> vertices, placed;
        for (const auto &[at, element] : store) {
            const bool is_conditional = (element->property & 8) != 0, is_intf = (element->property & 4) != 0;
            const bool is_of_level = level == -1 || element->level == static_cast<Word>(level);
            if (is_conditional && std::ranges::none_of(element->dependencies, holds)) continue;
            if (is_of_level && (is_intf || !intf_only)) vertices.insert(at);
        }
        const auto waits = [&](const std::pair<Word, bool> &on) {
            return !on.second && vertices.contains(on.first) && !placed.contains(on.first);
        };
        for (std::size_t before = 0; placed.size() < vertices.size(); before = placed.size()) {
            for (const Word at : vertices) {
                if (placed.contains(at) || std::ranges::any_of(store.at(at)->dependencies, waits)) continue;
                placed.insert(at);
                queue.push_back(at);
            }
            if (placed.size() == before) return false;
        }
        return true;
    }

    // Every level in its order, and the closing newline; false for a loop, after its message.
    bool print_levels() {
        const bool has_loop = !order(-1, true, intf_queue);
        if (has_loop || !order(-1, false, keystr_queue)) {
            out += has_loop ? "Loop in the graph\n" : "KEYSTR Loop in the graph\n";
            return false;
        }
        for (int level = 0; level <= 12; ++level) {
            out += std::exchange(add_nl, false) ? "\n" : "";
            std::vector<Word> queue;
            order(level, false, queue); // what loops in a level has looped in the pass over all
            for (const Word at : queue)
                print_element(*store.at(at));
        }
        out += "\n";
        return true;
    }

    // One element of a level; in the display of a single service, the first interface element brings all interfaces.
    void print_element(Element &element) {
        if ((element.property & 0x10) != 0) return;
        if ((element.uuid & 0xffff) == 223) return print_block(element.id & 0xffff);
        if (command.display == 3) return;
        print_keys(element);
        out += ended(element.text);
        add_nl = add_nl || !element.text.empty();
        if (command.sap == 0 || walked || (element.property & 4) == 0) return;
        for (const sim::Interface &intf : interfaces) {
            intf_name = intf.name;
            intf_printed = false;
            out += walk(intf.index);
        }
    }

    // The blocks of the interfaces that an element of service 223 names by its id.
    void print_block(Word block) {
        const Word display = command.display;
        for (const sim::Interface &intf : interfaces) {
            const bool is_hidden = intf.vsan >= 4096 || (display == 1 && !command.names(intf.vsan));
            if (intf.block != block || ((display == 1 || display == 3) && is_hidden)) continue;
            const bool always = display != 7 && display != 8 && display != 10;
            const string text = walk(intf.index);
            if (always || !text.empty()) out += "\ninterface " + intf.name + "\n" + text;
        }
    }

    // What all interface elements say about one interface.
    string walk(Word if_index) {
        string collected;
        for (const Word at : intf_queue) {
            walked = true;
            const auto &texts = store.at(at)->intf_texts;
            if (!texts.contains(if_index)) continue;
            if (command.sap != 0 && !std::exchange(intf_printed, true)) collected = "\ninterface " + intf_name + "\n";
            collected += ended(texts.at(if_index));
        }
        return collected;
    }

    // The texts that the elements hold under a key, in the order of the elements or of the texts.
    string held(const string &name, bool sorted = false) const {
        std::vector<string> texts;
        for (const Word at : keystr_queue)
            if (store.at(at)->key_strings.contains(name)) texts.push_back(store.at(at)->key_strings[name]);
        if (sorted) std::ranges::sort(texts);
        return std::accumulate(texts.begin(), texts.end(), string());
    }

    // Each key's header with what is filed under it, then in the display of a single service the key strings.
    void print_keys(const Element &element) {
        std::vector<string> slots;
        for (const auto &[name, key] : element.keys)
            slots.push_back(key.second.empty() ? name : key.second);
        std::ranges::sort(slots);
        if (element.uuid == 383) print_vlans(element, std::exchange(slots, {}));
        void **names = g_hash_table_get_keys_as_array(element.key_names.get(), nullptr);
        for (const string &slot : slots) {
            out += slot;
            for (void **each = names; *each != nullptr; ++each) {
                const string name = static_cast<char *>(*each);
                if (element.keys.at(name).second != slot) continue;
                out += held(name);
                traverse = true;
            }
        }
        g_free(names);
        if (command.sap == 0 || traverse) return;
        for (const auto &[name, own_text] : element.key_strings)
            if (printed_keys.insert(name).second) out += name + held(name);
    }

    // The VLANs of one element in ranges of equal text.
    void print_vlans(const Element &element, std::vector<string> slots) {
        if (element.id != 2 && element.id != 5) return;
        const string head = element.id == 2 ? "vlan " : "vlan configuration ";
        const bool checkpoint = element.id == 2 && command.option == QARN_OPTION_CHECKPOINT;
        std::ranges::stable_sort(slots, {}, &string::size);
        std::set<Word> group;
        string group_text;
        for (const string &slot : slots) {
            if (!element.keys.contains(slot)) continue;
            const Word vlan = element.keys.at(slot).first;
            const string text = held(head + to_string(vlan) + "\n", true);
            if (!group.empty() && (checkpoint || text != group_text)) {
                out += head + ranges(group) + "\n" + group_text;
                group.clear();
            }
            group.insert(vlan);
            group_text = text;
            traverse = true;
        }
        if (!group.empty()) out += head + ranges(group) + "\n" + group_text;
    }
};

struct Dice {
    std::mt19937 engine;
    Word below(std::size_t n) { return static_cast<Word>(engine() % n); }
    bool one_in(Word n) { return below(n) == 0; }
    string of(const std::vector<string> &texts) { return texts[below(texts.size())]; }
    Word of(const std::vector<Word> &words) { return words[below(words.size())]; }
};

// An element and what it says. Few elements, keys and interfaces are drawn from, so that they meet, and most
// dependencies go down a random order of the elements, because a loop ends all.
void say_element(Dice &dice, sim::Tlv &tlv, Word salt) {
    const std::vector<Word> uuids = {5, 6, 40, 223, 383};
    const auto rank = [&](Word of, Word id) { return (of * 31 + id * 7) * salt % 1009; };
    const auto line = [&] { return "  " + to_string(dice.below(300)) + dice.of({"\n", "\n", "", "\nmore\n"}); };
    const Word uuid = dice.of(uuids), id = 1 + dice.below(uuid == 383 ? 5 : 3);
    const Word views = dice.of({0, 0xe3, dice.below(256) & 0xe3}), others = dice.of({0, 0, 0, 0, 4, 4, 4, 12, 8});
    const Word property = dice.one_in(20) ? dice.of({0x10, 0x80000001}) : views | others;
    const Word far = dice.of({0, 0, 0, 0, 0, 0, 0, 256, 65536}), level = dice.one_in(2) ? dice.below(14) : 3;
    tlv.element({uuid + (dice.one_in(20) ? 65536 : 0), id + far, level, property});
    for (Word n = dice.below(9); n > 0; --n) {
        const Word on = dice.of(uuids), on_id = 1 + dice.below(3), number = 1 + dice.below(12);
        const string digits = to_string(number), text = dice.one_in(4) ? "" : line();
        const Word type = rank(on, on_id) < rank(uuid, id) || dice.one_in(90) ? QARN_DEP_ORDER : QARN_DEP_CONDITIONAL;
        const string vlan = dice.of({"vlan ", "vlan ", "vlan configuration "});
        const Word what = dice.below(uuid == 383 ? 9 : 6);
        if (what == 0 || dice.one_in(4)) tlv.after(on, on_id, type);
        if (what == 1) tlv.text(text);
        if (what == 2) tlv.intf_text(1 + dice.below(5), text);
        if (what == 3) tlv.key_string(vlan + digits + "\n", dice.of({"", "  a\n", "  b\n"}));
        if (what == 4) tlv.key_string(digits, text);
        if (what == 5) tlv.key(dice.below(9), dice.of({"", "m\n", "m\n", "M\n", "\xe9\n"}), digits);
        if (what > 5) tlv.key(number, dice.one_in(9) ? to_string(dice.below(12)) : "", digits);
    }
}

const std::vector<Command> kCommands = {{qarn_cli_run_cfg_gen},         {qarn_cli_run_cfg_gen},
                                        {qarn_cli_run_cfg_gen_sap},     {qarn_cli_run_cfg_gen_exclude},
                                        {qarn_cli_run_vsan_cfg_gen, 1}, {qarn_cli_run_vlan_cfg_gen, 2},
                                        {qarn_cli_run_intf_cfg_gen, 3}, {qarn_cli_run_bfd_cfg_gen, 7},
                                        {qarn_cli_run_l2mp_cfg_gen, 8}, {qarn_cli_run_exclude_l2mp_cfg_gen, 9},
                                        {qarn_cli_run_fex_cfg_gen, 10}, {qarn_cli_run_exclude_fex_cfg_gen, 11}};

struct Case : test::Story {
    void TestBody() override {}
    void compare(Dice dice, Word debug_bits = 0) {
        req.dbg_mask = debug_bits;
        for (Word i = dice.one_in(9) ? 7 : 1; i < 7; ++i)
            sw.interfaces.push_back(
                {i, "Ethernet1/" + to_string(i), (i + 1) / 2, dice.of({1, 2, 5000}), "", false, {}});
        std::map<Word, Bytes> replies;
        std::map<Word, std::deque<sim::Message>> streams;
        for (Word sap = 291, end = 292 + dice.below(6), salt = dice.below(1000); sap < end; ++sap) {
            sw.service("s", sap, 0).silent().consumer = sap == 291 || !dice.one_in(9);
            sim::Tlv tlv;
            for (Word elements = dice.below(10); elements > 0; --elements)
                say_element(dice, tlv, salt);
            if (dice.one_in(9)) tlv.element({5, 1}).words(dice.of({3, 6, 7}), {1});
            replies[sap] = tlv.reply(dice.one_in(20) ? 42 : 0);
            if (!dice.one_in(30)) streams[sap] = sim::fragments(sap, replies[sap], dice.of({9, 60, 4096}));
        }

        // One token serves every command: a SAP, then a range list.
        command = kCommands[dice.below(kCommands.size())];
        const bool is_exclusion = command.entry == qarn_cli_run_cfg_gen_exclude;
        words = {291 + dice.below(sw.services.size() + is_exclusion), 1, dice.below(3), 1 + dice.below(4)};
        if (is_exclusion) command.excluded = words[0];
        if (command.entry == qarn_cli_run_cfg_gen_sap) command.sap = words[0];
        const bool has_token = command.excluded != 0 || command.sap != 0 || dice.one_in(2);
        if (has_token) {
            add_token(0, words.data(), QARN_TOKEN_TYPE_INTERFACE);
            command.low = words[2];
            command.high = words[3];
        }
        sim::set_shell_options(
            {.generic_option = command.option = dice.one_in(4) ? uint32_t{QARN_OPTION_CHECKPOINT} : 0});
        Replies complete;
        while (!streams.empty()) {
            const auto stream = std::next(streams.begin(), dice.below(streams.size()));
            sw.transport.deliver(req.mts_handle, QARN_OPC_REPLY, stream->second.front().payload);
            stream->second.pop_front();
            if (!stream->second.empty()) continue;
            complete.emplace_back(stream->first, replies[stream->first]);
            streams.erase(stream);
        }
        expect_model(complete, replies);
    }
    void expect_model(const Replies &complete, const std::map<Word, Bytes> &replies) {
        Model model{sw, command};
        explain::Observation observation;
        sw.observers = {&observation, &recorder};
        status = command.entry(&req);
        EXPECT_EQ(status, model.run(complete));
        EXPECT_EQ(sw.printed, model.out);
        if (req.dbg_mask == 0) expect_origins(observation, replies);
    }
    // All pieces are the text, and each comes from the replies of the services that are said to have sent it.
    void expect_origins(const explain::Observation &observation, const std::map<Word, Bytes> &replies) const {
        const explain::Origins origins = explain::find_origins({observation, sw});
        std::size_t end = 0;
        for (const explain::Piece &piece : origins.pieces) {
            std::istringstream part(sw.printed.substr(end, piece.size));
            end += piece.size;
            if (std::ranges::find(kTexts, piece.rule) == std::end(kTexts)) continue;
            const auto &saps = origins.senders[piece.senders];
            EXPECT_FALSE(saps.empty()) << explain::name_of(piece.rule) << ": " << part.str();
            const auto has = [&](const string &word) { return replies.at(saps[0]).find(word) != string::npos; };
            for (string word; saps.size() == 1 && part >> word;)
                EXPECT_TRUE(has(word)) << word;
        }
        EXPECT_EQ(end, sw.printed.size());
    }
    // Through a file, and on a switch that the recording describes.
    void expect_replay() {
        const auto interfaces = sw.interfaces;
        for (sim::Interface &interface : sw.interfaces)
            interface.vsan = std::min(interface.vsan, 4095u); // no description has a larger one
        const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::tmpfile(), std::fclose);
        explain::recording::Command recorded;
        recorded.options.generic_option = command.option;
        explain::recording::write_recording(recorder.take(sw, recorded, status), fileno(file.get()));
        const std::string path = "/proc/self/fd/" + to_string(fileno(file.get()));
        const auto recording = std::make_shared<const Recording>(explain::recording::read_recording(path));
        test::reset_globals();
        const auto again = explain::recording::switch_of(*recording);
        for (std::size_t i = 0; i < interfaces.size(); ++i)
            again->interfaces.at(i).vsan = interfaces[i].vsan;
        sim::set_shell_options(recording->command.options);
        explain::recording::replay_on(*again, recording, explain::recording::Pace::kFull);
        sim::make_current(again.get());
        req.mts_handle = again->transport.open(1000);
        EXPECT_EQ(command.entry(&req), status);
        EXPECT_EQ(again->printed, sw.printed);
        sim::make_current(&sw);
    }

    Command command;
    std::array<Word, 4> words = {}; // of the token
    explain::recording::Recorder recorder;
    Word status = 0;
    static constexpr explain::Rule kTexts[] = {explain::Rule::kOwnText, explain::Rule::kInterfaceText,
                                               explain::Rule::kKeyString, explain::Rule::kVlanText};
};

TEST(Model, PrintsWhatTheLibraryPrints) {
    const char *seed_text = std::getenv("MODEL_SEED"), *count_text = std::getenv("MODEL_CASES");
    const Word first = seed_text != nullptr ? static_cast<Word>(std::stoul(seed_text)) : 1;
    const Word count = count_text != nullptr ? static_cast<Word>(std::stoul(count_text)) : 3000;
    std::printf("MODEL_SEED=%u MODEL_CASES=%u\n", first, count);
    for (Word seed = first; seed != first + count && !HasFailure(); ++seed) {
        SCOPED_TRACE("MODEL_CASES=1 MODEL_SEED=" + to_string(seed));
        test::reset_globals();
        Case().compare({std::mt19937(seed)});
        if (seed % 10 != 0) continue;
        test::reset_globals();
        testing::internal::CaptureStdout(); // the traces of the walks
        Case().compare({std::mt19937(seed)}, QARN_DEBUG_STORE | QARN_DEBUG_LOOKUP);
        testing::internal::GetCapturedStdout();
    }
}

TEST(Model, IsPrintedAgainFromARecording) {
    for (Word seed = 1; seed <= 100 && !HasFailure(); ++seed) {
        SCOPED_TRACE(to_string(seed));
        test::reset_globals();
        Case one;
        one.compare({std::mt19937(seed)});
        one.expect_replay();
    }
}

} // namespace
