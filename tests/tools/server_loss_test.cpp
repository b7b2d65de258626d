#include <unistd.h>

#include <csignal>
#include <optional>

#include "capmgr_fixture.h"
#include "live_scene.h"
#include "xvfb_server.h"

namespace {

using FrozenServerTest = CapmgrTest;

TEST_F(FrozenServerTest, RunFailsAndKeepsWhatWasCaptured) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    ChildProcess child(capmgr(server.display(), {"run", "--seconds", "60"}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    kill(server.pid(), SIGSTOP);
    expectRefusal(child.finish(), 1, "no frame came from monitor 0 for 5 s");
    kill(server.pid(), SIGCONT);
    EXPECT_EQ(readPicture(file("captures/last.png")).width, 640U);
}

// Servers that choose their number themselves take the lowest one that is free: one of another test
// could take that of the server that is gone, and the capture would go on with it.
std::string numberThatNobodyTakes() {
    constexpr pid_t kBeyondChosenOnes = 1000;
    constexpr pid_t kWithinTheLimit = 50000;
    std::string display = ":";
    display += std::to_string(kBeyondChosenOnes + getpid() % kWithinTheLimit);
    return display;
}

using LostServerTest = CapmgrTest;

TEST_F(LostServerTest, RunFailsAndKeepsWhatWasCaptured) {
    std::optional<XvfbServer> server;
    server.emplace("640x480x24", std::vector<std::string>{numberThatNobodyTakes()});
    std::optional<LiveScene> scene(server->display());
    ChildProcess child(capmgr(server->display(), {"run", "--seconds", "60"}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    scene.reset();
    server.reset();
    expectRefusal(child.finish(), 1, "no frame came from monitor 0 for 5 s");
    EXPECT_EQ(readPicture(file("captures/last.png")).width, 640U);
}

}  // namespace
