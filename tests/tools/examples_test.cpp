#include "capmgr_fixture.h"
#include "live_scene.h"
#include "xvfb_server.h"

namespace {

using testing::ContainsRegex;

using ExamplesTest = CapmgrTest;

TEST_F(ExamplesTest, HostInCReportsAFrame) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    const ChildResult result = runToEnd(program(EXAMPLE_C_PROGRAM, server.display()));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, ContainsRegex("^640 x 480 pixels, brightness [1-9]"));
}

TEST_F(ExamplesTest, HostInCppReportsAFrameOfHalfTheSize) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    const ChildResult result = runToEnd(program(EXAMPLE_CPP_PROGRAM, server.display()));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, ContainsRegex("^monitor 0: .*\n320 x 240 pixels, [1-9][0-9]"));
}

}  // namespace
