/* Servers that are missing, end, or freeze. */
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <optional>
#include <thread>

#include "process_resources.h"
#include "screen_test.h"
#include "sendings.h"
#include "window_test.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

template <typename Function>
Clock::duration durationOf(Function function) {
    const auto start = Clock::now();
    function();
    return Clock::now() - start;
}

/* Every function that asks the server fails in its own way. */
void expectFailure() {
    std::uint32_t count = 99;
    EXPECT_EQ(CGGetActiveDisplayList(0, nullptr, &count), kCGErrorCannotComplete);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(CGMainDisplayID(), 0U);
    EXPECT_EQ(CGDisplayBounds(1).size.width, 0);
    EXPECT_EQ(CGDisplayCopyDisplayMode(1), nullptr);
    EXPECT_EQ(CGDisplayCreateImage(1), nullptr);
    EXPECT_EQ(imageOf(0, 0, 10, 10), nullptr);
}

TEST(MissingServerTest, CallsFail) {
    useDisplay(ownDisplay());
    expectFailure();
}

TEST(MissingServerTest, CallsFailWithoutADisplayInTheEnvironment) {
    unsetenv("DISPLAY");
    expectFailure();
}

/* As the X client library may lose a reply where memory is short, it then waits for good. */
TEST(LostHandshakeTest, IsBegunAnewAfterAWhile) {
    const XvfbServer server("320x200x24");
    useDisplay(server.display());
    constexpr int kFirstQuestions = 2;  // 1 is the greeting
    sendings::loseOneOfAHandshake(kFirstQuestions);
    std::thread([] {
        EXPECT_EQ(imageOf(0, 0, 10, 10), nullptr);
        EXPECT_TRUE(eventually([] { return imageOf(0, 0, 10, 10) != nullptr; }, seconds(30)));
    }).join();
}

/* A display whose name stays while servers come and go behind it. */
class ServerLossTest : public testing::Test {
  protected:
    void SetUp() override {
        startServer();
        useDisplay(server_->display());
    }

    void startServer() { server_.emplace("320x200x24", std::vector{ownDisplay()}); }

    void endServer() { server_.reset(); }

    std::optional<XvfbServer> server_;
};

TEST_F(ServerLossTest, CallsFailWithinASecond) {
    ASSERT_NE(imageOf(0, 0, 320, 200), nullptr);
    endServer();
    EXPECT_LT(durationOf(expectFailure), seconds(1));
}

TEST_F(ServerLossTest, CallsWorkOnceAServerIsBack) {
    ASSERT_NE(imageOf(0, 0, 320, 200), nullptr);
    endServer();
    ASSERT_EQ(imageOf(0, 0, 320, 200), nullptr);
    startServer();
    EXPECT_NE(imageOf(0, 0, 320, 200), nullptr);
}

TEST_F(ServerLossTest, ServerThatWasReplacedBetweenCallsIsNotMissed) {
    ASSERT_NE(imageOf(0, 0, 320, 200), nullptr);
    endServer();
    startServer();
    EXPECT_NE(imageOf(0, 0, 320, 200), nullptr);
}

TEST_F(ServerLossTest, HeldImageStaysAsItWas) {
    Painter(server_->display()).sync();
    const Image image = imageOf(0, 0, 320, 200);
    const auto before = bytesOf(image.get());
    endServer();
    ASSERT_EQ(imageOf(0, 0, 320, 200), nullptr);
    EXPECT_TRUE(bytesOf(image.get()) == before);
}

/* Asks a server from several threads, and kills it; returns once a call of each has failed. */
void killInTheMiddleOfCalls(pid_t server) {
    std::atomic<int> answers = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&answers] {
            while (CGDisplayBounds(CGMainDisplayID()).size.width != 0)
                answers += 1;
        });
    EXPECT_TRUE(eventually([&answers] { return answers > 200; }));
    kill(server, SIGKILL);
}

TEST_F(ServerLossTest, KilledInTheMiddleOfCallsItFailsThemAndNoMore) {
    // Several times, as it depends on the moment whether a call is reading or writing.
    for (int i = 0; i < 3; ++i) {
        killInTheMiddleOfCalls(server_->pid());
        EXPECT_EQ(CGMainDisplayID(), 0U);
        endServer();
        startServer();
        EXPECT_NE(CGMainDisplayID(), 0U);
    }
}

