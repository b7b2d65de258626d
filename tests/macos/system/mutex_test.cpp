// Mutexes as macOS keeps them.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "started_thread.h"

namespace {

struct MutexCase {
    const char* name;
    pthread_mutex_t initial;
    int type;  // of one that is initialised by a call
    int relock;
    int foreignUnlock;
};

// A normal mutex does not ask who unlocks it, and would wait for itself.
constexpr int kNotAsked = -1;

const MutexCase kCases[] = {
    {"Normal", PTHREAD_MUTEX_INITIALIZER, PTHREAD_MUTEX_NORMAL, kNotAsked, kNotAsked},
    {"ErrorCheck", PTHREAD_ERRORCHECK_MUTEX_INITIALIZER, PTHREAD_MUTEX_ERRORCHECK, EDEADLK, EPERM},
    {"Recursive", PTHREAD_RECURSIVE_MUTEX_INITIALIZER, PTHREAD_MUTEX_RECURSIVE, 0, EPERM},
};

class MutexOfType : public testing::TestWithParam<MutexCase> {
  protected:
    static pthread_mutex_t made() {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        EXPECT_EQ(pthread_mutexattr_settype(&attributes, GetParam().type), 0);
        pthread_mutex_t mutex;
        EXPECT_EQ(pthread_mutex_init(&mutex, &attributes), 0);
        EXPECT_EQ(pthread_mutexattr_destroy(&attributes), 0);
        return mutex;
    }
};

void expectRelock(pthread_mutex_t* mutex, int expected) {
    ASSERT_EQ(pthread_mutex_lock(mutex), 0);
    if (expected != kNotAsked) {
        EXPECT_EQ(pthread_mutex_lock(mutex), expected);
        if (expected == 0) {
            EXPECT_EQ(pthread_mutex_unlock(mutex), 0);
        }
    }
    EXPECT_EQ(pthread_mutex_unlock(mutex), 0);
    EXPECT_EQ(pthread_mutex_destroy(mutex), 0);
}

TEST_P(MutexOfType, StaticOneAnswersARelockByItsType) {
    pthread_mutex_t mutex = GetParam().initial;
    expectRelock(&mutex, GetParam().relock);
}

TEST_P(MutexOfType, MadeOneAnswersARelockByItsType) {
    pthread_mutex_t mutex = made();
    expectRelock(&mutex, GetParam().relock);
}

TEST_P(MutexOfType, HeldByAnotherIsBusyAndItsUnlockRefusedByType) {
    pthread_mutex_t mutex = GetParam().initial;
    ASSERT_EQ(pthread_mutex_lock(&mutex), 0);
    StartedThread other([&]() -> void* {
        EXPECT_EQ(pthread_mutex_trylock(&mutex), EBUSY);
        if (GetParam().foreignUnlock != kNotAsked) {
            EXPECT_EQ(pthread_mutex_unlock(&mutex), GetParam().foreignUnlock);
        }
        return nullptr;
    });
    other.join();
    EXPECT_EQ(pthread_mutex_unlock(&mutex), 0);
}

TEST_P(MutexOfType, HeldOneIsNotDestroyed) {
    pthread_mutex_t mutex = made();
    ASSERT_EQ(pthread_mutex_lock(&mutex), 0);
    EXPECT_EQ(pthread_mutex_destroy(&mutex), EBUSY);
    EXPECT_EQ(pthread_mutex_unlock(&mutex), 0);
}

TEST_P(MutexOfType, DestroyedOneIsInvalid) {
    pthread_mutex_t mutex = GetParam().initial;
    ASSERT_EQ(pthread_mutex_destroy(&mutex), 0);
    EXPECT_EQ(pthread_mutex_lock(&mutex), EINVAL);
    EXPECT_EQ(pthread_mutex_trylock(&mutex), EINVAL);
    EXPECT_EQ(pthread_mutex_unlock(&mutex), EINVAL);
    EXPECT_EQ(pthread_mutex_destroy(&mutex), EINVAL);
}

INSTANTIATE_TEST_SUITE_P(System, MutexOfType, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Mutex, MemoryThatWasNeverOneIsInvalid) {
    pthread_mutex_t mutex;
    std::memset(&mutex, 0x5A, sizeof(mutex));
    EXPECT_EQ(pthread_mutex_lock(&mutex), EINVAL);
}

// The threads meet at each of many mutexes, as far as both are running.
TEST(Mutex, FirstUseOfAStaticOneByThreadsAtOnceExcludesThem) {
    struct Counter {
        pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
        std::atomic<int> arrived{0};
        int count = 0;
    };
    std::vector<Counter> counters(200'000);
    std::atomic<int> errors{0};
    const auto count = [&]() -> void* {
        for (Counter& counter : counters) {
            ++counter.arrived;
            for (int spins = 0; spins < 500 && counter.arrived < 2; ++spins) {
            }
            errors += pthread_mutex_lock(&counter.mutex) != 0 ? 1 : 0;
            ++counter.count;
            errors += pthread_mutex_unlock(&counter.mutex) != 0 ? 1 : 0;
        }
        return nullptr;
    };
    StartedThread first(count), second(count);
    first.join();
    second.join();
    EXPECT_EQ(errors, 0);
    EXPECT_TRUE(std::all_of(counters.begin(), counters.end(),
                            [](const Counter& counter) { return counter.count == 2; }));
}

TEST(Mutex, UnknownTypeIsInvalid) {
    pthread_mutexattr_t attributes;
    ASSERT_EQ(pthread_mutexattr_init(&attributes), 0);
    EXPECT_EQ(pthread_mutexattr_settype(&attributes, 7), EINVAL);
    int type = -1;
    EXPECT_EQ(pthread_mutexattr_gettype(&attributes, &type), 0);
    EXPECT_EQ(type, PTHREAD_MUTEX_DEFAULT);
}

TEST(ReadWriteLock, StaticOneLetsReadersInTogetherAndNoWriter) {
    pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
    ASSERT_EQ(pthread_rwlock_rdlock(&lock), 0);
    StartedThread other([&]() -> void* {
        EXPECT_EQ(pthread_rwlock_trywrlock(&lock), EBUSY);
        EXPECT_EQ(pthread_rwlock_tryrdlock(&lock), 0);
        EXPECT_EQ(pthread_rwlock_unlock(&lock), 0);
        return nullptr;
    });
    other.join();
    EXPECT_EQ(pthread_rwlock_unlock(&lock), 0);
    EXPECT_EQ(pthread_rwlock_destroy(&lock), 0);
    EXPECT_EQ(pthread_rwlock_wrlock(&lock), EINVAL);
}

}  // namespace
