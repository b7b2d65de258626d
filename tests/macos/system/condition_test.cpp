// Conditions as macOS keeps them.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/time.h>

#include <cerrno>
#include <cstring>

#include "started_thread.h"

namespace {

class Condition : public testing::Test {
  protected:
    // Waits for the number to reach a value; the result of the last wait.
    void* awaitNumber(int wanted) {
        EXPECT_EQ(pthread_mutex_lock(&mutex_), 0);
        ++waiting_;
        while (number_ < wanted) {
            EXPECT_EQ(pthread_cond_wait(&condition_, &mutex_), 0);
        }
        --waiting_;
        EXPECT_EQ(pthread_mutex_unlock(&mutex_), 0);
        return nullptr;
    }

    // Holding the mutex then means that they all are inside the wait.
    void lockWhenWaiting(int threads) {
        pthread_mutex_lock(&mutex_);
        for (int i = 0; i < 10'000 && waiting_ < threads; ++i) {
            pthread_mutex_unlock(&mutex_);
            usleep(1000);
            pthread_mutex_lock(&mutex_);
        }
        ASSERT_EQ(waiting_, threads);
    }

    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
    int number_ = 0;
    int waiting_ = 0;
};

timespec fromNow(long milliseconds) {
    timeval now{};
    gettimeofday(&now, nullptr);
    const long microseconds = now.tv_usec + milliseconds * 1000;
    return {now.tv_sec + microseconds / 1'000'000, microseconds % 1'000'000 * 1000};
}

TEST_F(Condition, TimeOutHasMacNumberAndTheMutexIsHeldAgain) {
    const timespec deadline = fromNow(20);
    ASSERT_EQ(pthread_mutex_lock(&mutex_), 0);
    EXPECT_EQ(pthread_cond_timedwait(&condition_, &mutex_, &deadline), 60);
    EXPECT_EQ(ETIMEDOUT, 60);
    StartedThread other([&]() -> void* {
        EXPECT_EQ(pthread_mutex_trylock(&mutex_), EBUSY);
        return nullptr;
    });
    other.join();
    EXPECT_EQ(pthread_mutex_unlock(&mutex_), 0);
}

TEST_F(Condition, TimeOutComesNoEarlierThanAsked) {
    const timespec deadline = fromNow(50);
    pthread_mutex_lock(&mutex_);
    while (pthread_cond_timedwait(&condition_, &mutex_, &deadline) == 0) {
    }
    pthread_mutex_unlock(&mutex_);
    const timespec now = fromNow(0);
    EXPECT_GE(now.tv_sec * 1'000'000'000 + now.tv_nsec + 1000,
              deadline.tv_sec * 1'000'000'000 + deadline.tv_nsec);
}

TEST_F(Condition, WaitOnAnUnsetErrnoLeavesIt) {
    const timespec deadline = fromNow(5);
    pthread_mutex_lock(&mutex_);
    errno = 0;
    pthread_cond_timedwait(&condition_, &mutex_, &deadline);
    EXPECT_EQ(errno, 0);
    pthread_mutex_unlock(&mutex_);
}

TEST_F(Condition, SignalLetsOneGo) {
    StartedThread first([&] { return awaitNumber(1); });
    lockWhenWaiting(1);
    number_ = 1;
    EXPECT_EQ(pthread_cond_signal(&condition_), 0);
    pthread_mutex_unlock(&mutex_);
    EXPECT_EQ(first.join(), nullptr);
    EXPECT_EQ(pthread_cond_destroy(&condition_), 0);
}

TEST_F(Condition, BroadcastLetsAllGo) {
    const auto wait = [&] { return awaitNumber(1); };
    StartedThread first(wait), second(wait), third(wait);
    lockWhenWaiting(3);
    number_ = 1;
    EXPECT_EQ(pthread_cond_broadcast(&condition_), 0);
    pthread_mutex_unlock(&mutex_);
    for (StartedThread* thread : {&first, &second, &third}) {
        thread->join();
    }
    EXPECT_EQ(waiting_, 0);
}

TEST_F(Condition, NotDestroyedWhileAThreadWaits) {
    StartedThread waiter([&] { return awaitNumber(1); });
    lockWhenWaiting(1);
    EXPECT_EQ(pthread_cond_destroy(&condition_), EBUSY);
    number_ = 1;
    pthread_cond_signal(&condition_);
    pthread_mutex_unlock(&mutex_);
    waiter.join();
}

TEST_F(Condition, DestroyedOneIsInvalidUntilMadeAgain) {
    ASSERT_EQ(pthread_cond_destroy(&condition_), 0);
    EXPECT_EQ(pthread_cond_signal(&condition_), EINVAL);
    EXPECT_EQ(pthread_cond_broadcast(&condition_), EINVAL);
    EXPECT_EQ(pthread_cond_destroy(&condition_), EINVAL);
    ASSERT_EQ(pthread_cond_init(&condition_, nullptr), 0);
    EXPECT_EQ(pthread_cond_signal(&condition_), 0);
}

TEST_F(Condition, MemoryThatWasNeverOneIsInvalid) {
    std::memset(&condition_, 0x5A, sizeof(condition_));
    EXPECT_EQ(pthread_cond_signal(&condition_), EINVAL);
}

TEST_F(Condition, OneMutexAtATime) {
    StartedThread waiter([&] { return awaitNumber(1); });
    lockWhenWaiting(1);
    pthread_mutex_t other = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&other);
    const timespec deadline = fromNow(1000);
    EXPECT_EQ(pthread_cond_timedwait(&condition_, &other, &deadline), EINVAL);
    pthread_mutex_unlock(&other);
    number_ = 1;
    pthread_cond_signal(&condition_);
    pthread_mutex_unlock(&mutex_);
    waiter.join();
}

}  // namespace
