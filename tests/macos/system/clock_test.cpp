// Clocks and sleep as on macOS.
#include <gtest/gtest.h>
#include <mach/clock.h>
#include <mach/mach.h>
#include <mach/mach_time.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <string>

namespace {

constexpr int64_t kSecond = 1'000'000'000;

struct NamedClock {
    const char* name;
    clockid_t clock;
};

class ClockOf : public testing::TestWithParam<NamedClock> {};

int64_t read(clockid_t clock) {
    timespec now{};
    EXPECT_EQ(clock_gettime(clock, &now), 0);
    return now.tv_sec * kSecond + now.tv_nsec;
}

TEST_P(ClockOf, GoesForwardAndReadsTheSameInNanoseconds) {
    const int64_t first = read(GetParam().clock);
    int64_t later = first;
    for (int i = 0; i < 1'000'000 && later <= first; ++i) {
        later = read(GetParam().clock);
    }
    EXPECT_GT(later, first);
    const auto nanoseconds = static_cast<int64_t>(clock_gettime_nsec_np(GetParam().clock));
    EXPECT_GE(nanoseconds, later);
    EXPECT_LT(nanoseconds, later + 10 * kSecond);
}

INSTANTIATE_TEST_SUITE_P(System, ClockOf,
                         testing::Values(NamedClock{"Realtime", CLOCK_REALTIME},
                                         NamedClock{"Monotonic", CLOCK_MONOTONIC},
                                         NamedClock{"MonotonicRaw", CLOCK_MONOTONIC_RAW},
                                         NamedClock{"UptimeRaw", CLOCK_UPTIME_RAW},
                                         NamedClock{"Process", CLOCK_PROCESS_CPUTIME_ID},
                                         NamedClock{"Thread", CLOCK_THREAD_CPUTIME_ID}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Clock, UnknownOneIsInvalid) {
    timespec now{};
    EXPECT_EQ(clock_gettime(static_cast<clockid_t>(99), &now), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(Clock, RealTimeIsTheTimeOfDay) {
    timeval day{};
    ASSERT_EQ(gettimeofday(&day, nullptr), 0);
    EXPECT_NEAR(static_cast<double>(read(CLOCK_REALTIME) / kSecond),
                static_cast<double>(day.tv_sec), 5);
}

TEST(Clock, AbsoluteTimeTimesItsBaseGrowsOverASleep) {
    mach_timebase_info_data_t base{};
    ASSERT_EQ(mach_timebase_info(&base), KERN_SUCCESS);
    const uint64_t start = mach_absolute_time();
    const timespec duration{0, 20'000'000};
    EXPECT_EQ(nanosleep(&duration, nullptr), 0);
    const uint64_t slept = (mach_absolute_time() - start) * base.numer / base.denom;
    EXPECT_GE(slept, 20'000'000U);
    EXPECT_LT(slept, 20'000'000'000U);
}

TEST(Clock, SleepOfAnImpossibleTimeIsInvalid) {
    const timespec duration{0, kSecond};
    EXPECT_EQ(nanosleep(&duration, nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(Clock, HostsClocksTellTheTime) {
    clock_serv_t calendar{};
    ASSERT_EQ(host_get_clock_service(mach_host_self(), CALENDAR_CLOCK, &calendar), KERN_SUCCESS);
    mach_timespec_t now{};
    EXPECT_EQ(clock_get_time(calendar, &now), KERN_SUCCESS);
    EXPECT_NEAR(static_cast<double>(now.tv_sec), static_cast<double>(std::time(nullptr)), 5);
    EXPECT_GE(now.tv_nsec, 0);
    EXPECT_LT(now.tv_nsec, kSecond);
    EXPECT_EQ(mach_port_deallocate(mach_task_self(), calendar), KERN_SUCCESS);
    EXPECT_NE(host_get_clock_service(mach_host_self(), 77, &calendar), KERN_SUCCESS);
}

TEST(Task, CountsItsThreads) {
    thread_act_array_t threads = nullptr;
    mach_msg_type_number_t count = 0;
    ASSERT_EQ(task_threads(mach_task_self(), &threads, &count), KERN_SUCCESS);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(vm_deallocate(mach_task_self(), reinterpret_cast<vm_address_t>(threads),
                            count * sizeof(*threads)),
              KERN_SUCCESS);
}

}  // namespace
