// Clocks and sleep: the clocks' numbers differ, and sleeping is a cancellation point.
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <mutex>

#include "cancellation.h"
#include "symbol_table.h"
#include "thread.h"

namespace system_library {
namespace {

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int64_t kNanosecondsPerMicrosecond = 1000;

// macOS's monotonic clock goes on while the machine sleeps, its uptime clocks do not.
clockid_t nativeClock(int clock) {
    switch (clock) {
        case 0:
            return CLOCK_REALTIME;
        case 4:
        case 5:
        case 6:
            return CLOCK_BOOTTIME;
        case 8:
        case 9:
            return CLOCK_MONOTONIC;
        case 12:
            return CLOCK_PROCESS_CPUTIME_ID;
        case 16:
            return CLOCK_THREAD_CPUTIME_ID;
        default:
            return -1;
    }
}

int readClock(int clock, timespec* time) {
    const clockid_t native = nativeClock(clock);
    if (native < 0) {
        errno = EINVAL;
        return -1;
    }
    return clock_gettime(native, time);
}

int64_t nanoseconds(const timespec& time) {
    return time.tv_sec * kNanosecondsPerSecond + time.tv_nsec;
}

timespec timeOf(int64_t nanosecondsSince) {
    return {nanosecondsSince / kNanosecondsPerSecond, nanosecondsSince % kNanosecondsPerSecond};
}

// 0 for a clock that does not exist.
uint64_t readClockInNanoseconds(int clock) {
    timespec now{};
    return readClock(clock, &now) == 0 ? static_cast<uint64_t>(nanoseconds(now)) : 0;
}

int64_t uptime() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return nanoseconds(now);
}

uint64_t absoluteTime() {
    return static_cast<uint64_t>(uptime());
}

struct Timebase {
    uint32_t numerator;
    uint32_t denominator;
};

// A unit of the absolute time is a nanosecond, as on every Mac with such a processor.
int readTimebase(Timebase* timebase) {
    *timebase = {1, 1};
    return 0;
}

// Nanoseconds left when a signal's handler ended the sleep; 0 otherwise.
int64_t sleepFor(int64_t duration) {
    testCancellation();
    Thread& self = currentThread();
    const int64_t end = uptime() + duration;
    const timespec deadline = timeOf(end);
    std::unique_lock lock(threadsLock());
    Wake reason = Wake::kWoken;
    while (reason == Wake::kWoken && !cancellationDue(self)) {
        reason = park(self, lock, CLOCK_MONOTONIC, &deadline);
    }
    const bool cancelled = cancellationDue(self);
    lock.unlock();
    if (cancelled) {
        endThread(self, kCanceled);
    }
    const int64_t left = end - uptime();
    return reason == Wake::kInterrupted && left > 0 ? left : 0;
}

int sleepNanoseconds(const timespec* duration, timespec* left) {
    if (duration->tv_sec < 0 || duration->tv_nsec < 0 ||
        duration->tv_nsec >= kNanosecondsPerSecond) {
        errno = EINVAL;
        return -1;
    }
    const int64_t remaining = sleepFor(nanoseconds(*duration));
    if (left != nullptr) {
        *left = timeOf(remaining);
    }
    if (remaining > 0) {
        errno = EINTR;
        return -1;
    }
    return 0;
}

int sleepMicroseconds(unsigned duration) {
    if (sleepFor(int64_t{duration} * kNanosecondsPerMicrosecond) > 0) {
        errno = EINTR;
        return -1;
    }
    return 0;
}

// Whole seconds left, as the system rounds them: up.
unsigned sleepSeconds(unsigned duration) {
    const int64_t left = sleepFor(int64_t{duration} * kNanosecondsPerSecond);
    return static_cast<unsigned>((left + kNanosecondsPerSecond - 1) / kNanosecondsPerSecond);
}

const Registration registration{
    symbol("_clock_gettime", readClock),
    symbol("_clock_gettime_nsec_np", readClockInNanoseconds),
    symbol("_mach_absolute_time", absoluteTime),
    symbol("_mach_timebase_info", readTimebase),
    symbol("_nanosleep", sleepNanoseconds),
    symbol("_usleep", sleepMicroseconds),
    symbol("_sleep", sleepSeconds),
};

}  // namespace
}  // namespace system_library
