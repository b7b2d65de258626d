// Threads: macOS's pthread_t points to a record that the macros of <pthread.h> write into, a thread
// has 512 KiB of stack unless it asks for more, and joining is a cancellation point of our own.
#include <sys/prctl.h>
#include <unistd.h>

#include <cstring>
#include <memory>

#include "cancellation.h"
#include "errors.h"
#include "symbol_table.h"
#include "thread.h"
#include "thread_attributes.h"

namespace system_library {
namespace {

constexpr int kNoSuchThread = 3;

// This system takes the thread-local storage from the stack, and its functions use more of it.
constexpr size_t kOwnStack = size_t{128} * 1024;

void* runThread(void* record) {
    adoptThread(*static_cast<Thread*>(record));
    if (setjmp(currentThread().firstFrame) == 0) {
        Thread& self = currentThread();
        endThread(self, self.routine(self.argument));
    }
    Thread& self = currentThread();
    const std::lock_guard lock(threadsLock());
    self.ended = true;
    if (self.joiner != nullptr) {
        unpark(*self.joiner);
    }
    return nullptr;
}

class NativeAttributes {
  public:
    explicit NativeAttributes(size_t stackSize) {
        pthread_attr_init(&attributes_);
        pthread_attr_setstacksize(&attributes_, stackSize + kOwnStack);
    }
    ~NativeAttributes() { pthread_attr_destroy(&attributes_); }
    NativeAttributes(const NativeAttributes&) = delete;
    NativeAttributes& operator=(const NativeAttributes&) = delete;

    const pthread_attr_t* get() const { return &attributes_; }

  private:
    pthread_attr_t attributes_{};
};

int createThread(Thread** created, const ThreadAttributes* attributes, void* (*routine)(void*),
                 void* argument) {
    const ThreadAttributes defaults;
    const ThreadAttributes& asked = attributes == nullptr ? defaults : *attributes;
    if (asked.signature != kAttributesSignature) {
        return kErrorInvalid;
    }
    auto thread = std::make_unique<Thread>();
    thread->routine = routine;
    thread->argument = argument;
    thread->hasFirstFrame = true;
    thread->detached = asked.detachState == kDetached;
    keepThread(*thread, thread->detached ? 1 : 2);

    // Written before the thread runs, as it may look for itself where its creator keeps it.
    *created = thread.get();
    const NativeAttributes native(asked.stackSize);
    // The lock makes the new thread's end, and whoever joins it, wait for the handle to be known.
    std::unique_lock lock(threadsLock());
    const int error = pthread_create(&thread->native, native.get(), runThread, thread.get());
    if (error != 0) {
        thread->references = 1;
        lock.unlock();
        releaseThread(*thread.release());
        return macError(error);
    }
    if (thread->detached) {
        pthread_detach(thread->native);
    }
    static_cast<void>(thread.release());
    return 0;
}

int joinThread(Thread* thread, void** result) {
    testCancellation();
    Thread& self = currentThread();
    std::unique_lock lock(threadsLock());
    if (!isThread(thread)) {
        return kNoSuchThread;
    }
    if (thread->detached || thread->joiner != nullptr) {
        return kErrorInvalid;
    }
    if (thread == &self) {
        return kErrorDeadlock;
    }
    thread->joiner = &self;
    while (!thread->ended && !cancellationDue(self)) {
        park(self, lock, CLOCK_MONOTONIC, nullptr);
    }
    if (!thread->ended) {
        thread->joiner = nullptr;
        lock.unlock();
        endThread(self, kCanceled);
    }
    if (result != nullptr) {
        *result = thread->result;
    }
    lock.unlock();
    pthread_join(thread->native, nullptr);
    releaseThread(*thread);
    return 0;
}

int detachThread(Thread* thread) {
    {
        const std::lock_guard lock(threadsLock());
        if (!isThread(thread)) {
            return kNoSuchThread;
        }
        if (thread->detached || thread->joiner != nullptr) {
            return kErrorInvalid;
        }
        pthread_detach(thread->native);
        thread->detached = true;
    }
    releaseThread(*thread);
    return 0;
}

int equalThreads(const Thread* one, const Thread* other) {
    return one == other ? 1 : 0;
}

int isMainThread() {
    return getpid() == gettid() ? 1 : 0;
}

uint32_t portOfThread(const Thread* thread) {
    const std::lock_guard lock(threadsLock());
    return isThread(thread) ? thread->id : 0;
}

int idOfThread(const Thread* thread, uint64_t* id) {
    const Thread* asked = thread == nullptr ? &currentThread() : thread;
    const std::lock_guard lock(threadsLock());
    if (id == nullptr) {
        return kErrorInvalid;
    }
    if (!isThread(asked)) {
        return kNoSuchThread;
    }
    *id = asked->id;
    return 0;
}

// One argument: a thread names itself. This system shows the first 15 characters only.
int nameThread(const char* name) {
    Thread& self = currentThread();
    if (std::strlen(name) >= self.name.size()) {
        setMacErrno(kErrorNameTooLong);
        return kErrorNameTooLong;
    }
    prctl(PR_SET_NAME, name);
    const std::lock_guard lock(threadsLock());
    std::strcpy(self.name.data(), name);
    return 0;
}

int nameOfThread(const Thread* thread, char* name, size_t size) {
    const std::lock_guard lock(threadsLock());
    if (!isThread(thread)) {
        return kNoSuchThread;
    }
    std::strncpy(name, thread->name.data(), size);
    if (size > 0) {
        name[size - 1] = '\0';
    }
    return 0;
}

const Registration registration{
    symbol("_pthread_create", createThread),         symbol("_pthread_join", joinThread),
    symbol("_pthread_detach", detachThread),         symbol("_pthread_self", currentThread),
    symbol("_pthread_equal", equalThreads),          symbol("_pthread_main_np", isMainThread),
    symbol("_pthread_mach_thread_np", portOfThread), symbol("_pthread_threadid_np", idOfThread),
    symbol("_pthread_setname_np", nameThread),       symbol("_pthread_getname_np", nameOfThread),
};

}  // namespace
}  // namespace system_library
