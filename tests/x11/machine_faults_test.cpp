/* Clocks that jump, descriptors that are used up, and a host that forks, while a capture runs. */
#include <CaptureManager.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vqutilc.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <thread>

#include "captured_scene.h"
#include "child_program.h"
#include "faulty_machine.h"
#include "message_count.h"
#include "process_resources.h"
#include "screen_test.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

constexpr seconds kDay{86400};

/* Rounds of captures that run, compared with those there may be at most in the time. */
class Rounds {
  public:
    explicit Rounds(unsigned perSecond) : perSecond_(perSecond) {}

    unsigned count() const { return rounds_.count(); }

    /* A round more at each end, and the two that are not paced after a start. */
    unsigned most() const {
        const auto passed = std::chrono::ceil<seconds>((Clock::now() - start_) * perSecond_);
        return static_cast<unsigned>(passed.count()) + 4;
    }

  private:
    const unsigned perSecond_;
    const Clock::time_point start_ = Clock::now();
    const RoundCount rounds_;
};

class MachineFaultsTest : public testing::Test {
  protected:
    std::optional<XvfbServer> server_{std::in_place, "320x240x24", std::vector{ownDisplay()}};
    std::optional<CapturedScene> capture_{std::in_place, server_->display()};
};

class CalendarTest : public MachineFaultsTest {
  protected:
    ~CalendarTest() override { faulty_machine::setCalendarOff(seconds(0)); }

    /* Hours and years back and forth. */
    void jump() {
        constexpr seconds kPlaces[]{-3650 * kDay, 2 * kDay, seconds(-7200), 18250 * kDay};
        faulty_machine::setCalendarOff(kPlaces[jumps_++ % std::size(kPlaces)]);
    }

    unsigned jumps_ = 0;
};

TEST_F(CalendarTest, JumpsAndWaitsByItAreSeenByThisTest) {
    const auto before = std::chrono::system_clock::now();
    jump();
    EXPECT_LT(std::chrono::system_clock::now(), before - 3000 * kDay);
    const unsigned waits = faulty_machine::calendarWaits();
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    const timespec longAgo{};
    pthread_mutex_lock(&mutex);
    EXPECT_EQ(pthread_cond_timedwait(&condition, &mutex, &longAgo), ETIMEDOUT);
    pthread_mutex_unlock(&mutex);
    EXPECT_EQ(faulty_machine::calendarWaits(), waits + 1);
}

TEST_F(CalendarTest, JumpsLeaveTheRateAndPausesAsTheyAre) {
    ASSERT_EQ(capture_->start(10), 0U);
    const Rounds rounds(10);
    for (int i = 0; i < 8; ++i) {
        jump();
        EXPECT_TRUE(capture_->follows());
    }
    EXPECT_TRUE(CapMgr_PauseCapture(capture_->index()));
    jump();
    EXPECT_TRUE(CapMgr_ResumeCapture(capture_->index()));
    jump();
    EXPECT_TRUE(capture_->follows());
    EXPECT_GE(rounds.count(), 9U);
    EXPECT_LE(rounds.count(), rounds.most());
}

/* Longest of all waits is that for a thread that waits for the frame that this one has locked. */
TEST_F(CalendarTest, JumpsLeaveTheWaitOfAStopAsItIs) {
    const unsigned waits = faulty_machine::calendarWaits();
    ASSERT_EQ(capture_->start(), 0U);
    ASSERT_TRUE(capture_->follows());
    ASSERT_NE(CapMgr_LockScreenBuffer(capture_->index()).pData, nullptr);
    capture_->change();
    std::atomic<bool> hasStopped = false;
    std::jthread jumper([&] {
        eventually([&] {
            jump();
            return hasStopped.load();
        });
    });
    expectBoundedStop(*capture_);
    hasStopped = true;
    CapMgr_UnlockScreenBuffer(capture_->index());
    EXPECT_EQ(faulty_machine::calendarWaits(), waits);
}

class TickTest : public MachineFaultsTest {
  protected:
    static constexpr std::uint32_t kBeforeWrap = static_cast<std::uint32_t>(-200);

    ~TickTest() override { faulty_machine::setTick(0); }

    static bool hasWrapped() { return get_tick_count() < kBeforeWrap; }
};

TEST_F(TickTest, FramesComeAtTheirRateAsItWraps) {
    faulty_machine::setTick(kBeforeWrap);
    ASSERT_EQ(capture_->start(10), 0U);
    const Rounds rounds(10);
    while (!hasWrapped())
        ASSERT_TRUE(capture_->follows());
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(capture_->follows());
    EXPECT_GE(rounds.count(), 4U);
    EXPECT_LE(rounds.count(), rounds.most());
    expectBoundedStop(*capture_);
}

TEST_F(TickTest, PauseEndsAfterItHasWrapped) {
    ASSERT_EQ(capture_->start(), 0U);
    ASSERT_TRUE(capture_->follows());
    ASSERT_TRUE(CapMgr_PauseCapture(capture_->index()));
    faulty_machine::setTick(kBeforeWrap);
    ASSERT_TRUE(eventually(hasWrapped));
    ASSERT_TRUE(CapMgr_ResumeCapture(capture_->index()));
    EXPECT_TRUE(capture_->follows());
    expectBoundedStop(*capture_);
}

