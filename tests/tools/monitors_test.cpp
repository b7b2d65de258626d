#include <nlohmann/json.hpp>

#include "capmgr_fixture.h"
#include "xvfb_server.h"

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::SizeIs;

using MonitorsTest = CapmgrTest;

TEST_F(MonitorsTest, TableHoldsTheOneMonitorOfAPlainServer) {
    const XvfbServer server("800x600x24");
    const ChildResult result = runCapmgr(server.display(), {"monitors"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    const std::vector<std::string> lines = linesOf(result.output);
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], ContainsRegex("^Index  Name .*  Position .* Size +Hz  Bits  Primary$"));
    EXPECT_THAT(lines[1], ContainsRegex("^ +0  [^ ]+ .* 0,0  800x600 +[0-9]+    32  yes$"));
}

TEST_F(MonitorsTest, ColumnsEndWhereTheirTitlesEnd) {
    const XvfbServer server("1280x1024x24");
    const std::vector<std::string> lines =
        linesOf(runCapmgr(server.display(), {"monitors"}).output);
    ASSERT_THAT(lines, SizeIs(2));
    const auto endOf = [](const std::string& line, const std::string& word) {
        return line.find(word) + word.size();
    };
    EXPECT_EQ(endOf(lines[0], "Position"), endOf(lines[1], " 0,0"));
    EXPECT_EQ(endOf(lines[0], "Size"), endOf(lines[1], "1280x1024"));
    EXPECT_EQ(endOf(lines[0], "Bits"), endOf(lines[1], " 32"));
}

TEST_F(MonitorsTest, DepthOfTheServerIsShown) {
    const XvfbServer server("640x480x16");
    const ChildResult result = runCapmgr(server.display(), {"monitors"});
    EXPECT_THAT(result.output, ContainsRegex("640x480 +[0-9]+    16  yes\n$"));
}

TEST_F(MonitorsTest, JsonHoldsTheOneMonitorOfAPlainServer) {
    const XvfbServer server("800x600x24");
    const ChildResult result = runCapmgr(server.display(), {"monitors", "--json"});
    EXPECT_EQ(result.status, 0);
    const auto monitors = nlohmann::json::parse(result.output);
    ASSERT_THAT(monitors, SizeIs(1));
    EXPECT_EQ(monitors[0]["index"], 0);
    EXPECT_EQ(monitors[0]["left"], 0);
    EXPECT_EQ(monitors[0]["top"], 0);
    EXPECT_EQ(monitors[0]["width"], 800);
    EXPECT_EQ(monitors[0]["height"], 600);
    EXPECT_EQ(monitors[0]["bits_per_pixel"], 32);
    EXPECT_EQ(monitors[0]["primary"], true);
}

TEST_F(MonitorsTest, TraceIsShownOnlyWhenAskedFor) {
    const XvfbServer server("640x480x24");
    EXPECT_EQ(runCapmgr(server.display(), {"monitors"}).errors, "");
    EXPECT_EQ(runCapmgr(server.display(), {"--trace", "1", "monitors"}).errors, "");
    EXPECT_THAT(runCapmgr(server.display(), {"monitors", "--trace", "2"}).errors,
                HasSubstr("CAPTURE_MANAGER_API GetMonitorCount..."));
}

}  // namespace
