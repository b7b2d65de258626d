/* What may not reach the host while its thread talks to the display server. */
#include "coregraphics/thread_guards.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>

namespace {

using qor::coregraphics::WriteSignalsHeld;

bool isPending(int signal) {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, signal) == 1;
}

bool isBlocked(int signal) {
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, signal) == 1;
}

void writeToNobody() {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    EXPECT_EQ(write(ends[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    close(ends[1]);
}

TEST(WriteSignalsTest, SignalOfAFailedWriteIsSwallowed) {
    {
        const WriteSignalsHeld held;
        writeToNobody();
    }
    EXPECT_FALSE(isPending(SIGPIPE));
    EXPECT_FALSE(isBlocked(SIGPIPE));
}

TEST(WriteSignalsTest, SignalThatTheHostHasYetToTakeStays) {
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    writeToNobody();
    {
        const WriteSignalsHeld held;
        writeToNobody();
    }
    EXPECT_TRUE(isPending(SIGPIPE));
    int taken = 0;
    sigwait(&brokenPipe, &taken);
    pthread_sigmask(SIG_UNBLOCK, &brokenPipe, nullptr);
    EXPECT_EQ(taken, SIGPIPE);
}

}  // namespace