/* Frames of one colour count as failures for a second, and are tried again. */
TEST_F(TickTest, FailuresAreTriedAgainAsItWraps) {
    ASSERT_EQ(capture_->start(), 0U);
    ASSERT_TRUE(capture_->follows());
    faulty_machine::setTick(kBeforeWrap);
    capture_->paintOneColour();
    EXPECT_TRUE(capture_->comes());
    EXPECT_TRUE(hasWrapped());
    EXPECT_TRUE(capture_->follows());
    expectBoundedStop(*capture_);
}

class DescriptorsTest : public MachineFaultsTest {
  protected:
    /* A capture has been before: what is done for the first time may need descriptors of its own,
     * as the checks of sanitizers do. */
    void SetUp() override {
        ASSERT_EQ(capture_->start(), 0U);
        ASSERT_TRUE(capture_->follows());
        capture_->stop();
        expectNothingIsLeft();
    }

    void expectNothingIsLeft() {
        EXPECT_TRUE(eventually([this] { return ProcessResources::now() == before_; }))
            << testing::PrintToString(before_) << " before, "
            << testing::PrintToString(ProcessResources::now());
    }

    /* One that is there when the present server is not any more. */
    ChildProgram laterServer() const {
        constexpr const char* kAfter =
            "while kill -0 $0; do sleep 0.02; done; exec Xvfb \"$@\" -noreset";
        return ChildProgram({"sh", "-c", kAfter, std::to_string(server_->pid()), ownDisplay(),
                             "-screen", "0", "320x240x24", "-nolisten", "tcp"},
                            {});
    }

    const ProcessResources before_ = ProcessResources::now();
};

TEST_F(DescriptorsTest, StartWithoutAnyFailsWithATraceAndTheNextOneWorks) {
    CapturedScene& capture = *capture_;
    {
        const NoDescriptors noDescriptors;
        const MessageCount failures(0, "Init failed");
        EXPECT_EQ(capture.start(), 0U);
        EXPECT_TRUE(eventually([&] { return failures.count() > 0; }));
        EXPECT_EQ(CapMgr_LockScreenBuffer(capture.index()).pData, nullptr);
        expectBoundedStop(capture);
    }
    expectNothingIsLeft();
    EXPECT_EQ(capture.start(), 0U);
    EXPECT_TRUE(capture.follows());
    expectBoundedStop(capture);
    expectNothingIsLeft();
}

TEST_F(DescriptorsTest, FramesGoOnWhenThereAreNoMore) {
    CapturedScene& capture = *capture_;
    ASSERT_EQ(capture.start(), 0U);
    ASSERT_TRUE(capture.follows());
    {
        const NoDescriptors noDescriptors;
        EXPECT_TRUE(capture.follows());
        EXPECT_TRUE(capture.follows());
    }
    EXPECT_EQ(capture.wrongFrames(), 0U);
    expectBoundedStop(capture);
    expectNothingIsLeft();
}

TEST_F(DescriptorsTest, ServerThatComesMeanwhileIsUsedWhenThereAreSomeAgain) {
    CapturedScene& capture = *capture_;
    std::optional<XvfbServer>& server = server_;
    const std::string socket = server->socketPath();
    const ChildProgram later = laterServer();
    ASSERT_EQ(capture.start(), 0U);
    ASSERT_TRUE(capture.follows());
    capture.leaveServer();
    {
        const NoDescriptors noDescriptors;
        server.reset();
        EXPECT_TRUE(capture.turnsBlack());
        const Rounds rounds(CapturedScene::kRate + 4);  // its period is in whole milliseconds
        EXPECT_TRUE(eventually([&] { return rounds.count() > 20; }));
        EXPECT_LE(rounds.count(), rounds.most());
        EXPECT_TRUE(eventually([&] { return access(socket.c_str(), F_OK) == 0; }));
        EXPECT_TRUE(capture.turnsBlack());
    }
    capture.paintOnNewServer();
    EXPECT_TRUE(capture.comes());
    EXPECT_TRUE(capture.follows());
    EXPECT_EQ(capture.wrongFrames(), 0U);
    expectBoundedStop(capture);
    expectNothingIsLeft();
}

class ForkingHostTest : public MachineFaultsTest {
  protected:
    void SetUp() override {
        ASSERT_EQ(capture_->start(), 0U);
        ASSERT_TRUE(capture_->follows());
    }
};

TEST_F(ForkingHostTest, ChildrenThatEndLeaveTheCaptureAlone) {
    for (int i = 0; i < 10; ++i) {
        const pid_t child = fork();
        if (child == 0)
            _exit(0);
        EXPECT_TRUE(capture_->follows());
        EXPECT_EQ(waitpid(child, nullptr, 0), child);
    }
    EXPECT_TRUE(capture_->follows());
    EXPECT_EQ(capture_->wrongFrames(), 0U);
    expectBoundedStop(*capture_);
}

TEST_F(ForkingHostTest, ProgramsThatItStartsInheritNothing) {
    ChildProgram program({"sh", "-c", "ls -l /proc/self/fd; cat /proc/self/maps"}, {});
    ASSERT_TRUE(eventually([&] { return program.hasEnded(); }));
    EXPECT_NE(program.output().find("/proc/"), std::string::npos);
    EXPECT_EQ(program.output().find("socket:"), std::string::npos) << program.output();
    EXPECT_EQ(program.output().find("screen image"), std::string::npos) << program.output();
    EXPECT_TRUE(capture_->follows());
}

}  // namespace
