#include <csignal>

#include "capmgr_fixture.h"
#include "live_scene.h"
#include "xvfb_server.h"

namespace {

using LiveSceneTest = CapmgrTest;

TEST_F(LiveSceneTest, ChangesThePictureBetweenTwoShots) {
    const XvfbServer server("1280x720x24");
    const LiveScene scene(server.display());
    runCapmgr(server.display(), {"shot", "one.png"});
    runCapmgr(server.display(), {"shot", "two.png"});
    const Picture one = readPicture(file("one.png"));
    EXPECT_EQ(one.width, 1280U);
    EXPECT_GT(greatestDifference(one, readPicture(file("two.png"))), 0);
}

TEST_F(LiveSceneTest, EndsProperlyWhenTold) {
    const XvfbServer server("640x480x24");
    LiveScene scene(server.display());
    scene.process().send(SIGTERM);
    const ChildResult result = scene.process().finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
}

TEST_F(LiveSceneTest, RefusesARateOutOfRange) {
    ChildSetup setup = program(LIVESCENE_PROGRAM, "");
    setup.command.insert(setup.command.end(), {"--fps", "0"});
    const ChildResult result = runToEnd(setup);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(linesOf(result.errors).size(), 1U);
}

TEST_F(LiveSceneTest, FailsWithoutAServer) {
    const ChildResult result = runToEnd(program(LIVESCENE_PROGRAM, ""));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(linesOf(result.errors).size(), 1U);
}

}  // namespace
