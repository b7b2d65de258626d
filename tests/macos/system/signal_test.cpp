// Signals as macOS numbers and delivers them.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "started_thread.h"

namespace {

volatile sig_atomic_t received = 0;
volatile sig_atomic_t sender = 0;

void receive(int number) {
    received = number;
}

void receiveWithSender(int number, siginfo_t* information, void*) {
    received = information->si_signo == number ? number : -1;
    sender = information->si_pid;
}

class SignalOf : public testing::TestWithParam<int> {};

TEST_P(SignalOf, IsDeliveredUnderItsNumberAndHandlersAreGivenBack) {
    received = 0;
    const auto before = signal(GetParam(), receive);
    EXPECT_NE(before, SIG_ERR);
    EXPECT_EQ(raise(GetParam()), 0);
    EXPECT_EQ(received, GetParam());
    EXPECT_EQ(signal(GetParam(), before), receive);
}

INSTANTIATE_TEST_SUITE_P(System, SignalOf,
                         testing::Values(SIGHUP, SIGBUS, SIGSYS, SIGURG, SIGCHLD, SIGIO, SIGWINCH,
                                         SIGUSR1, SIGUSR2),
                         [](const auto& info) { return std::to_string(info.param); });

TEST(Signal, ActionTellsTheSender) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_sigaction = receiveWithSender;
    action.sa_flags = SA_SIGINFO;
    received = 0;
    sender = 0;
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    EXPECT_EQ(kill(getpid(), SIGUSR1), 0);
    EXPECT_EQ(received, SIGUSR1);
    EXPECT_EQ(sender, getpid());
    struct sigaction current {};
    EXPECT_EQ(sigaction(SIGUSR1, &before, &current), 0);
    EXPECT_EQ(current.sa_sigaction, receiveWithSender);
    EXPECT_EQ(current.sa_flags & SA_SIGINFO, SA_SIGINFO);
}

TEST(Signal, BlockedOneComesWhenUnblocked) {
    const auto before = signal(SIGUSR2, receive);
    received = 0;
    sigset_t set{};
    sigset_t previous{};
    sigemptyset(&set);
    sigaddset(&set, SIGUSR2);
    EXPECT_EQ(pthread_sigmask(SIG_BLOCK, &set, &previous), 0);
    raise(SIGUSR2);
    EXPECT_EQ(received, 0);
    EXPECT_EQ(pthread_sigmask(SIG_SETMASK, &previous, &set), 0);
    EXPECT_TRUE(sigismember(&set, SIGUSR2));
    EXPECT_EQ(received, SIGUSR2);
    signal(SIGUSR2, before);
}

TEST(Signal, EndsASleepWithTheTimeLeft) {
    const auto before = signal(SIGUSR1, receive);
    std::atomic<bool> ended{false};
    StartedThread sleeper([&]() -> void* {
        const timespec duration{60, 0};
        timespec left{};
        EXPECT_EQ(nanosleep(&duration, &left), -1);
        EXPECT_EQ(errno, EINTR);
        EXPECT_GT(left.tv_sec, 30);
        ended = true;
        return nullptr;
    });
    for (int i = 0; i < 10'000 && !ended; ++i) {
        pthread_kill(sleeper.get(), SIGUSR1);
        usleep(1000);
    }
    sleeper.join();
    EXPECT_TRUE(ended);
    signal(SIGUSR1, before);
}

TEST(Signal, NumbersThatAreNoneAreInvalid) {
    EXPECT_EQ(kill(getpid(), 99), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(signal(99, receive), SIG_ERR);
    EXPECT_EQ(kill(getpid(), 0), 0);
}

}  // namespace
