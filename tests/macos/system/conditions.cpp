// Conditions: macOS's are 48 bytes, one mutex at a time, and a waiting thread must be reachable for
// cancellation, so the queue of waiting threads is our own.
//
// A thread that was signalled never looks at the condition again, so that its owner may destroy it
// as soon as everybody was woken.
#include <new>

#include "cancellation.h"
#include "errors.h"
#include "mutex.h"
#include "symbol_table.h"
#include "thread.h"

namespace system_library {

struct Condition {
    long signature;
    Thread* first;
    Mutex* mutex;  // of the threads that wait
};

static_assert(sizeof(Condition) <= 48);

namespace {

constexpr long kStatic = 0x3CB0B1BB;
constexpr long kMade = 0x434F4E44;
constexpr int kErrorBusy = 16;
constexpr long kNanosecondsPerSecond = 1'000'000'000;

// Under the lock, as all that follows up to the entry points.
bool usable(Condition& condition) {
    if (condition.signature == kStatic) {
        new (&condition) Condition{kMade, nullptr, nullptr};
    }
    return condition.signature == kMade;
}

void append(Condition& condition, Thread& thread) {
    Thread** link = &condition.first;
    while (*link != nullptr) {
        link = &(*link)->nextWaiter;
    }
    *link = &thread;
    thread.nextWaiter = nullptr;
    thread.waitingOn = &condition;
}

void remove(Condition& condition, Thread& thread) {
    Thread** link = &condition.first;
    while (*link != &thread) {
        link = &(*link)->nextWaiter;
    }
    *link = thread.nextWaiter;
    thread.waitingOn = nullptr;
}

void wakeFirst(Condition& condition) {
    Thread& thread = *condition.first;
    remove(condition, thread);
    unpark(thread);
}

int wait(Condition* condition, Mutex* mutex, const timespec* deadline) {
    testCancellation();
    Thread& self = currentThread();
    std::unique_lock lock(threadsLock());
    if (!usable(*condition) || (condition->first != nullptr && condition->mutex != mutex)) {
        return kErrorInvalid;
    }
    if (const int error = unlockMutex(mutex); error != 0) {
        return kErrorInvalid;
    }
    condition->mutex = mutex;
    append(*condition, self);
    Wake reason = Wake::kWoken;
    while (self.waitingOn != nullptr && reason != Wake::kTimedOut && !cancellationDue(self)) {
        reason = park(self, lock, CLOCK_REALTIME, deadline);
    }
    // A signal that came first is this thread's own: ending now would lose it for the others.
    const bool signalled = self.waitingOn == nullptr;
    if (!signalled) {
        remove(*condition, self);
    }
    const bool cancelled = !signalled && cancellationDue(self);
    lock.unlock();
    lockMutex(mutex);
    if (cancelled) {
        endThread(self, kCanceled);
    }
    return signalled ? 0 : kErrorTimedOut;
}

int waitForever(Condition* condition, Mutex* mutex) {
    return wait(condition, mutex, nullptr);
}

int waitUntil(Condition* condition, Mutex* mutex, const timespec* deadline) {
    if (deadline->tv_nsec < 0 || deadline->tv_nsec >= kNanosecondsPerSecond) {
        return kErrorInvalid;
    }
    return wait(condition, mutex, deadline);
}

int signal(Condition* condition) {
    const std::lock_guard lock(threadsLock());
    if (!usable(*condition)) {
        return kErrorInvalid;
    }
    if (condition->first != nullptr) {
        wakeFirst(*condition);
    }
    return 0;
}

int broadcast(Condition* condition) {
    const std::lock_guard lock(threadsLock());
    if (!usable(*condition)) {
        return kErrorInvalid;
    }
    while (condition->first != nullptr) {
        wakeFirst(*condition);
    }
    return 0;
}

int initialise(Condition* condition, const void*) {
    const std::lock_guard lock(threadsLock());
    new (condition) Condition{kMade, nullptr, nullptr};
    return 0;
}

int destroy(Condition* condition) {
    const std::lock_guard lock(threadsLock());
    if (!usable(*condition)) {
        return kErrorInvalid;
    }
    if (condition->first != nullptr) {
        return kErrorBusy;
    }
    condition->signature = 0;
    return 0;
}

const Registration registration{
    symbol("_pthread_cond_init", initialise),  symbol("_pthread_cond_destroy", destroy),
    symbol("_pthread_cond_wait", waitForever), symbol("_pthread_cond_timedwait", waitUntil),
    symbol("_pthread_cond_signal", signal),    symbol("_pthread_cond_broadcast", broadcast),
};

}  // namespace
}  // namespace system_library
