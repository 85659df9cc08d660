// Thousands of commands in one process. A generation abandons its data, so memory grows: by the same for every round of
// the same commands, and not by what a generation owns and frees, its messages and replies. Open files and mapped
// libraries stay as many as before the first command. Prints what a round costs.
#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <csignal>
#include <fstream>

#include "support/globals.h"
#include "support/story.h"

// Under AddressSanitizer, which replaces the allocator that mallinfo2 knows.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace {

constexpr int kRounds = 1250; // of 8 commands

void *open_conversion_library(const char *, int mode) {
    return dlopen(DDAS_LIBRARY, mode);
}

std::size_t allocated_bytes() {
    if (__sanitizer_get_current_allocated_bytes != nullptr) return __sanitizer_get_current_allocated_bytes();
    return mallinfo2().uordblks + mallinfo2().hblkhd;
}

long open_files() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

// Mappings of files: the libraries. The heap's are not among them.
long mapped_files() {
    std::ifstream maps("/proc/self/maps");
    long count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find(" /") != std::string::npos ? 1 : 0;
    return count;
}

class Soak : public test::Story {
  protected:
    Soak() {
        sw.recording = false;
        save_startup("stored\n");
        for (const uint32_t index : {1u, 2u, 3u})
            add_interface(index, "e" + std::to_string(index), 1);
        sw.service("interfaces", 100, QARN_UUID_INTERFACE).element(1, 11);
        sw.service("ddas", 101, QARN_UUID_CONVERSION).element(1, 0).text = "display-conversion replace one two\n";
        sim::Element &ports = sw.service("ports", 102, 501).element(1, 2, QARN_PROP_INTF | QARN_PROP_VSAN);
        ports.intf_texts = {{1, "  one\n"}, {3, "  three\n"}};
        sim::Element &vlans = sw.service("vlans", 103, QARN_UUID_VLAN).element(2, 3, QARN_PROP_VLAN);
        vlans.keys = {{1, "", "vlan 1\n"}, {2, "", "vlan 2\n"}};
        sim::Element &filed = sw.service("filed", 104, 502).element(1, 4, QARN_PROP_VLAN);
        filed.text = "one\n";
        filed.key_strings = {{"vlan 1\n", "  name x\n"}, {"header\n", "  text\n"}};
        pad_replies(16);
        add_ranges_token({{1, 2}});
        add_sap_token(104);
    }

    // One more service, of which nothing is kept: a tag of another release.
    void pad_replies(std::size_t bytes) {
        if (sw.find_service("padding") == nullptr) sw.service("padding", 105, 503);
        sw.find_service("padding")->replies(test::Tlv().raw(99, std::string(bytes, 'x')));
    }

    struct Command {
        EntryPoint entry_point;
        int token = -1; // of the two that the fixture has
        bool fails = false;
    };

    void run_one(const Command &command) {
        test::reset_globals();
        sw.printed.clear();
        sw.chains.clear();
        qarn_req request = req;
        request.num_tokens = command.token >= 0 ? 1 : 0;
        if (command.token >= 0) request.tokens[0] = req.tokens[command.token];
        if (command.fails) sw.next("mts_recv", {-1, EIO, 1});
        EXPECT_EQ(command.entry_point(&request), command.fails ? 1u : 0u);
        auto &endpoint = sw.transport.endpoints.at(req.mts_handle);
        endpoint.streams.clear(); // of a command that ended early
        EXPECT_EQ(sw.printed.empty(), command.fails);
    }
};

TEST_F(Soak, OfTenThousandCommandsGrowsByWhatTheyAbandon) {
    const test::Interposed loader("dlopen", reinterpret_cast<void *>(open_conversion_library));
    const Command commands[] = {
        {qarn_cli_run_cfg_gen},
        {qarn_cli_start_cfg_gen},
        {qarn_cli_run_vlan_cfg_gen, 0},
        {qarn_cli_run_vsan_cfg_gen, 0},
        {qarn_cli_run_intf_cfg_gen, 0},
        {qarn_cli_run_cfg_gen_sap, 1},
        {qarn_cli_run_cfg_gen_exclude, 1},
        {qarn_cli_run_cfg_gen, -1, true},
    };
    testing::internal::CaptureStderr(); // of the command that fails
    const auto round = [&] {
        for (const Command &command : commands)
            run_one(command);
    };
    const long files = open_files(), mapped = mapped_files();
    for (int i = 0; i < 10; ++i)
        round(); // what is made once
    const std::size_t begin = allocated_bytes();
    for (int i = 0; i < kRounds / 2; ++i)
        round();
    pad_replies(40000); // is freed with its reply
    const std::size_t middle = allocated_bytes();
    for (int i = 0; i < kRounds / 2; ++i)
        round();
    const std::size_t end = allocated_bytes();
    EXPECT_EQ(open_files(), files);
    EXPECT_EQ(mapped_files(), mapped);
    testing::internal::GetCapturedStderr();

    std::printf("%zu bytes per round of %zu commands in the first half, %zu in the second\n",
                (middle - begin) / (kRounds / 2), std::size(commands), (end - middle) / (kRounds / 2));
    EXPECT_LE(static_cast<double>(end - middle), 1.01 * static_cast<double>(middle - begin));
    for (const int signo : {SIGINT, SIGHUP, SIGPIPE}) {
        struct sigaction action = {};
        sigaction(signo, nullptr, &action);
        EXPECT_EQ(reinterpret_cast<void *>(action.sa_handler), reinterpret_cast<void *>(qarn_sig_handler));
    }
}

} // namespace
