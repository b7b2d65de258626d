#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <future>
#include <mutex>
#include <thread>

#include "vqutilc.h"

namespace {

constexpr auto kBound = std::chrono::seconds(10);
constexpr auto kShortWhile = std::chrono::milliseconds(50);

class CriticalSection : public testing::Test {
  protected:
    void SetUp() override { section_.init(); }
    void TearDown() override { section_.cleanup(); }

    // Locks and unlocks on another thread; ready when that thread got the lock.
    std::future<void> lockElsewhere() {
        return std::async(std::launch::async, [this] {
            section_.lock();
            section_.unlock();
        });
    }

    VQ_Critical_Section section_;
};

TEST_F(CriticalSection, keepsOtherThreadsOut) {
    section_.lock();
    const auto other = lockElsewhere();
    EXPECT_EQ(other.wait_for(kShortWhile), std::future_status::timeout);
    section_.unlock();
    EXPECT_EQ(other.wait_for(kBound), std::future_status::ready);
}

TEST_F(CriticalSection, isHeldUntilEveryLockIsUndone) {
    section_.lock();
    section_.lock();
    section_.unlock();
    const auto other = lockElsewhere();
    EXPECT_EQ(other.wait_for(kShortWhile), std::future_status::timeout);
    section_.unlock();
    EXPECT_EQ(other.wait_for(kBound), std::future_status::ready);
}

TEST_F(CriticalSection, ignoresAnUnlockOfAFreeLock) {
    section_.unlock();
    section_.lock();
    const auto other = lockElsewhere();
    EXPECT_EQ(other.wait_for(kShortWhile), std::future_status::timeout);
    section_.unlock();
}

TEST_F(CriticalSection, ignoresAnUnlockByAThreadThatDoesNotHoldIt) {
    section_.lock();
    std::thread([this] { section_.unlock(); }).join();
    const auto other = lockElsewhere();
    EXPECT_EQ(other.wait_for(kShortWhile), std::future_status::timeout);
    section_.unlock();
}

TEST_F(CriticalSection, countsRightUnderContention) {
    constexpr int kRounds = 20000;
    int counter = 0;
    const auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            const std::lock_guard<VQ_Critical_Section> lock(section_);
            ++counter;
        }
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
    EXPECT_EQ(counter, 2 * kRounds);
}

TEST_F(CriticalSection, letsACancelledThreadOutOfItsWait) {
    section_.lock();
    pthread_t waiter{};
    const auto wait = [](void* section) -> void* {
        static_cast<VQ_Critical_Section*>(section)->lock();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&waiter, nullptr, wait, &section_), 0);
    pthread_cancel(waiter);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(waiter, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    section_.unlock();
    EXPECT_EQ(lockElsewhere().wait_for(kBound), std::future_status::ready);
}

TEST(CriticalSectionUnready, locksNothingBeforeInit) {
    VQ_Critical_Section section;
    section.lock();
    const auto other = std::async(std::launch::async, [&] { section.lock(); });
    EXPECT_EQ(other.wait_for(kBound), std::future_status::ready);
}

}  // namespace
