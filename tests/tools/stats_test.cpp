/* The figures that 'capmgr stats' shows. */
#include <csignal>
#include <nlohmann/json.hpp>

#include "capmgr_fixture.h"
#include "live_scene.h"
#include "randr_client.h"
#include "window_client.h"
#include "xvfb_server.h"

namespace {

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kOwnScreen = "\x1b[?1049h";
constexpr const char* kScreenBefore = "\x1b[?25h\x1b[?1049l";

class StatsTest : public CapmgrTest {
  protected:
    ChildSetup stats(const std::vector<std::string>& options) const {
        std::vector<std::string> arguments{"stats"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return capmgr(server.display(), arguments);
    }

    ChildSetup onTerminal(const std::vector<std::string>& options) const {
        ChildSetup setup = stats(options);
        setup.output = OutputKind::Terminal;
        return setup;
    }

    const XvfbServer server{"640x480x24"};
    const LiveScene scene{server.display()};
};

TEST_F(StatsTest, PipeHasALineAnInterval) {
    const ChildResult result = runToEnd(stats({"--seconds", "1.8", "--interval", "0.5"}));
    EXPECT_EQ(result.status, 0) << result.errors;
    const std::vector<std::string> lines = linesOf(result.output);
    ASSERT_THAT(lines, SizeIs(testing::AllOf(testing::Ge(2U), testing::Le(3U))));
    EXPECT_THAT(lines[1], ContainsRegex("^[0-9]+ s: [0-9.]+ of 30 frames/s, frames [1-9][0-9]* "
                                        "\\([0-9]+ missed, 0 black stand-ins\\), latency median "
                                        "[0-9.]+ ms, p99 [0-9.]+ ms, max [0-9.]+ ms, 640x480, "
                                        "[0-9.]+ % processor, [0-9.]+ MiB$"));
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
}

TEST_F(StatsTest, JsonIsADocumentALine) {
    const ChildResult result =
        runToEnd(stats({"--json", "--seconds", "1.8", "--interval", "0.5", "--fps", "10"}));
    ASSERT_GE(linesOf(result.output).size(), 2U);
    double before = 0.0;
    for (const std::string& line : linesOf(result.output)) {
        const auto figures = nlohmann::json::parse(line);
        EXPECT_EQ(figures["frames_per_second_wanted"], 10);
        EXPECT_EQ(figures["width"], 640);
        EXPECT_GE(figures["all"]["frames"], figures["recent"]["frames"]);
        EXPECT_GT(figures["seconds"], before);
        EXPECT_GT(figures["memory_bytes"], 1000000);
        before = figures["seconds"];
    }
}

TEST_F(StatsTest, TerminalIsRedrawnInPlaceAndRestored) {
    const ChildResult result = runToEnd(onTerminal({"--seconds", "1.3", "--interval", "0.5"}));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, StartsWith(kOwnScreen));
    EXPECT_THAT(result.output, ContainsRegex("\x1b\\[H.*capmgr: monitor 0"));
    EXPECT_THAT(result.output, ContainsRegex("frame size   640x480"));
    EXPECT_THAT(result.output, EndsWith(kScreenBefore));
}

TEST_F(StatsTest, InterruptionRestoresTheTerminal) {
    ChildProcess child(onTerminal({}));
    ASSERT_TRUE(child.awaitOutput("640x480"));
    child.send(SIGINT);
    const ChildResult result = child.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, EndsWith(kScreenBefore));
}

// Both are pending when the stopped program goes on.
TEST_F(StatsTest, SecondInterruptionRestoresTheTerminalAsWell) {
    ChildProcess child(onTerminal({}));
    ASSERT_TRUE(child.awaitOutput("640x480"));
    child.send(SIGSTOP);
    child.send(SIGINT);
    child.send(SIGTERM);
    child.send(SIGCONT);
    EXPECT_THAT(child.finish().output, EndsWith(kScreenBefore));
}

TEST_F(StatsTest, ScreenOfAnotherSizeEndsIt) {
    ChildProcess child(stats({"--interval", "0.2"}));
    ASSERT_TRUE(child.awaitOutput("640x480"));
    RandrClient(server.display()).setMode(modeOfSize(320, 240));
    expectRefusal(child.finish(), 1, "monitor 0 changed its size or place while it was captured");
}

TEST_F(StatsTest, FailureRestoresTheTerminalAndIsTold) {
    const auto client = std::make_unique<WindowClient>(server.display());
    const xcb_window_t window = client->open({.area = {0, 0, 50, 50}, .color = {9, 99, 199}});
    client->sync();
    ChildProcess child(onTerminal({"--window", std::to_string(window)}));
    ASSERT_TRUE(child.awaitOutput("640x480"));
    client->destroy(window);
    client->sync();
    const ChildResult result = child.finish();
    expectRefusal(result, 1, "the window is not on screen any more");
    EXPECT_THAT(result.output, ContainsRegex("[1-9][0-9]* black stand-ins"));
    EXPECT_THAT(result.output, EndsWith(kScreenBefore));
}

// The shell gives the program a terminal to read from, on which a person then types.
TEST_F(StatsTest, KeyQuits) {
    ChildSetup setup = program("", server.display());
    setup.command = {
        "/bin/sh",         "-c",   "(while sleep 0.2; do printf q; done) | \"$@\"", "sh",
        "/usr/bin/script", "-qec", std::string(CAPMGR_PROGRAM) + " stats",          "/dev/null"};
    const ChildResult result = runToEnd(setup);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr(kScreenBefore));
}

TEST_F(StatsTest, ReaderThatGoesAwayEndsIt) {
    ChildProcess child(stats({"--interval", "0.2"}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    child.closeOutput();
    expectRefusal(child.finish(), 1, "cannot write to standard output: Broken pipe");
}

}  // namespace
