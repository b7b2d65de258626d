#include "capmgr_fixture.h"
#include "live_scene.h"
#include "xvfb_server.h"

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using OutputTest = CapmgrTest;

TEST_F(OutputTest, RunDrawsABarOnATerminal) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    ChildSetup setup = capmgr(server.display(), {"run", "--seconds", "1"});
    setup.output = OutputKind::Terminal;
    const ChildResult result = runToEnd(setup);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output,
                ContainsRegex("\r\\[\x1b\\[32m#+\x1b\\[0m-*\\] [0-9.]+ of 1 s, [0-9]+ frames, "
                              "[0-9.]+ frames/s, latency [0-9.]+ ms"));
    EXPECT_THAT(result.output, HasSubstr("\npictures "));
}

TEST_F(OutputTest, RunWritesPlainLinesIntoAPipe) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    const ChildResult result = runCapmgr(server.display(), {"run", "--seconds", "2.5"});
    EXPECT_THAT(result.output, Not(HasSubstr("\r")));
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
    const std::vector<std::string> lines = linesOf(result.output);
    ASSERT_GE(lines.size(), 2U);
    const char* const line = "[0-9.]+ s: [0-9]+ frames, [0-9.]+ frames/s, latency [0-9.]+ ms";
    EXPECT_THAT(lines[0], ContainsRegex(line));
    EXPECT_THAT(lines[1], ContainsRegex(line));
    EXPECT_THAT(lines[2], Not(HasSubstr("frames/s, latency")));
}

TEST_F(OutputTest, ReaderThatGoesAwayDoesNotCostThePictures) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    ChildProcess child(capmgr(server.display(), {"run", "--seconds", "3", "--out", "out"}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    child.closeOutput();
    expectRefusal(child.finish(), 1, "cannot write to standard output: Broken pipe");
    EXPECT_THAT(names(), ElementsAre("out", "out/first.png", "out/last.png", "out/middle.png"));
    EXPECT_EQ(readPicture(file("out/last.png")).width, 640U);
}

TEST_F(OutputTest, FullDiskUnderTheOutputIsReported) {
    const XvfbServer server("640x480x24");
    ChildSetup setup = capmgr(server.display(), {"monitors"});
    setup.output = OutputKind::FullDisk;
    expectRefusal(runToEnd(setup), 1, "cannot write to standard output: No space left on device");
}

TEST_F(OutputTest, HelpAndVersionGoToStandardOutput) {
    for (const char* const option : {"--help", "--version"}) {
        const ChildResult result = runCapmgr("", {option});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
        EXPECT_THAT(result.output, HasSubstr("capmgr"));
    }
}

}  // namespace
