// Mutexes: a static initialiser only marks one, so it is made at its first use, by whichever thread
// comes first; one that is destroyed or was never made answers EINVAL.
#include <sched.h>

#include <atomic>
#include <new>

#include "errors.h"
#include "mutex.h"
#include "symbol_table.h"

namespace system_library {
namespace {

constexpr int kNormal = 0;
constexpr int kErrorCheck = 1;
constexpr int kRecursive = 2;

constexpr long kStaticNormal = 0x32AAABA7;
constexpr long kStaticErrorCheck = 0x32AAABA1;
constexpr long kStaticRecursive = 0x32AAABA2;
constexpr long kStaticFirstFit = 0x32AAABA3;
constexpr long kBeingMade = 0x4D55544D;
constexpr long kMade = 0x4D555458;
constexpr long kDestroyed = 0;

constexpr long kMutexAttributesSignature = 0x4D545841;

struct MutexAttributes {
    long signature;
    int type;
};

static_assert(sizeof(MutexAttributes) <= 16);

bool isStatic(long signature) {
    return signature == kStaticNormal || signature == kStaticErrorCheck ||
           signature == kStaticRecursive || signature == kStaticFirstFit;
}

int staticType(long signature) {
    if (signature == kStaticErrorCheck) {
        return kErrorCheck;
    }
    return signature == kStaticRecursive ? kRecursive : kNormal;
}

void make(Mutex& mutex, int type) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    int nativeType = PTHREAD_MUTEX_NORMAL;
    if (type == kErrorCheck) {
        nativeType = PTHREAD_MUTEX_ERRORCHECK;
    } else if (type == kRecursive) {
        nativeType = PTHREAD_MUTEX_RECURSIVE;
    }
    pthread_mutexattr_settype(&attributes, nativeType);
    pthread_mutex_init(&mutex.native, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

// The mutex beneath, made good if it was initialised statically; null for one that is no mutex.
pthread_mutex_t* usable(Mutex* mutex) {
    const std::atomic_ref<long> signature(mutex->signature);
    long seen = signature.load(std::memory_order_acquire);
    while (seen != kMade) {
        if (seen == kBeingMade) {
            sched_yield();
            seen = signature.load(std::memory_order_acquire);
        } else if (!isStatic(seen)) {
            return nullptr;
        } else if (const int type = staticType(seen);
                   signature.compare_exchange_strong(seen, kBeingMade)) {
            make(*mutex, type);
            signature.store(kMade, std::memory_order_release);
            seen = kMade;
        }
    }
    return &mutex->native;
}

template <int (*operation)(pthread_mutex_t*)>
int apply(Mutex* mutex) {
    pthread_mutex_t* const native = usable(mutex);
    return native == nullptr ? kErrorInvalid : macError(operation(native));
}

int initialise(Mutex* mutex, const MutexAttributes* attributes) {
    if (attributes != nullptr && attributes->signature != kMutexAttributesSignature) {
        return kErrorInvalid;
    }
    make(*mutex, attributes == nullptr ? kNormal : attributes->type);
    std::atomic_ref(mutex->signature).store(kMade, std::memory_order_release);
    return 0;
}

int destroy(Mutex* mutex) {
    const int error = apply<pthread_mutex_destroy>(mutex);
    if (error == 0) {
        std::atomic_ref(mutex->signature).store(kDestroyed, std::memory_order_release);
    }
    return error;
}

int initialiseAttributes(MutexAttributes* attributes) {
    new (attributes) MutexAttributes{kMutexAttributesSignature, kNormal};
    return 0;
}

int destroyAttributes(MutexAttributes* attributes) {
    if (attributes->signature != kMutexAttributesSignature) {
        return kErrorInvalid;
    }
    attributes->signature = kDestroyed;
    return 0;
}

int setType(MutexAttributes* attributes, int type) {
    if (attributes->signature != kMutexAttributesSignature || type < kNormal || type > kRecursive) {
        return kErrorInvalid;
    }
    attributes->type = type;
    return 0;
}

int typeOf(const MutexAttributes* attributes, int* type) {
    if (attributes->signature != kMutexAttributesSignature) {
        return kErrorInvalid;
    }
    *type = attributes->type;
    return 0;
}

const Registration registration{
    symbol("_pthread_mutex_init", initialise),
    symbol("_pthread_mutex_destroy", destroy),
    symbol("_pthread_mutex_lock", lockMutex),
    symbol("_pthread_mutex_trylock", apply<pthread_mutex_trylock>),
    symbol("_pthread_mutex_unlock", unlockMutex),
    symbol("_pthread_mutexattr_init", initialiseAttributes),
    symbol("_pthread_mutexattr_destroy", destroyAttributes),
    symbol("_pthread_mutexattr_settype", setType),
    symbol("_pthread_mutexattr_gettype", typeOf),
};

}  // namespace

int lockMutex(Mutex* mutex) {
    return apply<pthread_mutex_lock>(mutex);
}

int unlockMutex(Mutex* mutex) {
    return apply<pthread_mutex_unlock>(mutex);
}

}  // namespace system_library
