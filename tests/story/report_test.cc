// The page about a command: texts of services in it, and the picture.
#include <filesystem>
#include <fstream>

#include "explain/report/page.h"
#include "support/story.h"

namespace {

class Report : public test::Story {
  protected:
    std::string page(const explain::PictureBounds &bounds = {}) {
        explain::Observation observation;
        sw.observers.push_back(&observation);
        run();
        sw.observers.pop_back();
        return explain::report_page({observation, sw}, {"show running-config", "", "", {}, {}}, bounds);
    }
    std::string absence_of_picture(const explain::PictureBounds &bounds) {
        const std::string json = page(bounds);
        const std::size_t begin = json.find("\"absence\":\"") + 11;
        return json.substr(begin, json.find("\"}", begin) - begin);
    }
};

TEST_F(Report, HasNoMarkupOfAService) {
    sw.name = "</title>\xff";
    sw.service("a", 20, 21).element(1, 3).text = "<!--</script>\x01\xfe\n";
    const std::string html = page();
    EXPECT_NE(html.find("<title>&lt;/title&gt;\xef\xbf\xbd: show running-config</title>"), std::string::npos);
    EXPECT_NE(html.find("\\u003c!--\\u003c/script>\\u0001\xef\xbf\xbd\\u000a"), std::string::npos);
}

TEST_F(Report, SaysWhyItHasNoPicture) {
    sw.service("a", 20, 21).element(1, 3).dependencies = {{21, 2}};
    const auto absence_with = [this](const char *script, std::chrono::milliseconds time) {
        const std::string dot = testing::TempDir() + "/other-dot";
        std::ofstream(dot) << "#!/bin/sh\n" << script << '\n';
        std::filesystem::permissions(dot, std::filesystem::perms::owner_all);
        return absence_of_picture({.time = time, .program = dot.c_str()});
    };
    constexpr std::chrono::milliseconds kShort(50), kLong(10000);
    EXPECT_EQ(absence_with("exec sleep 60", kShort), "Graphviz did not draw the picture within its time.");
    EXPECT_EQ(absence_with("exit 3", kLong), "Graphviz failed with status 3.");
    EXPECT_EQ(absence_with("kill -KILL $$", kLong), "Graphviz was ended by a signal: Killed.");
    EXPECT_EQ(absence_of_picture({.program = "/nonexistent/dot"}),
              "Graphviz is not installed. With the package graphviz, this page has a picture here.");
    EXPECT_EQ(absence_of_picture({.elements = 1}).substr(0, 55),
              "The picture would have 2 elements and 1 dependencies, t");
}

} // namespace
