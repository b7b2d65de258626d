#include "faulty_machine.h"

#include <pthread.h>
#include <semaphore.h>
#include <sys/time.h>
#include <vqutilc.h>

#include <atomic>
#include <ctime>
#include <stdexcept>

#include "../contract/next_definition.h"

namespace {

// Read before the constructors have run: other libraries' ask for the time, too.
constinit std::atomic<std::int64_t> calendarOffset = 0;
constinit std::atomic<unsigned> waits = 0;
constinit std::atomic<std::uint32_t> tickOffset = 0;

template <typename Clock>
bool isCalendar(Clock clock) {
    return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
}

std::uint32_t rightTick() {
    using namespace std::chrono;
    const auto now = steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(duration_cast<milliseconds>(now).count());
}

}  // namespace

namespace faulty_machine {

void setCalendarOff(std::chrono::seconds by) {
    calendarOffset = by.count();
}

unsigned calendarWaits() {
    return waits;
}

void setTick(std::uint32_t now) {
    tickOffset = now - rightTick();
}

}  // namespace faulty_machine

NoDescriptors::NoDescriptors() {
    constexpr rlim_t kStandardStreams = 3;  // all lower numbers are taken
    getrlimit(RLIMIT_NOFILE, &previous_);
    const rlimit limit{kStandardStreams, previous_.rlim_max};
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0)
        throw std::runtime_error("cannot limit the number of descriptors");
}

NoDescriptors::~NoDescriptors() {
    setrlimit(RLIMIT_NOFILE, &previous_);
}

std::uint32_t get_tick_count() {
    return rightTick() + tickOffset;
}

INTERPOSED int clock_gettime(clockid_t clock, timespec* now) noexcept {
    using Function = int (*)(clockid_t, timespec*);
    static const auto next = nextDefinition<Function>("clock_gettime");
    const int result = next(clock, now);
    if (result == 0 && isCalendar(clock))
        now->tv_sec += calendarOffset;
    return result;
}

INTERPOSED int gettimeofday(timeval* now, void* zone) noexcept {
    using Function = int (*)(timeval*, void*);
    static const auto next = nextDefinition<Function>("gettimeofday");
    const int result = next(now, zone);
    now->tv_sec += calendarOffset;
    return result;
}

INTERPOSED time_t time(time_t* now) noexcept {
    timespec read{};
    clock_gettime(CLOCK_REALTIME, &read);
    if (now != nullptr)
        *now = read.tv_sec;
    return read.tv_sec;
}

INTERPOSED int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      const timespec* until) {
    using Function = int (*)(pthread_cond_t*, pthread_mutex_t*, const timespec*);
    static const auto next = nextDefinition<Function>("pthread_cond_timedwait");
    ++waits;
    return next(condition, mutex, until);
}

INTERPOSED int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      clockid_t clock, const timespec* until) {
    using Function = int (*)(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*);
    static const auto next = nextDefinition<Function>("pthread_cond_clockwait");
    waits += isCalendar(clock) ? 1 : 0;
    return next(condition, mutex, clock, until);
}

INTERPOSED int pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* until) noexcept {
    using Function = int (*)(pthread_mutex_t*, const timespec*);
    static const auto next = nextDefinition<Function>("pthread_mutex_timedlock");
    ++waits;
    return next(mutex, until);
}

INTERPOSED int sem_timedwait(sem_t* semaphore, const timespec* until) {
    using Function = int (*)(sem_t*, const timespec*);
    static const auto next = nextDefinition<Function>("sem_timedwait");
    ++waits;
    return next(semaphore, until);
}

INTERPOSED int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* left) {
    using Function = int (*)(clockid_t, int, const timespec*, timespec*);
    static const auto next = nextDefinition<Function>("clock_nanosleep");
    waits += isCalendar(clock) && (flags & TIMER_ABSTIME) != 0 ? 1 : 0;
    return next(clock, flags, time, left);
}
