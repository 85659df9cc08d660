// Whole commands on a switch that ships a display conversion library: what it rewrites, what it leaves alone, how a
// command goes on without it, and that it is closed on every way out. The library is the simulated switch's own; only
// the place where it is found is the tests'.
#include <dlfcn.h>

#include "platform/cmdshell.h"
#include "support/story.h"

namespace {

constexpr uint32_t kBadSpecification = 0x40480001, kNoLicence = 0x40480002;
constexpr char kSpecification[] = "display-conversion replace vlan segment\n";

// What the loader does not find, and whether the conversion's end fails.
std::string missing, loader_error;
int loaded;
bool end_fails;

void *open_library(const char *path, int mode) {
    if (missing == path) return nullptr;
    void *library = dlopen(path == std::string_view("/opux/lib/libddas.so") ? DDAS_LIBRARY : path, mode);
    if (library != nullptr) ++loaded;
    return library;
}
int close_library(void *library) {
    --loaded;
    return dlclose(library);
}
uint32_t (*destroy)(void *handle);
uint32_t destroy_with_an_error(void *handle) {
    destroy(handle);
    return kNoLicence;
}
void *find_symbol(void *library, const char *name) {
    if (missing == name) {
        loader_error = "no " + missing;
        return nullptr;
    }
    void *symbol = dlsym(library, name);
    if (!end_fails || name != std::string_view("ddas_destroy_qarn_cnv_handle")) return symbol;
    destroy = reinterpret_cast<decltype(destroy)>(symbol);
    return reinterpret_cast<void *>(destroy_with_an_error);
}
char *last_error() {
    static std::string told;
    told = std::exchange(loader_error, "");
    return told.empty() ? nullptr : told.data();
}

class DisplayConversion : public test::Story {
  protected:
    DisplayConversion() {
        missing = loader_error = "";
        loaded = 0;
        end_fails = false;
        sw.error_texts = {{kBadSpecification, "bad rule"}, {kNoLicence, "no licence"}, {99, "no profile"}};
        ddas = &sw.service("ddas", 20, 222);
        ddas->element(1, 0).text = kSpecification;
        ddas->element(2, 1).text = "vlan of the conversion\n";
        sim::Service &stp = sw.service("stp", 21, 11);
        stp.element(9, 3).text = "vlan 10";
        stp.element(10, 5).text = "private-vlan 10\n";
        stp.element(11, 7).text = "name of vlan\n vlan 11\n";
        stp.elements.back().keys = {{0, "keys of vlan\n", "k"}};
    }
    ~DisplayConversion() override { g_cli_execution_filter_mode = 0; }

    // Below the header: the switch's configuration, its VLANs named so. Text that the conversion writes is followed by
    // no blank line.
    std::string shown(const std::string &specification = kSpecification) const {
        const bool plain = specification != kSpecification || !missing.empty() || req.info_flags != 0;
        const std::string vlan = plain ? "vlan" : "segment";
        return specification + "\nvlan of the conversion\n\n" + vlan + " 10\n" + (plain ? "\n" : "") +
               "private-vlan 10\n\nkeys of vlan\nname of " + vlan + "\n " + vlan + " 11\n" + (plain ? "\n" : "");
    }
    void expect_closed() {
        EXPECT_TRUE(ddas_qarn_cnv_handle_p == nullptr && ddas_create_func_ptr == nullptr &&
                    ddas_cnv_func_ptr == nullptr && ddas_destroy_func_ptr == nullptr);
        EXPECT_EQ(loaded, 0);
    }

    sim::Service *ddas;
    const test::Interposed open_{"dlopen", reinterpret_cast<void *>(open_library)},
        close_{"dlclose", reinterpret_cast<void *>(close_library)},
        find_{"dlsym", reinterpret_cast<void *>(find_symbol)}, error_{"dlerror", reinterpret_cast<void *>(last_error)};
};

TEST_F(DisplayConversion, RewritesTheTextsOfItsCommand) {
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(body(), shown());
    expect_closed();
    ddas->elements.clear();
    ddas->element(1, 0).text = "display-conversion replace 10 ten\n";
    run();
    EXPECT_EQ(body(),
              "display-conversion replace 10 ten\n\nvlan ten\nprivate-vlan ten\nkeys of vlan\n"
              "name of vlan\n vlan 11\n\n")
        << "the next command's own rules";
    expect_closed();
}

TEST_F(DisplayConversion, LeavesAWholePlainConfigurationWhenItCannotBeHad) {
    const std::tuple<std::string, uint32_t, std::string> cases[] = {
        {"", QARN_INFO_PLAIN, ""},
        {"/opux/lib/libddas.so", 0, ""},
        {"ddas_create_qarn_cnv_handle", 0, "\n *** no ddas_create_qarn_cnv_handle ***\n"},
        {"ddas_qarn_cnv", 0, "\n *** no ddas_qarn_cnv ***\n"},
        {"ddas_destroy_qarn_cnv_handle", 0, "\n *** no ddas_destroy_qarn_cnv_handle ***\n"},
    };
    for (const auto &[what, info_flags, line] : cases) {
        missing = what;
        req.info_flags = info_flags;
        EXPECT_EQ(run(), 0u) << what;
        EXPECT_EQ(body(), line + shown());
        expect_closed();
    }
    missing = "";
    req.info_flags = 0;
    const std::string bad = "display-conversion replace vlan\n";
    ddas->elements[0].text = bad;
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(body(), "Error in pre display operation:bad rule\n" + shown(bad));
    EXPECT_EQ(ddas_qarn_cnv_handle_p, nullptr);
}

TEST_F(DisplayConversion, IsClosedAfterTheMessageOfEveryWayOut) {
    const std::string last = "Error in post display operation:no licence\n";
    end_fails = true;
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(body(), shown() + last);
    expect_closed();

    g_cli_execution_filter_mode = CLI_FILTER_SWITCH_PROFILE;
    EXPECT_EQ(generate(), QARN_STATUS_FAILED + 0u) << "no switch profile";
    EXPECT_EQ(text, header() + shown() + last);
    expect_closed();
    sw.switch_profile = {.status = 99, .head_text = "never", .sync_cfg = "never"};
    EXPECT_EQ(generate(), 99u);
    EXPECT_EQ(body(), shown() + "config sync manager returned error:no profile\n" + last);
    expect_closed();

    for (const auto &[property, line] :
         {std::pair(0u, "KEYSTR Loop in the graph\n"), std::pair(uint32_t{QARN_PROP_INTF}, "Loop in the graph\n")}) {
        sim::Element &loop = ddas->element(3, 3, property);
        loop.dependencies = {{222, 3}};
        EXPECT_EQ(generate(), QARN_STATUS_FAILED + 0u);
        EXPECT_EQ(text, header() + line + last);
        expect_closed();
        ddas->elements.pop_back();
    }
}

} // namespace
