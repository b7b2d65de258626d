// Processes as on macOS.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

template <typename Body>
int statusOfChild(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(127);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

TEST(Process, ChildsExitStatusArrives) {
    const int status = statusOfChild([] { _exit(42); });
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 42);
}

class ChildKilledBy : public testing::TestWithParam<int> {};

TEST_P(ChildKilledBy, SignalHasItsNumberInTheStatus) {
    const int status = statusOfChild([] { kill(getpid(), GetParam()); });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), GetParam());
}

INSTANTIATE_TEST_SUITE_P(System, ChildKilledBy,
                         testing::Values(SIGKILL, SIGTERM, SIGBUS, SIGUSR1, SIGUSR2),
                         [](const auto& info) { return std::to_string(info.param); });

TEST(Process, AbortIsASignal) {
    const int status = statusOfChild([] { std::abort(); });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGABRT);
}

TEST(Process, StoppedAndContinuedChildSaysSo) {
    const pid_t child = fork();
    if (child == 0) {
        while (true) {
            sleep(1);
        }
    }
    int status = 0;
    kill(child, SIGSTOP);
    EXPECT_EQ(waitpid(child, &status, WUNTRACED), child);
    EXPECT_TRUE(WIFSTOPPED(status));
    EXPECT_EQ(WSTOPSIG(status), SIGSTOP);
    kill(child, SIGCONT);
    EXPECT_EQ(waitpid(child, &status, WCONTINUED), child);
    EXPECT_TRUE(WIFCONTINUED(status));
    EXPECT_EQ(waitpid(child, &status, WNOHANG), 0);
    kill(child, SIGKILL);
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(waitpid(child, &status, 0), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(Process, ChildStartsThreadsOfItsOwn) {
    const int status = statusOfChild([] {
        pthread_t thread{};
        void* result = nullptr;
        pthread_create(
            &thread, nullptr, [](void*) -> void* { return &errno; }, nullptr);
        pthread_join(thread, &result);
        _exit(result != nullptr ? 3 : 4);
    });
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST(Process, ProgramThatIsNotThereIsNotRun) {
    std::array<char, 8> name{"nothing"};
    std::array<char*, 2> arguments{name.data(), nullptr};
    EXPECT_EQ(execv("/nowhere/at/all", arguments.data()), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(Process, ResidentSetIsCountedInBytes) {
    rusage usage{};
    ASSERT_EQ(getrusage(RUSAGE_SELF, &usage), 0);
    EXPECT_GT(usage.ru_maxrss, 1'000'000);
}

TEST(Process, KnowsItsProcessors) {
    EXPECT_GE(sysconf(_SC_NPROCESSORS_ONLN), 1);
    EXPECT_EQ(sysconf(9999), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(Process, EnvironmentKeepsWhatIsSet) {
    EXPECT_EQ(setenv("SYSTEM_TEST_VARIABLE", "value", 1), 0);
    EXPECT_STREQ(std::getenv("SYSTEM_TEST_VARIABLE"), "value");
    EXPECT_EQ(unsetenv("SYSTEM_TEST_VARIABLE"), 0);
    EXPECT_EQ(std::getenv("SYSTEM_TEST_VARIABLE"), nullptr);
}

TEST(ProcessDeathTest, RunsItsOwnProgramAgain) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::fputs("in the new one\n", stderr);
            _exit(6);
        },
        testing::ExitedWithCode(6), "in the new one");
}

TEST(ProcessDeathTest, ExitRunsWhatWasRegistered) {
    const auto leave = [] {
        std::atexit([] { std::fputs("registered ran\n", stderr); });
        std::exit(5);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(5), "registered ran");
}

}  // namespace
