// The header above the configuration, the display conversion around it, and the listing of placeholders. The dynamic
// loader is replaced, so that a conversion library can be missing in every way.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <tuple>

#include "platform/cmdshell.h"
#include "support/story.h"

namespace {

using test::kNowText;
using Calls = std::vector<std::string>;

class Header : public test::Story {
  protected:
    ~Header() override {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    std::string show(std::uint32_t cfg_source) {
        watch([&] { qarn_time_print(&req, cfg_source, path.c_str()); });
        return text;
    }
    const std::string path = testing::TempDir() + "system.cfg." + std::to_string(getpid());
    const std::string time_line = std::string("!Time: ") + kNowText;
};

TEST_F(Header, NamesTheCommandAndTheTime) {
    const std::tuple<const char *, std::uint32_t, std::uint32_t, std::string> cases[] = {
        {"running", 1, 0, "\n!Command: show running-config\n" + time_line},
        {"bits without a meaning", 1, ~0x14u, "\n!Command: show running-config\n" + time_line},
        {"running as saved now", 1, 0x04,
         "\n!Command: show startup-config\n" + time_line + "!Startup config saved at: " + kNowText + "\n"},
        {"saved now before checkpoint", 1, 0x14,
         "\n!Command: show startup-config\n" + time_line + "!Startup config saved at: " + kNowText + "\n"},
        {"checkpoint", 1, 0x10, "\n!Command: Checkpoint cmd vdc 2\n" + time_line},
        {"startup", 2, 0x04, "\n!Command: show running-config\n" + time_line + "!Startup config saved at: today\n"},
        {"startup checkpoint", 2, 0x10,
         "\n!Command: Checkpoint cmd vdc 2\n" + time_line + "!Startup config saved at: today\n"},
    };
    std::ofstream(path) << "!Startup config saved at: today\n";
    sw.vdc = 0x10002;
    for (const auto &[what, source, options, expected] : cases) {
        g_cli_generic_option = options;
        EXPECT_EQ(show(source), expected) << what;
        EXPECT_EQ(traces, "") << what;
    }
}

TEST_F(Header, CopiesWhenTheStartupConfigurationWasSaved) {
    const std::string line = "Startup config saved at";
    const std::tuple<const char *, std::string, std::string> cases[] = {
        {"first of two", "!Command: x\n!" + line + ": a\n!" + line + ": b\n", "!" + line + ": a\n"},
        {"leading blanks and tabs", " \t " + line + " \t\n", line + " \t\n"},
        {"no final newline", "x\n" + line, line + "\n"},
        {"no such line", "!Startup config\nsaved at\n", ""},
        {"an empty file", "", ""},
        {"the whole buffer is one line", std::string(4097 - line.size(), 'x') + line + "y\n",
         std::string(4097 - line.size(), 'x') + line + "\n"},
        {"a longer line is read in pieces", std::string(4097, 'x') + "  " + line + "\n", line + "\n"},
        {"found in neither piece", std::string(4090, 'x') + line + "\n", ""},
    };
    for (const auto &[what, file, shown] : cases) {
        std::ofstream(path) << file;
        EXPECT_EQ(show(2), "\n!Command: show running-config\n" + time_line + shown) << what;
    }
    std::filesystem::remove(path);
    EXPECT_EQ(show(2), "\n!Command: show running-config\n" + time_line);
    EXPECT_EQ(traces, "Error: opening file: " + path);
}

TEST_F(Header, NamesTheVersionWhenItIsKnown) {
    watch(qarn_version_print);
    EXPECT_EQ(text, "\nversion 4.2(7)\n");
    sw.version.reset();
    watch(qarn_version_print);
    EXPECT_EQ(text, "");
}

// The loader with one library, and that library.
struct Loader {
    bool has_library = true;
    std::string missing; // symbol
    std::uint32_t create_status = 0, destroy_status = 0;
    Calls calls;
    std::string error;
} loader;

std::uint32_t create_conversion(const char *specification, void **handle) {
    loader.calls.push_back(std::string("create ") + specification);
    *handle = &loader;
    return loader.create_status;
}
std::uint32_t convert(void *, const char *, std::uint32_t, std::uint32_t, std::int32_t (*)(const char *, ...)) {
    return 0;
}
std::uint32_t destroy_conversion(void *handle) {
    loader.calls.push_back(handle == &loader ? "destroy" : "destroy another");
    return loader.destroy_status;
}
void *open_library(const char *path, int mode) {
    loader.calls.push_back(std::string("open ") + path + " " + std::to_string(mode));
    return loader.has_library ? &loader.calls : nullptr;
}
void *find_symbol(void *, const char *name) {
    loader.calls.push_back(name);
    if (loader.missing == name) {
        loader.error = std::string("no symbol ") + name;
        return nullptr;
    }
    const std::map<std::string_view, void *> symbols = {
        {"ddas_create_qarn_cnv_handle", reinterpret_cast<void *>(create_conversion)},
        {"ddas_qarn_cnv", reinterpret_cast<void *>(convert)},
        {"ddas_destroy_qarn_cnv_handle", reinterpret_cast<void *>(destroy_conversion)}};
    return symbols.at(name);
}
char *last_error() {
    static std::string told;
    told = std::exchange(loader.error, "");
    return told.empty() ? nullptr : told.data();
}
int close_library(void *handle) {
    loader.calls.push_back(handle == &loader.calls ? "close" : "close another");
    return 0;
}

class Conversion : public test::Story {
  protected:
    Conversion() {
        test::start_generation(&req);
        loader = {};
        sw.error_texts = {{99, "no licence"}};
    }
    void pre() {
        loader.calls.clear();
        watch([&] { qarn_pre_display_op(&req); });
    }
    void post() {
        loader.calls.clear();
        watch(qarn_post_display_op);
    }

