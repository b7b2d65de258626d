// Cancellation as macOS carries it out: at cancellation points, by clean-up handlers, unwinding
// nothing.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <string>
#include <vector>

#include "started_thread.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kLong = 60;  // seconds that no test takes
constexpr auto kPromptly = std::chrono::seconds(20);

void waitForCondition() {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    pthread_mutex_lock(&mutex);
    while (true) {
        pthread_cond_wait(&condition, &mutex);
    }
}

void waitForConditionUntil() {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    timeval now{};
    gettimeofday(&now, nullptr);
    const timespec deadline{now.tv_sec + kLong, 0};
    pthread_mutex_lock(&mutex);
    while (pthread_cond_timedwait(&condition, &mutex, &deadline) == 0) {
    }
}

void sleepNanoseconds() {
    const timespec duration{kLong, 0};
    nanosleep(&duration, nullptr);
}

std::array<int, 2> pipeEnds{};

void readAPipe() {
    char byte = 0;
    read(pipeEnds[0], &byte, 1);
}

void fillAPipe() {
    const std::array<char, 4096> bytes{};
    while (write(pipeEnds[1], bytes.data(), bytes.size()) > 0) {
    }
}

void testForEver() {
    const auto end = Clock::now() + kPromptly;
    while (Clock::now() < end) {
        pthread_testcancel();
    }
}

pthread_t joined{};

void joinAThread() {
    pthread_join(joined, nullptr);
}

struct Point {
    const char* name;
    void (*call)();
};

const Point kPoints[] = {
    {"CondWait", waitForCondition},
    {"CondTimedwait", waitForConditionUntil},
    {"Usleep", [] { usleep(kLong * 1'000'000); }},
    {"Sleep", [] { sleep(kLong); }},
    {"Nanosleep", sleepNanoseconds},
    {"Read", readAPipe},
    {"Write", fillAPipe},
    {"Testcancel", testForEver},
    {"Join", joinAThread},
};

class CancellationPoint : public testing::TestWithParam<Point> {
  protected:
    CancellationPoint() {
        EXPECT_EQ(pipe(pipeEnds.data()), 0);
        joined = sleeper_.get();
    }
    ~CancellationPoint() override {
        pthread_cancel(sleeper_.get());
        sleeper_.join();
        close(pipeEnds[0]);
        close(pipeEnds[1]);
    }

    StartedThread sleeper_{[]() -> void* {
        sleep(kLong);
        return nullptr;
    }};
};

// The delay lets the call begin; without one the thread may or may not be there yet.
void expectEnd(const Point& point, useconds_t delay) {
    std::atomic<bool> begun{false};
    std::atomic<bool> passed{false};
    StartedThread thread([&]() -> void* {
        begun = true;
        point.call();
        passed = true;
        return nullptr;
    });
    ASSERT_TRUE(becomesTrue(begun));
    usleep(delay);
    const auto asked = Clock::now();
    EXPECT_EQ(pthread_cancel(thread.get()), 0);
    EXPECT_EQ(thread.join(), PTHREAD_CANCELED);
    EXPECT_FALSE(passed);
    EXPECT_LT(Clock::now() - asked, kPromptly);
}

TEST_P(CancellationPoint, EndsAThreadOnItsWayIn) {
    expectEnd(GetParam(), 0);
}

TEST_P(CancellationPoint, EndsAThreadThatIsInside) {
    expectEnd(GetParam(), 30'000);
}

TEST_P(CancellationPoint, RunsNoDestructor) {
    static std::atomic<bool> destroyed;
    static std::atomic<bool> begun;
    destroyed = begun = false;
    struct Witness {
        ~Witness() { destroyed = true; }
    };
    StartedThread thread([&]() -> void* {
        const Witness witness;
        begun = true;
        GetParam().call();
        return nullptr;
    });
    ASSERT_TRUE(becomesTrue(begun));
    pthread_cancel(thread.get());
    EXPECT_EQ(thread.join(), PTHREAD_CANCELED);
    EXPECT_FALSE(destroyed);
}

INSTANTIATE_TEST_SUITE_P(System, CancellationPoint, testing::ValuesIn(kPoints),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Cancellation, LockingAMutexIsNoCancellationPoint) {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    std::atomic<bool> begun{false};
    std::atomic<bool> passed{false};
    pthread_mutex_lock(&mutex);
    StartedThread thread([&]() -> void* {
        begun = true;
        pthread_mutex_lock(&mutex);
        pthread_mutex_unlock(&mutex);
        passed = true;
        pthread_testcancel();
        return nullptr;
    });
    ASSERT_TRUE(becomesTrue(begun));
    pthread_cancel(thread.get());
    pthread_mutex_unlock(&mutex);
    EXPECT_EQ(thread.join(), PTHREAD_CANCELED);
    EXPECT_TRUE(passed);
}

TEST(Cancellation, DisabledIsPutOffUntilTheNextPointAfterEnabling) {
    std::atomic<bool> disabled{false};
    std::atomic<bool> asked{false};
    bool passedDisabled = false;
    bool passedEnabling = false;
    StartedThread thread([&]() -> void* {
        int before = -1;
        EXPECT_EQ(pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before), 0);
        EXPECT_EQ(before, PTHREAD_CANCEL_ENABLE);
        disabled = true;
        EXPECT_TRUE(becomesTrue(asked));
        usleep(1000);
        passedDisabled = true;
        EXPECT_EQ(pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr), 0);
        passedEnabling = true;
        pthread_testcancel();
        return nullptr;
    });
    ASSERT_TRUE(becomesTrue(disabled));
    pthread_cancel(thread.get());
    asked = true;
    EXPECT_EQ(thread.join(), PTHREAD_CANCELED);
    EXPECT_TRUE(passedDisabled);
    EXPECT_TRUE(passedEnabling);
}

