#include <csignal>
#include <cstring>

#include "capmgr_fixture.h"
#include "live_scene.h"
#include "xvfb_server.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class InterruptionTest : public CapmgrTest, public testing::WithParamInterface<int> {};

TEST_P(InterruptionTest, EndsARunWithPicturesAndSummary) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    ChildProcess child(capmgr(server.display(), {"run", "--seconds", "600"}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    child.send(GetParam());
    const ChildResult result = child.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, HasSubstr("\npictures "));
    EXPECT_EQ(readPicture(file("captures/first.png")).width, 640U);
    EXPECT_EQ(readPicture(file("captures/middle.png")).width, 640U);
    EXPECT_EQ(readPicture(file("captures/last.png")).width, 640U);
}

INSTANTIATE_TEST_SUITE_P(EverySignal, InterruptionTest, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& test) { return std::string(sigabbrev_np(test.param)); });

using SecondInterruptionTest = CapmgrTest;

// Both are pending when the stopped program goes on, so the second cannot come too late.
TEST_F(SecondInterruptionTest, EndsAtOnceAndLeavesNothingHalfWritten) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    ChildProcess child(capmgr(server.display(), {"run", "--seconds", "600"}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    child.send(SIGSTOP);
    child.send(SIGINT);
    child.send(SIGTERM);
    child.send(SIGCONT);
    const ChildResult result = child.finish();
    EXPECT_GT(result.status, 128);
    EXPECT_THAT(result.output, Not(HasSubstr("pictures")));
    EXPECT_THAT(names(), ElementsAre("captures"));
}

using ShotInterruptionTest = CapmgrTest;

// A screen of one colour holds the first frame back long enough to be interrupted.
TEST_F(ShotInterruptionTest, SaysSoAndWritesNothing) {
    const XvfbServer server("640x480x24");
    ChildSetup setup = capmgr(server.display(), {"--trace", "2", "shot", "shot.png"});
    setup.command = {"/bin/sh", "-c",   "exec \"$@\" 2>&1", "sh", setup.command[0], "--trace",
                     "2",       "shot", "shot.png"};
    ChildProcess child(setup);
    ASSERT_TRUE(child.awaitOutput("CCaptureMac::DoCapture DisplayID"));
    child.send(SIGINT);
    const ChildResult result = child.finish();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("capmgr: interrupted before a frame came"));
    EXPECT_THAT(names(), IsEmpty());
}

}  // namespace
