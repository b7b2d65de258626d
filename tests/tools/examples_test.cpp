#include "capmgr_fixture.h"
#include "live_scene.h"
#include "xvfb_server.h"

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::Each;
using testing::SizeIs;

using ExamplesTest = CapmgrTest;

std::vector<std::string> framesIn(const std::string& output) {
    std::vector<std::string> frames = linesOf(output);
    std::erase_if(frames, [](const std::string& line) { return !line.starts_with("frame "); });
    return frames;
}

TEST_F(ExamplesTest, HostInCListsTheMonitorAndReadsTenFrames) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    const ChildResult result = runToEnd(program(EXAMPLE_C_PROGRAM, server.display()));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, ContainsRegex("^monitor 0: .*, 640 x 480 pixels, primary\n"));
    EXPECT_THAT(framesIn(result.output),
                AllOf(SizeIs(10), Each(ContainsRegex(": 640 x 480 pixels, brightness [1-9]"))));
}

TEST_F(ExamplesTest, HostInCppReadsTenFramesOfHalfTheSize) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    const ChildResult result = runToEnd(program(EXAMPLE_CPP_PROGRAM, server.display()));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, ContainsRegex("^monitor 0: "));
    EXPECT_THAT(framesIn(result.output),
                AllOf(SizeIs(10), Each(ContainsRegex(": 320 x 240 pixels, [1-9][0-9]+ colours"))));
}

class ExampleWithoutDisplay : public ExamplesTest,
                              public testing::WithParamInterface<const char*> {};

TEST_P(ExampleWithoutDisplay, SaysThatThereIsNoMonitor) {
    const ChildResult result = runToEnd(program(GetParam(), ""));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(
        linesOf(result.errors),
        testing::Contains(testing::StartsWith("host: there is no monitor, or no display server")));
    EXPECT_EQ(result.output, "");
}

INSTANTIATE_TEST_SUITE_P(Both, ExampleWithoutDisplay,
                         testing::Values(EXAMPLE_C_PROGRAM, EXAMPLE_CPP_PROGRAM));

}  // namespace