TEST_F(ServerLossTest, FrozenServerFailsCallsWithinAFewSeconds) {
    ASSERT_NE(imageOf(0, 0, 320, 200), nullptr);
    kill(server_->pid(), SIGSTOP);
    EXPECT_LT(durationOf([] { EXPECT_EQ(imageOf(0, 0, 320, 200), nullptr); }), seconds(4));
    EXPECT_LT(durationOf([] { EXPECT_EQ(CGMainDisplayID(), 0U); }), seconds(4));
}

TEST_F(ServerLossTest, ServerThatThawsIsUsedAgain) {
    ASSERT_NE(imageOf(0, 0, 320, 200), nullptr);
    kill(server_->pid(), SIGSTOP);
    ASSERT_EQ(imageOf(0, 0, 320, 200), nullptr);
    kill(server_->pid(), SIGCONT);
    EXPECT_NE(imageOf(0, 0, 320, 200), nullptr);
}

TEST_F(ServerLossTest, ServerThatIsFrozenFromTheStartFailsCallsUntilItThaws) {
    kill(server_->pid(), SIGSTOP);
    EXPECT_LT(durationOf([] { EXPECT_EQ(imageOf(0, 0, 320, 200), nullptr); }), seconds(4));
    kill(server_->pid(), SIGCONT);
    EXPECT_NE(imageOf(0, 0, 320, 200), nullptr);
}

/* What a frozen server was asked to write, it writes when it thaws. */
TEST_F(ServerLossTest, LateWritesOfAServerReachNoImage) {
    Painter painter(server_->display());
    painter.fill({0, 0, 320, 200}, {1, 2, 3});
    painter.sync();
    const Image held = imageOf(0, 0, 320, 200);
    painter.fill({0, 0, 320, 200}, {4, 5, 6});
    painter.sync();
    kill(server_->pid(), SIGSTOP);
    ASSERT_EQ(imageOf(0, 0, 320, 200), nullptr);
    kill(server_->pid(), SIGCONT);
    const Image next = imageOf(0, 0, 320, 200);
    EXPECT_EQ(pixelAt(held.get(), 319, 199).color(), (Color{1, 2, 3}));
    EXPECT_EQ(pixelAt(next.get(), 319, 199).color(), (Color{4, 5, 6}));
}

TEST_F(ServerLossTest, ThreadCancelledInACallEndsWithoutHarm) {
    ASSERT_NE(imageOf(0, 0, 320, 200), nullptr);
    const ProcessResources before = ProcessResources::now();
    kill(server_->pid(), SIGSTOP);
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void*) -> void* {
                      for (;;) {
                          imageOf(0, 0, 320, 200);
                          pthread_testcancel();
                      }
                  },
                  nullptr),
              0);
    pthread_cancel(thread);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    kill(server_->pid(), SIGCONT);
    EXPECT_NE(imageOf(0, 0, 320, 200), nullptr);
    EXPECT_TRUE(eventually([&] { return ProcessResources::now() == before; }));
}

TEST_F(ServerLossTest, ForkedChildHasAConnectionOfItsOwn) {
    ASSERT_NE(imageOf(0, 0, 320, 200), nullptr);
    ASSERT_TRUE(mayForkHosts());
    const pid_t child = fork();
    if (child == 0)
        _exit(imageOf(0, 0, 320, 200) != nullptr && CGMainDisplayID() != 0 ? 0 : 1);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    // Nor has the child ended the parent's.
    EXPECT_EQ(traceOf([] { EXPECT_NE(imageOf(0, 0, 320, 200), nullptr); }), "");
}

TEST_F(ServerLossTest, ForkedChildLeavesTheParentsPicturesOfWindowsAlone) {
    const Area screen{0, 0, 320, 200};
    ASSERT_NE(imageOfWindows(screen, {}), nullptr);
    ASSERT_TRUE(mayForkHosts());
    const pid_t child = fork();
    if (child == 0)
        _exit(imageOfWindows(screen, {}) != nullptr ? 0 : 1);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(traceOf([&] { EXPECT_NE(imageOfWindows(screen, {}), nullptr); }), "");
}

}  // namespace
