#include "turns.h"

#include <pthread.h>
#include <sanitizer/asan_interface.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <map>
#include <mutex>
#include <utility>

#include "vqutilc.h"

/* The linker sends calls of these to stand-in..., and calls of real... to what they are. */
extern "C" {
int realCreate(pthread_t*, const pthread_attr_t*, void* (*)(void*),
               void*) __asm__("__real_pthread_create");
int realCancel(pthread_t) __asm__("__real_pthread_cancel");
bool realWait(VQ_Event*, unsigned) __asm__("__real__ZN8VQ_Event4waitEj");
void realLock(VQ_Critical_Section*) __asm__("__real__ZN19VQ_Critical_Section4lockEv");
void realUnlock(VQ_Critical_Section*) __asm__("__real__ZN19VQ_Critical_Section6unlockEv");
void realCleanup(VQ_Critical_Section*) __asm__("__real__ZN19VQ_Critical_Section7cleanupEv");

int standInCreate(pthread_t*, const pthread_attr_t*, void* (*)(void*),
                  void*) __asm__("__wrap_pthread_create");
int standInCancel(pthread_t) __asm__("__wrap_pthread_cancel");
int standInSleep(useconds_t) __asm__("__wrap_usleep");
std::uint32_t standInTick() __asm__("__wrap_get_tick_count");
bool standInWait(VQ_Event*, unsigned) __asm__("__wrap__ZN8VQ_Event4waitEj");
void standInLock(VQ_Critical_Section*) __asm__("__wrap__ZN19VQ_Critical_Section4lockEv");
void standInUnlock(VQ_Critical_Section*) __asm__("__wrap__ZN19VQ_Critical_Section6unlockEv");
void standInCleanup(VQ_Critical_Section*) __asm__("__wrap__ZN19VQ_Critical_Section7cleanupEv");
}

namespace {

constexpr auto kPatience = std::chrono::seconds(60);
constexpr std::uint64_t kUsPerMs = 1000;

enum class State { running, asleep, blocked, leaving };

struct Runner {
    void* (*routine)(void*);
    void* argument;
    pthread_t handle{};
    State state = State::asleep;
    std::uint64_t wakeAt = 0;
    const VQ_Critical_Section* awaited = nullptr;
};

/* Never destroyed: a thread may end while the program does. */
struct Stage {
    std::mutex mutex;
    std::condition_variable changed;
    std::list<Runner> runners;  // the oldest first
    std::size_t running = 0;
    std::uint64_t now = 0;  // microseconds
    std::uint32_t firstTick = 0;
    bool failsNext = false;
    std::map<const VQ_Critical_Section*, std::size_t> heldByHost;

    static Stage& instance() {
        static Stage& stage = *new Stage;
        return stage;
    }
};

using Lock = std::unique_lock<std::mutex>;

Stage& stage() {
    return Stage::instance();
}

thread_local Runner* self = nullptr;

void setRunning(Runner& runner) {
    runner.state = State::running;
    ++stage().running;
    stage().changed.notify_all();
}

/* Cancellation leaves frames without the sanitizer's notice, which would take what destructors call
 * to write beside variables that are no more. Where a thread waits, the innermost frame tells it.
 */
class CancellablePlace {
  public:
    CancellablePlace() = default;
    ~CancellablePlace() {
        if (!isPassed_)
            __asan_handle_no_return();
    }
    CancellablePlace(const CancellablePlace&) = delete;
    CancellablePlace& operator=(const CancellablePlace&) = delete;

    void pass() { isPassed_ = true; }

  private:
    bool isPassed_ = false;
};

/* Only the calling thread's own. */
void rest(State state) {
    self->state = state;
    --stage().running;
    stage().changed.notify_all();
}

void awaitRest(Lock& lock) {
    if (!stage().changed.wait_for(lock, kPatience, [] { return stage().running == 0; })) {
        std::fputs("a capture thread does not come to rest\n", stderr);
        std::abort();
    }
}

void awaitTurn(Lock& lock) {
    CancellablePlace place;
    stage().changed.wait(lock, [] { return self->state == State::running; });
    place.pass();
}

/* Also when the thread is cancelled. */
struct EndOfThread {
    ~EndOfThread() {
        const Lock lock(stage().mutex);
        --stage().running;
        stage().runners.remove_if([](const Runner& runner) { return &runner == self; });
        stage().changed.notify_all();
    }
    void arm() {}
};

thread_local EndOfThread endOfThread;

void* runInTurns(void* runner) {
    self = static_cast<Runner*>(runner);
    endOfThread.arm();
    {
        Lock lock(stage().mutex);
        awaitTurn(lock);
    }
    return self->routine(self->argument);
}

bool giveNextUntil(Lock& lock, std::uint64_t latest) {
    const auto next = std::min_element(
        stage().runners.begin(), stage().runners.end(), [](const Runner& a, const Runner& b) {
            const bool isAsleep = a.state == State::asleep;
            return isAsleep == (b.state == State::asleep) ? a.wakeAt < b.wakeAt : isAsleep;
        });
    if (next == stage().runners.end() || next->state != State::asleep || next->wakeAt > latest)
        return false;
    stage().now = std::max(stage().now, next->wakeAt);
    setRunning(*next);
    awaitRest(lock);
    return true;
}

}  // namespace