    const test::Interposed open_{"dlopen", reinterpret_cast<void *>(open_library)},
        find_{"dlsym", reinterpret_cast<void *>(find_symbol)}, error_{"dlerror", reinterpret_cast<void *>(last_error)},
        close_{"dlclose", reinterpret_cast<void *>(close_library)};
    const Calls resolved = {"open /opux/lib/libddas.so 1", "ddas_create_qarn_cnv_handle", "ddas_qarn_cnv",
                            "ddas_destroy_qarn_cnv_handle"};
};

TEST_F(Conversion, LivesFromItsSpecificationToTheEndOfTheDisplay) {
    pre();
    EXPECT_EQ(loader.calls, Calls()) << "no specification";
    test::store_element({.uuid = 222, .elem_id = 1}, "to tables");
    req.info_flags = QARN_INFO_PLAIN;
    pre();
    EXPECT_EQ(loader.calls, Calls()) << "plain output";
    req.info_flags = ~std::uint32_t{QARN_INFO_PLAIN};
    Calls calls = resolved;
    calls.push_back("create to tables");
    for (const char *what : {"first", "again"}) {
        pre();
        EXPECT_EQ(loader.calls, calls) << what;
        EXPECT_EQ(ddas_qarn_cnv_handle_p, &loader) << what;
        EXPECT_EQ(ddas_cnv_func_ptr, convert) << what;
        post();
        EXPECT_EQ(loader.calls, (Calls{"destroy", "close"})) << what;
        EXPECT_TRUE(ddas_qarn_cnv_handle_p == nullptr && ddas_create_func_ptr == nullptr &&
                    ddas_cnv_func_ptr == nullptr && ddas_destroy_func_ptr == nullptr)
            << what;
        post();
        EXPECT_EQ(loader.calls, Calls()) << what;
        EXPECT_EQ(text, "") << what;
    }
}

TEST_F(Conversion, IsGivenUpWhenItCannotBeOpened) {
    const std::tuple<const char *, bool, std::string, std::uint32_t, std::string, std::size_t, Calls> cases[] = {
        {"no library", false, "", 0, "", 1, {}},
        {"no create", true, resolved[1], 0, "\n *** no symbol " + resolved[1] + " ***\n", 2, {"close"}},
        {"no convert", true, resolved[2], 0, "\n *** no symbol " + resolved[2] + " ***\n", 3, {"close"}},
        {"no destroy", true, resolved[3], 0, "\n *** no symbol " + resolved[3] + " ***\n", 4, {"close"}},
        {"create fails", true, "", 99, "Error in pre display operation:no licence\n", 4, {"create to tables"}},
    };
    test::store_element({.uuid = 222, .elem_id = 1}, "to tables");
    for (const auto &[what, has_library, without, create_status, expected, num_resolved, then] : cases) {
        loader.has_library = has_library;
        loader.missing = without;
        loader.create_status = create_status;
        pre();
        EXPECT_EQ(text, expected) << what;
        Calls calls(resolved.begin(), resolved.begin() + static_cast<std::ptrdiff_t>(num_resolved));
        calls.insert(calls.end(), then.begin(), then.end());
        EXPECT_EQ(loader.calls, calls) << what;
        EXPECT_EQ(ddas_qarn_cnv_handle_p, nullptr) << what;
        post();
        EXPECT_EQ(loader.calls, Calls()) << what;
    }
}

TEST_F(Conversion, IsOverEvenWhenItsEndFails) {
    test::store_element({.uuid = 222, .elem_id = 1});
    pre();
    loader.destroy_status = 99;
    post();
    EXPECT_EQ(text, "Error in post display operation:no licence\n");
    EXPECT_EQ(loader.calls, (Calls{"destroy", "close"}));
    EXPECT_EQ(ddas_qarn_cnv_handle_p, nullptr);
}

TEST_F(Header, ListsPlaceholders) {
    test::start_generation(&req);
    test::store_element({.uuid = 1, .elem_id = 2, .property = QARN_PROP_DUMMY});
    test::store_element({.uuid = 1, .elem_id = 3});
    test::store_element({.uuid = 40000, .elem_id = 50000, .property = 0x14});
    qarn_merge_key keys[] = {{40000, 50000}, {1, 3}, {9, 9}, {1, 2}};
    vertex vertices[4] = {};
    for (int i = 0; i < 4; ++i) {
        vertices[i].data = &keys[i];
        enqueue(&intf_element_q, &vertices[i]);
    }
    watch([] { print_dummy_elems(&intf_element_q); });
    EXPECT_EQ(text, "Dummy Elements:\n(40000,50000) (1,2) \n");
    EXPECT_EQ(traces, "");
}

} // namespace
