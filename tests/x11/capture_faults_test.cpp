/* A display server that is late, frozen, or refuses what it gave before, while a capture runs. */
#include <CaptureManager.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <xcb/render.h>
#include <xcb/shm.h>

#include <optional>

#include "captured_scene.h"
#include "display_relay.h"
#include "message_count.h"
#include "process_resources.h"
#include "refused_memory.h"
#include "refusing_relay.h"
#include "screen_test.h"

namespace {

enum class Silence { lateReplies, frozenServer };

/* A server that says nothing for as long as a test wishes. It cannot tell what has changed, so it
 * is asked for every frame. */
class SilentServerTest : public testing::TestWithParam<Silence> {
  protected:
    void SetUp() override {
        ASSERT_EQ(capture_.start(), 0U);
        ASSERT_TRUE(capture_.follows());
    }

    void beSilent() {
        if (GetParam() == Silence::lateReplies)
            relay_.holdReplies();
        else
            kill(server_.pid(), SIGSTOP);
    }
    void speakAgain() {
        relay_.resume();
        kill(server_.pid(), SIGCONT);
    }

    XvfbServer server_{"320x240x24", {"-extension", "DAMAGE"}};
    DisplayRelay relay_{server_.socketPath()};
    CapturedScene capture_{server_.display(), relay_.display()};
};

TEST_P(SilentServerTest, FramesAreBlackMeanwhileAndComeAgainByThemselves) {
    beSilent();
    EXPECT_TRUE(capture_.turnsBlack());
    speakAgain();
    EXPECT_TRUE(capture_.comes());
    EXPECT_TRUE(capture_.follows());
    EXPECT_EQ(capture_.wrongFrames(), 0U);
}

TEST_P(SilentServerTest, CaptureThatWaitsForItIsStoppedAndStartedAgain) {
    beSilent();
    {
        const RoundCount rounds;
        ASSERT_TRUE(eventually([&] { return rounds.count() > 0; }));  // whose answer is awaited
    }
    expectBoundedStop(capture_);
    speakAgain();
    EXPECT_EQ(capture_.start(), 0U);
    EXPECT_TRUE(capture_.follows());
    EXPECT_EQ(capture_.wrongFrames(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Silences, SilentServerTest,
                         testing::Values(Silence::lateReplies, Silence::frozenServer),
                         [](const auto& instance) {
                             return instance.param == Silence::lateReplies ? "LateReplies"
                                                                           : "FrozenServer";
                         });

/* Who refuses shared memory, from some moment on, and how. */
struct Refusal {
    const char* name;
    RefusingRelay::Requests requests = {"MIT-SHM", {}};
    std::optional<RefusedMemory::Kind> bySystem = {};
    std::vector<std::string> serverArguments = {};
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.name;
}

class RefusedMemoryTest : public testing::TestWithParam<Refusal> {
  protected:
    void startServer(std::vector<std::string> arguments) {
        arguments.push_back(ownDisplay());
        server_.emplace("320x240x24", std::move(arguments));
    }
    void replaceServer() {
        capture_->leaveServer();
        server_.reset();
        startServer(GetParam().serverArguments);
        capture_->paintOnNewServer();
    }

    std::optional<XvfbServer> server_;
    std::optional<RefusingRelay> relay_;
    std::optional<CapturedScene> capture_;
};

TEST_P(RefusedMemoryTest, CaptureGoesOnAnotherWayWhenItNeedsNew) {
    startServer({});
    relay_.emplace(*server_, GetParam().requests);
    capture_.emplace(server_->display(), relay_->display());
    const ProcessResources before = ProcessResources::now();
    ASSERT_EQ(capture_->start(), 0U);
    ASSERT_TRUE(capture_->follows());
    std::optional<RefusedMemory> refused;
    if (GetParam().bySystem)
        refused.emplace(*GetParam().bySystem);
    relay_->refuse();
    replaceServer();
    EXPECT_TRUE(capture_->comes());
    EXPECT_TRUE(capture_->follows());
    EXPECT_EQ(relay_->refusals() > 0, !GetParam().requests.numbers.empty());
    EXPECT_TRUE(!refused || RefusedMemory::refusals() > 0);
    EXPECT_EQ(capture_->wrongFrames(), 0U);
    expectBoundedStop(*capture_);
    CapMgr_UpdateMonitor();  // this thread has a new connection then, too
    EXPECT_TRUE(eventually([&] { return ProcessResources::now() == before; }))
        << testing::PrintToString(before) << " before, "
        << testing::PrintToString(ProcessResources::now());
}

const Refusal kRefusals[]{
    {.name = "DescriptorsByTheSystem", .bySystem = RefusedMemory::Kind::byDescriptor},
    {.name = "AllByTheSystem", .bySystem = RefusedMemory::Kind::any},
    {.name = "DescriptorsByTheServer", .requests = {"MIT-SHM", {XCB_SHM_ATTACH_FD}}},
    {.name = "AllByTheServer", .requests = {"MIT-SHM", {XCB_SHM_ATTACH_FD, XCB_SHM_ATTACH}}},
    {.name = "DrawingByTheServer", .requests = {"MIT-SHM", {XCB_SHM_CREATE_PIXMAP}}},
    {.name = "ServerWithoutTheExtension", .serverArguments = {"-extension", "MIT-SHM"}}};

INSTANTIATE_TEST_SUITE_P(Refusals, RefusedMemoryTest, testing::ValuesIn(kRefusals),
                         [](const auto& instance) { return instance.param.name; });

/* Requests by which memory that is shared already is written. */
class RefusedWriteTest : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedWriteTest, CaptureGoesOnAnotherWay) {
    const XvfbServer server("320x240x24", GetParam().serverArguments);
    RefusingRelay relay(server, GetParam().requests);
    CapturedScene capture(server.display(), relay.display());
    ASSERT_EQ(capture.start(), 0U);
    ASSERT_TRUE(capture.follows());
    relay.refuse();
    EXPECT_TRUE(capture.follows());
    EXPECT_TRUE(capture.follows());
    EXPECT_GT(relay.refusals(), 0U);
    EXPECT_EQ(capture.wrongFrames(), 0U);
}

const Refusal kRefusedWrites[]{{.name = "Drawing", .requests = {"RENDER", {XCB_RENDER_COMPOSITE}}},
                               {.name = "Reading",
                                .requests = {"MIT-SHM", {XCB_SHM_GET_IMAGE}},
                                .serverArguments = {"-extension", "RENDER"}}};

INSTANTIATE_TEST_SUITE_P(Requests, RefusedWriteTest, testing::ValuesIn(kRefusedWrites),
                         [](const auto& instance) { return instance.param.name; });

/* Whether the server draws on shared memory, or copies, is seen by what it is asked. */
TEST(LateServerTest, DrawsAgainWhenItWasLateAsItWasAskedToForTheFirstTime) {
    const XvfbServer server("320x240x24");
    RefusingRelay relay(server, {"RENDER", {XCB_RENDER_COMPOSITE}});
    useDisplay(relay.display());
    ASSERT_NE(imageOf(0, 0, 320, 240), nullptr);
    kill(server.pid(), SIGSTOP);
    // Memory is there for it, but no picture of its size.
    EXPECT_EQ(imageOf(0, 0, 300, 200), nullptr);
    kill(server.pid(), SIGCONT);
    relay.refuse();
    EXPECT_NE(imageOf(0, 0, 300, 200), nullptr);
    EXPECT_GT(relay.refusals(), 0U);
}

}  // namespace
