// Threads, their keys and what runs once, as on macOS.
#include <gtest/gtest.h>
#include <mach/mach.h>
#include <pthread.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>

#include "started_thread.h"

namespace {

TEST(Thread, ExitEndsItWithItsResultAndRunsNoDestructor) {
    static bool destroyed;
    static int result;
    destroyed = false;
    struct Witness {
        ~Witness() { destroyed = true; }
    };
    StartedThread thread([]() -> void* {
        const Witness witness;
        pthread_exit(&result);
    });
    EXPECT_EQ(thread.join(), &result);
    EXPECT_FALSE(destroyed);
}

TEST(Thread, ExitRunsTheHandlersThatWereLeft) {
    int handled = 0;
    StartedThread thread([&]() -> void* {
        pthread_cleanup_push([](void* count) { ++*static_cast<int*>(count); }, &handled);
        pthread_exit(nullptr);
        pthread_cleanup_pop(0);
        return nullptr;
    });
    thread.join();
    EXPECT_EQ(handled, 1);
}

TEST(Thread, IsItselfAndNoOther) {
    pthread_t inside{};
    StartedThread thread([&]() -> void* {
        inside = pthread_self();
        return nullptr;
    });
    EXPECT_FALSE(pthread_equal(thread.get(), pthread_self()));
    const pthread_t outside = thread.get();
    thread.join();
    EXPECT_TRUE(pthread_equal(inside, outside));
}

TEST(Thread, JoinOfItselfIsADeadlockAndOfADetachedOneInvalid) {
    EXPECT_EQ(EDEADLK, 11);
    std::atomic<bool> detachedItself{false};
    StartedThread thread([&]() -> void* {
        EXPECT_EQ(pthread_join(pthread_self(), nullptr), EDEADLK);
        EXPECT_EQ(pthread_detach(pthread_self()), 0);
        EXPECT_EQ(pthread_join(pthread_self(), nullptr), EINVAL);
        EXPECT_EQ(pthread_detach(pthread_self()), EINVAL);
        detachedItself = true;
        return nullptr;
    });
    ASSERT_TRUE(becomesTrue(detachedItself));
    const pthread_t detached = thread.get();
    for (int i = 0; i < 10'000 && pthread_cancel(detached) != ESRCH; ++i) {
        usleep(1000);
    }
    EXPECT_EQ(pthread_cancel(detached), ESRCH);
}

TEST(Thread, OnlyTheFirstIsTheMainOne) {
    EXPECT_EQ(pthread_main_np(), 1);
    StartedThread thread([]() -> void* {
        EXPECT_EQ(pthread_main_np(), 0);
        return nullptr;
    });
    thread.join();
}

TEST(Thread, HasANumberAndAPortOfItsOwn) {
    uint64_t own = 0;
    uint64_t other = 0;
    ASSERT_EQ(pthread_threadid_np(nullptr, &own), 0);
    const mach_port_t port = pthread_mach_thread_np(pthread_self());
    StartedThread thread([&]() -> void* {
        EXPECT_NE(pthread_mach_thread_np(pthread_self()), port);
        EXPECT_EQ(pthread_threadid_np(pthread_self(), &other), 0);
        return nullptr;
    });
    thread.join();
    EXPECT_NE(own, other);
    EXPECT_NE(port, mach_port_t{0});
}

TEST(Thread, NamesItself) {
    StartedThread thread([]() -> void* {
        EXPECT_EQ(pthread_setname_np("a thread with a rather long name"), 0);
        std::array<char, 64> name{};
        EXPECT_EQ(pthread_getname_np(pthread_self(), name.data(), name.size()), 0);
        EXPECT_STREQ(name.data(), "a thread with a rather long name");
        EXPECT_EQ(pthread_setname_np(std::string(64, 'x').c_str()), ENAMETOOLONG);
        return nullptr;
    });
    thread.join();
}

std::array<int, 2> keysDestroyed{};

TEST(Key, DestructorRunsAtTheEndOfAThreadThatSetAValue) {
    keysDestroyed = {};
    pthread_key_t key{};
    ASSERT_EQ(pthread_key_create(&key, [](void* count) { ++*static_cast<int*>(count); }), 0);
    EXPECT_EQ(pthread_getspecific(key), nullptr);
    StartedThread setting([&]() -> void* {
        EXPECT_EQ(pthread_setspecific(key, &keysDestroyed[0]), 0);
        EXPECT_EQ(pthread_getspecific(key), &keysDestroyed[0]);
        return nullptr;
    });
    StartedThread other([&]() -> void* { return pthread_getspecific(key); });
    setting.join();
    EXPECT_EQ(other.join(), nullptr);
    EXPECT_EQ(keysDestroyed[0], 1);
    EXPECT_EQ(pthread_key_delete(key), 0);
    EXPECT_EQ(pthread_setspecific(key, &key), EINVAL);
}

pthread_t seenByDestructor{};

TEST(Key, DestructorRunsInItsThread) {
    seenByDestructor = {};
    pthread_key_t key{};
    ASSERT_EQ(pthread_key_create(&key, [](void*) { seenByDestructor = pthread_self(); }), 0);
    StartedThread thread([&]() -> void* {
        pthread_setspecific(key, &key);
        return nullptr;
    });
    const pthread_t started = thread.get();
    thread.join();
    EXPECT_EQ(seenByDestructor, started);
    EXPECT_EQ(pthread_key_delete(key), 0);
}

std::atomic<int> routineRuns;

TEST(Once, RunsItsRoutineOnceForManyThreads) {
    routineRuns = 0;
    pthread_once_t control = PTHREAD_ONCE_INIT;
    const auto run = [&]() -> void* {
        EXPECT_EQ(pthread_once(&control, [] { ++routineRuns; }), 0);
        EXPECT_EQ(routineRuns, 1);
        return nullptr;
    };
    StartedThread first(run), second(run), third(run);
    for (StartedThread* thread : {&first, &second, &third}) {
        thread->join();
    }
}

TEST(Once, MemoryThatWasNeverOneIsInvalid) {
    pthread_once_t control{};
    EXPECT_EQ(pthread_once(&control, [] {}), EINVAL);
}

struct ThreadVariable {
    std::atomic<int>* destroyed = nullptr;
    ~ThreadVariable() { pthread_self()->__sig != 0 && destroyed != nullptr ? ++*destroyed : 0; }
};

TEST(Thread, ItsVariablesAreDestroyedWhileItIsStillAThread) {
    std::atomic<int> destroyed{0};
    StartedThread thread([&]() -> void* {
        static thread_local ThreadVariable variable;
        variable.destroyed = &destroyed;
        return nullptr;
    });
    thread.join();
    EXPECT_EQ(destroyed, 1);
}

}  // namespace
