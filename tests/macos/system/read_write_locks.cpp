// Read-write locks: 200 bytes whose first long says whether one lives; made at first use like a
// mutex when initialised statically.
#include <pthread.h>

#include <mutex>

#include "errors.h"
#include "symbol_table.h"

namespace system_library {
namespace {

constexpr long kStatic = 0x2DA8B3B4;
constexpr long kMade = 0x52574C4B;

struct ReadWriteLock {
    long signature;  // guarded by makingLock()
    pthread_rwlock_t native;
};

static_assert(sizeof(ReadWriteLock) <= 200);

std::mutex& makingLock() {
    static std::mutex lock;
    return lock;
}

pthread_rwlock_t* usable(ReadWriteLock* lock) {
    const std::lock_guard making(makingLock());
    if (lock->signature == kStatic) {
        pthread_rwlock_init(&lock->native, nullptr);
        lock->signature = kMade;
    }
    return lock->signature == kMade ? &lock->native : nullptr;
}

template <int (*operation)(pthread_rwlock_t*)>
int apply(ReadWriteLock* lock) {
    pthread_rwlock_t* const native = usable(lock);
    return native == nullptr ? kErrorInvalid : macError(operation(native));
}

int initialise(ReadWriteLock* lock, const void*) {
    const std::lock_guard making(makingLock());
    pthread_rwlock_init(&lock->native, nullptr);
    lock->signature = kMade;
    return 0;
}

int destroy(ReadWriteLock* lock) {
    const int error = apply<pthread_rwlock_destroy>(lock);
    const std::lock_guard making(makingLock());
    lock->signature = 0;
    return error;
}

const Registration registration{
    symbol("_pthread_rwlock_init", initialise),
    symbol("_pthread_rwlock_destroy", destroy),
    symbol("_pthread_rwlock_rdlock", apply<pthread_rwlock_rdlock>),
    symbol("_pthread_rwlock_tryrdlock", apply<pthread_rwlock_tryrdlock>),
    symbol("_pthread_rwlock_wrlock", apply<pthread_rwlock_wrlock>),
    symbol("_pthread_rwlock_trywrlock", apply<pthread_rwlock_trywrlock>),
    symbol("_pthread_rwlock_unlock", apply<pthread_rwlock_unlock>),
};

}  // namespace
}  // namespace system_library
