// A thread as a macOS program sees it, and the one lock under which threads wait for one another.
//
// One lock for the queue of every condition, every thread's end and every request to end one: a
// request then meets a thread either before it waits or asleep, never in between.
// Cancellation never unwinds: the thread's clean-up handlers run, then it jumps back to its first
// frame. So nothing of ours may hold a lock or own memory where endThread() is called.
//
// Threads: any; what belongs to a thread alone says so.
#ifndef THREAD_H
#define THREAD_H

#include <pthread.h>
#include <setjmp.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <mutex>

namespace system_library {

struct Condition;

struct CleanupHandler {
    void (*routine)(void*);
    void* argument;
    CleanupHandler* next;
};

constexpr int kCancelDisable = 0;
constexpr int kCancelEnable = 1;
constexpr int kCancelAsynchronous = 0;
constexpr int kCancelDeferred = 2;

// What a pthread_t points to. The first two members are read and written by the macros of
// macOS's <pthread.h>.
struct Thread {
    long signature = 0;
    CleanupHandler* cleanupStack = nullptr;

    // The thread's own.
    void* (*routine)(void*) = nullptr;
    void* argument = nullptr;
    jmp_buf firstFrame{};
    bool hasFirstFrame = false;  // not in a thread that was started outside the stand-in
    int keyRounds = 0;

    // Guarded by threadsLock().
    pthread_t native{};
    uint32_t id = 0;  // counts threads; also the name of the thread's port
    void* result = nullptr;
    int cancelState = kCancelEnable;
    int cancelType = kCancelDeferred;
    bool cancelAsked = false;
    bool ending = false;
    bool ended = false;
    bool detached = false;
    Thread* joiner = nullptr;
    Condition* waitingOn = nullptr;
    Thread* nextWaiter = nullptr;
    int references = 0;
    int wakeDescriptor = -1;         // an eventfd, once the thread has waited for a descriptor
    std::atomic<unsigned> wakes{0};  // a futex
    std::array<char, 64> name{};
};

static_assert(offsetof(Thread, signature) == 0);
static_assert(offsetof(Thread, cleanupStack) == 8);

std::mutex& threadsLock();

// The calling thread's record, made at once for a thread that was started elsewhere.
Thread& currentThread();

// Takes a new record among the threads; it ends when each of its references was given back.
void keepThread(Thread& thread, int references);
void releaseThread(Thread& thread);

// Makes the record the calling thread's own. One reference is given back when the thread is gone,
// after the destructors of its thread-local variables.
void adoptThread(Thread& thread);

// Whether the pointer is a thread that has not been joined, or detached and gone. Under the lock.
bool isThread(const Thread* thread);

enum class Wake { kWoken, kTimedOut, kInterrupted };

// Lets go of the lock and sleeps until unpark(), the deadline (of the clock; null: none) or a
// signal handler's run; spurious wakes count as kWoken. The lock is held again on return.
Wake park(Thread& self, std::unique_lock<std::mutex>& lock, clockid_t clock,
          const timespec* deadline);
void unpark(Thread& thread);  // under the lock

}  // namespace system_library

#endif
