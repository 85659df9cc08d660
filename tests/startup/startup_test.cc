// The saved configuration as the driver finds it: present or not, locked and released; and the module
// list of the line-card manager.
#include <qarncli/startup.h>

#include <unistd.h>

#include <fstream>

#include "support/story.h"

namespace {

using Calls = std::vector<std::string>;

class Startup : public test::Story {
  protected:
    Startup() { folder = mkdtemp(pattern_.data()); }
    ~Startup() override { std::filesystem::remove_all(folder); }
    void file(const std::string &name) const {
        std::filesystem::create_directories(std::filesystem::path(name).parent_path());
        std::ofstream(name) << "stored %s";
    }
    uint32_t lock(uint32_t wanted) {
        watch([&] { status = qarn_startup_cfg_lock(9, wanted); });
        return status;
    }
    std::string pattern_ = testing::TempDir() + "startup-XXXXXX", folder;
};

TEST_F(Startup, AsciiFormIsTheFileInItsFolderWhosePathMustFit) {
    std::vector<char> path(256, '\0'); // its end is watched
    EXPECT_EQ(qarn_is_startup_cfg_present(&req, path.data()), 0) << "no folder is known";
    EXPECT_EQ(sw.calls.back(), "sysmgrcmi_dir_get(1, 2, 0)");
    sw.ascii_startup_dir = folder;
    EXPECT_EQ(qarn_is_startup_cfg_present(&req, path.data()), 0) << "no file";
    for (const std::size_t length : {244u, 245u, 250u}) {
        sw.ascii_startup_dir = folder + '/' + std::string(length - folder.size() - 1, 'd');
        const std::string whole = sw.ascii_startup_dir + "/system.cfg";
        file(whole);
        file(whole.substr(0, 255)); // what a cut path would name
        EXPECT_EQ(qarn_is_startup_cfg_present(&req, path.data()), length == 244 ? 1 : 0) << length;
        EXPECT_EQ(std::string(path.data()), length == 244 ? whole : "") << "not cut";
    }
}

TEST_F(Startup, BinaryFormIsAnyVisibleEntryOrAFolderThatCannotBeRead) {
    for (const char *name : {"/full/1", "/full/.hidden", "/dots/.hidden", "/dots/..more"})
        file(folder + name);
    const std::pair<const char *, int> cases[] = {{"/full", 1}, {"/dots", 0}, {"/missing", 1}, {"/full/1", 1}};
    for (const auto &[name, present] : cases) {
        sw.bin_startup_dir = folder + name;
        EXPECT_EQ(qarn_is_startup_bin_cfg_present(&req), present) << name;
        EXPECT_EQ(sw.calls.back(), "sysmgrcmi_dir_get(1, 8, 0)");
    }
    sw.bin_startup_dir.clear();
    EXPECT_EQ(qarn_is_startup_bin_cfg_present(&req), 0) << "no folder is known";
}

TEST_F(Startup, LockAndItsReleaseKeepStateAndResponse) {
    constexpr uint32_t kHeld = 0x4712;
    sw.lock_response = {"readonly:/s/bin", "readonly:/s/dbg", 0x4711}; // its status is traced only
    sw.error_texts = {{kHeld, "held by another"}};
    EXPECT_EQ(lock(1), 0u);
    EXPECT_EQ(sw.calls, Calls{"cmi_req_resp(7670, 3, lock, 8, \"\", \"\", 76, 9, 20)"});
    EXPECT_EQ(text, "");
    const void *response = startup_resp_data;
    EXPECT_STREQ(static_cast<const char *>(response), "readonly:/s/bin");
    for (const uint32_t wanted : {0u, 1u}) {
        sw.next("cmi_req_resp", {kHeld});
        EXPECT_EQ(lock(wanted), kHeld);
        EXPECT_EQ(text, "held by another\n");
        EXPECT_EQ(std::pair(start_cfg_locked, startup_resp_data), std::pair(1u, const_cast<void *>(response)));
    }
    EXPECT_EQ(lock(0), 0u);
    EXPECT_EQ(sw.calls, Calls{"cmi_req_resp(7670, 3, unlock, 8, \"\", \"\", 76, 9, 20)"});
    EXPECT_EQ(start_cfg_locked, 0u);
    sw.lock_response.reset();
    EXPECT_EQ(lock(1), 0u);
    EXPECT_EQ(startup_resp_data, nullptr) << "no response";
}

TEST_F(Startup, ModuleListIsStoredAndPrintedOnDemand) {
    sw.modules = {3, 0};
    debug = QARN_DEBUG_STORE;
    sw.next("cmi_req_resp", {0xabc});
    EXPECT_EQ(run(qarn_startup_cfg_modlist_get), 0u);
    EXPECT_EQ(text, "Unable to communicate with Linecard manager:0xabc\n");
    EXPECT_EQ(req.modlist, nullptr);
    for (const char *expected :
         {"", "Received modlist from lcm with count:2\nModule 1 status 3\nModule 2 status 0\n"}) {
        EXPECT_EQ(run(qarn_startup_cfg_modlist_get), 0u);
        EXPECT_EQ(text, expected);
        EXPECT_EQ(static_cast<const qarn_module_list *>(req.modlist)->count, 2u);
        req.modlist_flag = 1;
    }
    EXPECT_EQ(sw.calls[0], "cmi_req_resp(1076, 1, readonly:/var/sysmgr/startup-cfg/bin, 132, \"\", \"\", 16, 1, 0)");
    EXPECT_EQ(traces, "LCM ascii_command is  psspath is readonly:/var/sysmgr/startup-cfg/bin \n");
}

std::vector<uint32_t> lock_request; // its two words, of which the record of calls does not show the second

TEST_F(Startup, LockNamesThisProcess) {
    const test::Interposed interposed("cmi_req_resp", reinterpret_cast<void *>(+[](int, int, const uint32_t *words) {
                                          lock_request.assign(words, words + 2);
                                          return 0x4711u;
                                      }));
    lock(1);
    EXPECT_EQ(lock_request, (std::vector{1u, static_cast<uint32_t>(getpid())}));
}

TEST_F(Startup, AsciiFileIsShownAsStoredThroughAProgram) {
    file(folder + "/a");
    watch([&] { EXPECT_EQ(qarn_merge_cat_file((folder + "/a").c_str()), 0); });
    EXPECT_EQ(traces + "|" + text, "stored %s|");
    EXPECT_EQ(sw.calls, Calls{"execute_program_and_wait(/bin/cat, " + folder + "/a)"});
    watch([&] { EXPECT_EQ(qarn_merge_cat_file((folder + "/none").c_str()), -1); });
    EXPECT_EQ(sw.calls, Calls());
}

} // namespace
