#include "driven_time.h"

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "next_definition.h"
#include "vqutilc.h"

namespace {

constexpr auto kBound = std::chrono::seconds(10);
constexpr uint32_t kFirstTick = 5000;
constexpr useconds_t kUsPerMs = 1000;

// Never destroyed: a thread may be asleep while the program ends.
struct Clock {
    std::mutex mutex;
    std::condition_variable changed;
    uint32_t tick = kFirstTick;
    bool free = false;
    size_t asleep = 0;
    size_t wakeUps = 0;  // granted and not yet taken
    useconds_t latest = 0;
    std::vector<useconds_t> sleeps;
    size_t timedOutWaits = 0;  // still to come
    std::vector<unsigned int> waits;

    static Clock& instance() {
        static Clock& clock = *new Clock;
        return clock;
    }
};

using Lock = std::lock_guard<std::mutex>;

Clock& theClock() {
    return Clock::instance();
}

using SleepersLock = std::unique_lock<std::mutex>;

// For a thread that is cancelled in its sleep: it holds the lock again then, and not every system
// runs its destructors.
void giveSleepUp(void* sleepersLock) {
    --theClock().asleep;
    static_cast<SleepersLock*>(sleepersLock)->unlock();
}

void sleepUntilWoken(Clock& clock, SleepersLock& lock) {
    ++clock.asleep;
    clock.changed.notify_all();
    pthread_cleanup_push(giveSleepUp, &lock);
    while (!clock.free && clock.wakeUps == 0) {
        clock.changed.wait(lock);
    }
    pthread_cleanup_pop(0);
    --clock.asleep;
    if (clock.wakeUps > 0) {
        --clock.wakeUps;
    }
}

}  // namespace

namespace driven_time {

void reset() {
    Clock& clock = theClock();
    const Lock lock(clock.mutex);
    clock.tick = kFirstTick;
    clock.free = false;
    clock.wakeUps = 0;
    clock.sleeps.clear();
    clock.timedOutWaits = 0;
    clock.waits.clear();
}

void setTick(uint32_t tick) {
    const Lock lock(theClock().mutex);
    theClock().tick = tick;
}

void advance(uint32_t milliseconds) {
    const Lock lock(theClock().mutex);
    theClock().tick += milliseconds;
}

std::optional<useconds_t> awaitSleep() {
    Clock& clock = theClock();
    std::unique_lock<std::mutex> lock(clock.mutex);
    if (!clock.changed.wait_for(lock, kBound, [&clock] { return clock.asleep > 0; })) {
        return std::nullopt;
    }
    return clock.latest;
}

void wake() {
    Clock& clock = theClock();
    std::unique_lock<std::mutex> lock(clock.mutex);
    ++clock.wakeUps;
    clock.changed.notify_all();
    clock.changed.wait_for(lock, kBound, [&clock] { return clock.wakeUps == 0; });
}

void runFreely() {
    const Lock lock(theClock().mutex);
    theClock().free = true;
    theClock().changed.notify_all();
}

std::vector<useconds_t> sleeps() {
    const Lock lock(theClock().mutex);
    return theClock().sleeps;
}

void timeOutNextEventWait(size_t waits) {
    const Lock lock(theClock().mutex);
    theClock().timedOutWaits = waits;
}

std::vector<unsigned int> eventWaits() {
    const Lock lock(theClock().mutex);
    return theClock().waits;
}

}  // namespace driven_time

uint32_t get_tick_count() {
    const Lock lock(theClock().mutex);
    return theClock().tick;
}

// A cancellation point, as the real one is.
INTERPOSED int usleep(useconds_t microseconds) {
    Clock& clock = theClock();
    SleepersLock lock(clock.mutex);
    clock.sleeps.push_back(microseconds);
    clock.latest = microseconds;
    if (!clock.free) {
        sleepUntilWoken(clock, lock);
        clock.changed.notify_all();
    }
    clock.tick += microseconds / kUsPerMs;
    return 0;
}

bool VQ_Event::wait(unsigned int ms) {
    using Wait = bool (*)(VQ_Event*, unsigned int);
    static const auto next = nextDefinition<Wait>("_ZN8VQ_Event4waitEj");
    Clock& clock = theClock();
    {
        const Lock lock(clock.mutex);
        clock.waits.push_back(ms);
        if (clock.timedOutWaits > 0) {
            --clock.timedOutWaits;
            return false;
        }
    }
    driven_time::runFreely();
    return next(this, ms);
}