TEST(Cancellation, UnknownStatesAndTypesAreInvalid) {
    EXPECT_EQ(pthread_setcancelstate(2, nullptr), EINVAL);
    EXPECT_EQ(pthread_setcanceltype(1, nullptr), EINVAL);
    int before = -1;
    EXPECT_EQ(pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &before), 0);
    EXPECT_EQ(before, PTHREAD_CANCEL_DEFERRED);
}

std::vector<int> handled;

void handle(void* number) {
    handled.push_back(*static_cast<int*>(number));
}

TEST(Cancellation, RunsHandlersNewestFirstAndThenDestructorsOfKeys) {
    handled.clear();
    pthread_key_t key{};
    ASSERT_EQ(pthread_key_create(&key, handle), 0);
    StartedThread thread([&]() -> void* {
        std::array<int, 3> numbers{1, 2, 3};
        static int ofKey = 4;
        pthread_setspecific(key, &ofKey);
        pthread_cleanup_push(handle, &numbers[0]);
        pthread_cleanup_push(handle, &numbers[1]);
        pthread_cleanup_push(handle, &numbers[2]);
        pthread_cleanup_pop(0);
        pthread_cancel(pthread_self());
        pthread_testcancel();
        pthread_cleanup_pop(0);
        pthread_cleanup_pop(0);
        return nullptr;
    });
    EXPECT_EQ(thread.join(), PTHREAD_CANCELED);
    EXPECT_EQ(handled, (std::vector<int>{2, 1, 4}));
    pthread_key_delete(key);
}

struct Wait {
    pthread_mutex_t mutex = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    bool waiting = false;
    int unlocked = -1;
};

TEST(Cancellation, HandlerOfAConditionsWaitHoldsTheMutex) {
    Wait wait;
    StartedThread thread([&]() -> void* {
        pthread_mutex_lock(&wait.mutex);
        pthread_cleanup_push(
            [](void* cancelled) {
                auto& its = *static_cast<Wait*>(cancelled);
                its.unlocked = pthread_mutex_unlock(&its.mutex);
            },
            &wait);
        wait.waiting = true;
        while (true) {
            pthread_cond_wait(&wait.condition, &wait.mutex);
        }
        pthread_cleanup_pop(1);
        return nullptr;
    });
    for (bool waiting = false; !waiting;) {
        pthread_mutex_lock(&wait.mutex);
        waiting = wait.waiting;
        pthread_mutex_unlock(&wait.mutex);
    }
    pthread_cancel(thread.get());
    EXPECT_EQ(thread.join(), PTHREAD_CANCELED);
    EXPECT_EQ(wait.unlocked, 0);
    EXPECT_EQ(pthread_cond_destroy(&wait.condition), 0);
}

TEST(Cancellation, OfAThreadThatIsGoneFindsNone) {
    StartedThread thread([]() -> void* { return nullptr; });
    const pthread_t gone = thread.get();
    thread.join();
    EXPECT_EQ(pthread_cancel(gone), ESRCH);
}

TEST(Cancellation, OfAThreadThatIsDoneLeavesItsResult) {
    static int result = 0;
    std::atomic<bool> done{false};
    StartedThread thread([&]() -> void* {
        done = true;
        return &result;
    });
    ASSERT_TRUE(becomesTrue(done));
    pthread_cancel(thread.get());
    EXPECT_EQ(thread.join(), &result);
}

}  // namespace
