#include "cancellation.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

#include "errors.h"
#include "symbol_table.h"

namespace system_library {
namespace {

constexpr int kNoSuchThread = 3;

bool cancellable(const Thread& thread) {
    return thread.cancelState == kCancelEnable && !thread.ending;
}

int cancelThread(Thread* thread) {
    const std::lock_guard lock(threadsLock());
    if (!isThread(thread)) {
        return kNoSuchThread;
    }
    thread->cancelAsked = true;
    unpark(*thread);
    if (thread->wakeDescriptor >= 0) {
        const ErrnoKept errnoKept;
        eventfd_write(thread->wakeDescriptor, 1);
    }
    return 0;
}

// As on macOS no cancellation point itself: what was asked for takes effect at the next one.
int setCancelState(int state, int* before) {
    if (state != kCancelEnable && state != kCancelDisable) {
        return kErrorInvalid;
    }
    Thread& self = currentThread();
    const std::lock_guard lock(threadsLock());
    if (before != nullptr) {
        *before = self.cancelState;
    }
    self.cancelState = state;
    return 0;
}

// Kept only: a thread ends at cancellation points, whatever its type.
int setCancelType(int type, int* before) {
    if (type != kCancelDeferred && type != kCancelAsynchronous) {
        return kErrorInvalid;
    }
    Thread& self = currentThread();
    const std::lock_guard lock(threadsLock());
    if (before != nullptr) {
        *before = self.cancelType;
    }
    self.cancelType = type;
    return 0;
}

void exitThread(void* result) {
    endThread(currentThread(), result);
}

// The descriptor that cancelThread() makes readable; -1 while the thread cannot be cancelled, so
// that an earlier request, put off, does not wake it over and over. Without one (no descriptors
// left) the thread ends only when its own descriptor is ready.
int wakeDescriptor(Thread& self) {
    const std::lock_guard lock(threadsLock());
    if (!cancellable(self)) {
        return -1;
    }
    if (self.wakeDescriptor < 0) {
        self.wakeDescriptor = eventfd(self.cancelAsked ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK);
    }
    return self.wakeDescriptor;
}

const Registration registration{
    symbol("_pthread_cancel", cancelThread),
    symbol("_pthread_setcancelstate", setCancelState),
    symbol("_pthread_setcanceltype", setCancelType),
    symbol("_pthread_testcancel", testCancellation),
    symbol("_pthread_exit", exitThread),
};

}  // namespace

bool cancellationDue(const Thread& thread) {
    return thread.cancelAsked && cancellable(thread);
}

void endThread(Thread& self, void* result) {
    {
        const std::lock_guard lock(threadsLock());
        self.ending = true;
        self.result = result;
    }
    while (CleanupHandler* const handler = self.cleanupStack) {
        self.cleanupStack = handler->next;
        handler->routine(handler->argument);
    }
    if (!self.hasFirstFrame) {
        std::fputs("system library: a thread that it did not start cannot be ended\n", stderr);
        std::abort();
    }
    longjmp(self.firstFrame, 1);
}

void testCancellation() {
    Thread& self = currentThread();
    std::unique_lock lock(threadsLock());
    if (!cancellationDue(self)) {
        return;
    }
    lock.unlock();
    endThread(self, kCanceled);
}

// A signal's handler does not end the wait: as if every handler asked for restarting.
void awaitDescriptor(int descriptor, short events) {
    testCancellation();
    std::array<pollfd, 2> waits{{{descriptor, events, 0}, {-1, POLLIN, 0}}};
    if (poll(waits.data(), 1, 0) != 0) {
        return;
    }
    Thread& self = currentThread();
    waits[1].fd = wakeDescriptor(self);
    const int errnoBefore = errno;
    while (waits[0].revents == 0) {
        poll(waits.data(), waits.size(), -1);
        errno = errnoBefore;
        testCancellation();
    }
}

}  // namespace system_library