namespace turns {

void reset(std::uint32_t tick) {
    const Lock lock(stage().mutex);
    stage().now = 0;
    stage().firstTick = tick;
    stage().failsNext = false;
    stage().heldByHost.clear();
}

bool giveNext() {
    Lock lock(stage().mutex);
    return giveNextUntil(lock, ~std::uint64_t{0});
}

void failNextThread() {
    const Lock lock(stage().mutex);
    stage().failsNext = true;
}

std::size_t threads() {
    const Lock lock(stage().mutex);
    return stage().runners.size();
}

std::size_t locksOfHost() {
    const Lock lock(stage().mutex);
    std::size_t locks = 0;
    for (const auto& [section, depth] : stage().heldByHost)
        locks += depth;
    return locks;
}

}  // namespace turns

int standInCreate(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                  void* argument) {
    Runner* runner = nullptr;
    {
        const Lock lock(stage().mutex);
        // Without attributes: not the library's.
        if (attributes == nullptr)
            return realCreate(thread, attributes, routine, argument);
        if (std::exchange(stage().failsNext, false))
            return EAGAIN;
        runner = &stage().runners.emplace_back(Runner{routine, argument});
        runner->wakeAt = stage().now;
    }
    const int result = realCreate(thread, attributes, runInTurns, runner);
    const Lock lock(stage().mutex);
    if (result == 0)
        runner->handle = *thread;
    else
        stage().runners.pop_back();
    return result;
}

/* The thread is in one of its waits, where cancellation is let in. */
int standInCancel(pthread_t thread) {
    const Lock lock(stage().mutex);
    for (Runner& runner : stage().runners) {
        if (pthread_equal(runner.handle, thread) != 0 && runner.state != State::running) {
            // Before it knows, so that nobody takes it to be at rest.
            runner.state = State::leaving;
            ++stage().running;
        }
    }
    return realCancel(thread);
}

int standInSleep(useconds_t microseconds) {
    Lock lock(stage().mutex);
    if (self == nullptr) {
        stage().now += microseconds;
        return 0;
    }
    self->wakeAt = stage().now + microseconds;
    rest(State::asleep);
    awaitTurn(lock);
    return 0;
}

std::uint32_t standInTick() {
    const Lock lock(stage().mutex);
    return stage().firstTick + static_cast<std::uint32_t>(stage().now / kUsPerMs);
}

bool standInWait(VQ_Event* event, unsigned milliseconds) {
    Lock lock(stage().mutex);
    const std::uint64_t end = stage().now + milliseconds * kUsPerMs;
    for (;;) {
        awaitRest(lock);
        if (realWait(event, 0))
            return true;
        if (!giveNextUntil(lock, end)) {
            stage().now = end;
            return false;
        }
    }
}

void standInLock(VQ_Critical_Section* section) {
    if (self == nullptr) {
        realLock(section);
        const Lock lock(stage().mutex);
        ++stage().heldByHost[section];
        return;
    }
    {
        const Lock lock(stage().mutex);
        if (stage().heldByHost.contains(section)) {
            self->awaited = section;
            rest(State::blocked);
        }
    }
    CancellablePlace place;
    realLock(section);
    place.pass();
}

void standInUnlock(VQ_Critical_Section* section) {
    if (self != nullptr)
        return realUnlock(section);
    Lock lock(stage().mutex);
    const auto held = stage().heldByHost.find(section);
    if (held != stage().heldByHost.end() && --held->second == 0) {
        stage().heldByHost.erase(held);
        for (Runner& runner : stage().runners) {
            if (runner.state == State::blocked && runner.awaited == section)
                setRunning(runner);
        }
    }
    realUnlock(section);
    awaitRest(lock);
}

void standInCleanup(VQ_Critical_Section* section) {
    {
        const Lock lock(stage().mutex);
        stage().heldByHost.erase(section);
    }
    realCleanup(section);
}
