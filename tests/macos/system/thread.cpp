#include "thread.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <memory>
#include <unordered_set>

#include "errors.h"

namespace system_library {
namespace {

constexpr long kThreadSignature = 0x54485244;

thread_local Thread* current = nullptr;

std::unordered_set<const Thread*>& threads() {
    // Never destroyed: threads may outlive the static objects of the process.
    static auto& instance = *new std::unordered_set<const Thread*>;
    return instance;
}

// The images' thread-local variables are destroyed while the thread ends, by others' keys perhaps,
// and may still ask for the record: it goes in the last round that keys get.
void leaveThread(void* record);

pthread_key_t recordKey() {
    static const pthread_key_t key = [] {
        pthread_key_t made{};
        pthread_key_create(&made, leaveThread);
        return made;
    }();
    return key;
}

void leaveThread(void* record) {
    Thread& thread = *static_cast<Thread*>(record);
    if (++thread.keyRounds < PTHREAD_DESTRUCTOR_ITERATIONS) {
        pthread_setspecific(recordKey(), record);
        return;
    }
    current = nullptr;
    releaseThread(thread);
}

Thread& recordForeignThread() {
    auto record = std::make_unique<Thread>();
    record->native = pthread_self();
    record->detached = true;
    keepThread(*record, 1);
    Thread& thread = *record.release();
    adoptThread(thread);
    return thread;
}

// A child has but the thread that forked: the lock must not be another's at that moment.
bool keepLockOverForks() noexcept {
    const auto lock = [] { threadsLock().lock(); };
    const auto unlock = [] { threadsLock().unlock(); };
    return pthread_atfork(lock, unlock, unlock) == 0;
}

const bool lockKeptOverForks = keepLockOverForks();

}  // namespace

std::mutex& threadsLock() {
    static std::mutex lock;
    return lock;
}

void keepThread(Thread& thread, int references) {
    static uint32_t lastId = 0x100;
    const std::lock_guard lock(threadsLock());
    thread.signature = kThreadSignature;
    thread.references = references;
    thread.id = ++lastId;
    threads().insert(&thread);
}

void releaseThread(Thread& thread) {
    const std::lock_guard lock(threadsLock());
    if (--thread.references > 0) {
        return;
    }
    threads().erase(&thread);
    if (thread.wakeDescriptor >= 0) {
        close(thread.wakeDescriptor);
    }
    delete &thread;
}

void adoptThread(Thread& thread) {
    current = &thread;
    pthread_setspecific(recordKey(), &thread);
}

Thread& currentThread() {
    return current != nullptr ? *current : recordForeignThread();
}

bool isThread(const Thread* thread) {
    return threads().contains(thread) && !(thread->detached && thread->ended);
}

Wake park(Thread& self, std::unique_lock<std::mutex>& lock, clockid_t clock,
          const timespec* deadline) {
    static_assert(sizeof(self.wakes) == sizeof(uint32_t));
    if (deadline != nullptr && deadline->tv_sec < 0) {
        return Wake::kTimedOut;
    }
    const ErrnoKept errnoKept;
    const int operation =
        FUTEX_WAIT_BITSET_PRIVATE | (clock == CLOCK_REALTIME ? FUTEX_CLOCK_REALTIME : 0);
    const unsigned seen = self.wakes.load();
    lock.unlock();
    const long failed =
        syscall(SYS_futex, &self.wakes, operation, seen, deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
    const int error = failed == 0 ? 0 : errno;
    lock.lock();
    if (error == ETIMEDOUT) {
        return Wake::kTimedOut;
    }
    return error == EINTR ? Wake::kInterrupted : Wake::kWoken;
}

void unpark(Thread& thread) {
    const ErrnoKept errnoKept;
    thread.wakes.fetch_add(1);
    syscall(SYS_futex, &thread.wakes, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

}  // namespace system_library
