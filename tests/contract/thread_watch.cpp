#include "thread_watch.h"

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "next_definition.h"

#define NOT_INSTRUMENTED __attribute__((no_sanitize("address", "thread", "undefined")))

// Systems differ in whether they declare that a function of theirs throws nothing.
#define AS_DECLARED(call) noexcept(noexcept(call))

namespace {

constexpr auto kBound = std::chrono::seconds(10);

// Never destroyed: a thread may end while the program does.
struct Watch {
    std::mutex mutex;
    std::condition_variable changed;
    int failure = 0;
    bool held = false;
    size_t created = 0;
    size_t cancelled = 0;
    size_t alive = 0;
    bool detached = false;
    int scope = -1;

    static Watch& instance() {
        static Watch& watch = *new Watch;
        return watch;
    }
};

// Built-in atomics and a pointer found beforehand: see pthread_attr_destroy.
const pthread_attr_t* watchedAttributes = nullptr;
bool watchedDestroyed = false;
int (*const nextAttrDestroy)(pthread_attr_t*) =
    nextDefinition<int (*)(pthread_attr_t*)>("pthread_attr_destroy");

using Lock = std::lock_guard<std::mutex>;

Watch& watch() {
    return Watch::instance();
}

struct Start {
    void* (*routine)(void*);
    void* argument;
};

// A thread's end is seen by the destructor of a key: it runs at a cancellation on every system. The
// keys of one thread are destroyed in no order, but in rounds: a value that is set anew in the
// first one is left to the second, when what others keep for the thread is gone.
const char kRunning = 0;
const char kEnding = 0;

pthread_key_t countKey();

void endCount(void* state) {
    if (state == &kRunning) {
        pthread_setspecific(countKey(), &kEnding);
        return;
    }
    const Lock lock(watch().mutex);
    --watch().alive;
    watch().changed.notify_all();
}

pthread_key_t countKey() {
    static const pthread_key_t key = [] {
        pthread_key_t made{};
        if (pthread_key_create(&made, endCount) != 0) {
            std::fputs("contract tests: no key to count threads with\n", stderr);
            std::abort();
        }
        return made;
    }();
    return key;
}

// A thread that has not begun cannot be ended by cancellation either.
void awaitLetGo() {
    int before = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    {
        std::unique_lock<std::mutex> lock(watch().mutex);
        watch().changed.wait(lock, [] { return !watch().held; });
    }
    pthread_setcancelstate(before, nullptr);
}

void* runCounted(void* argument) {
    pthread_setspecific(countKey(), &kRunning);
    awaitLetGo();
    // No memory is left to a destructor, which need not run.
    const Start start = *std::unique_ptr<Start>(static_cast<Start*>(argument));
    return start.routine(start.argument);
}

int takeFailure() {
    const Lock lock(watch().mutex);
    const int failure = watch().failure;
    watch().failure = 0;
    return failure;
}

void countCreation(const pthread_attr_t* attributes) {
    int state = PTHREAD_CREATE_JOINABLE;
    if (attributes != nullptr) {
        pthread_attr_getdetachstate(attributes, &state);
    }
    const Lock lock(watch().mutex);
    ++watch().created;
    ++watch().alive;
    watch().detached = state == PTHREAD_CREATE_DETACHED;
}

}  // namespace

namespace thread_watch {

void reset() {
    const Lock lock(watch().mutex);
    watch().failure = 0;
    watch().held = false;
    watch().created = 0;
    watch().cancelled = 0;
    watch().scope = -1;
    __atomic_store_n(&watchedAttributes, nullptr, __ATOMIC_SEQ_CST);
    __atomic_store_n(&watchedDestroyed, false, __ATOMIC_SEQ_CST);
}

void failNextCreation(int code) {
    const Lock lock(watch().mutex);
    watch().failure = code;
}

void holdNext() {
    const Lock lock(watch().mutex);
    watch().held = true;
}

void letGo() {
    const Lock lock(watch().mutex);
    watch().held = false;
    watch().changed.notify_all();
}

size_t created() {
    const Lock lock(watch().mutex);
    return watch().created;
}

size_t cancelled() {
    const Lock lock(watch().mutex);
    return watch().cancelled;
}

bool lastWasDetached() {
    const Lock lock(watch().mutex);
    return watch().detached;
}

int lastScopeAsked() {
    const Lock lock(watch().mutex);
    return watch().scope;
}

bool attributesDestroyed() {
    return __atomic_load_n(&watchedDestroyed, __ATOMIC_SEQ_CST);
}

bool awaitNone() {
    std::unique_lock<std::mutex> lock(watch().mutex);
    return watch().changed.wait_for(lock, kBound, [] { return watch().alive == 0; });
}

}  // namespace thread_watch

INTERPOSED int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*routine)(void*), void* argument) {
    static const auto next = nextDefinition<decltype(&pthread_create)>("pthread_create");
    if (const int failure = takeFailure(); failure != 0) {
        *thread = pthread_self();
        return failure;
    }
    auto start = std::make_unique<Start>(Start{routine, argument});
    countCreation(attributes);
    const int result = next(thread, attributes, runCounted, start.get());
    if (result == 0) {
        start.release();
    } else {
        const Lock lock(watch().mutex);
        --watch().alive;
    }
    return result;
}

INTERPOSED int pthread_cancel(pthread_t thread) {
    static const auto next = nextDefinition<decltype(&pthread_cancel)>("pthread_cancel");
    {
        const Lock lock(watch().mutex);
        ++watch().cancelled;
    }
    return next(thread);
}

// A sanitizer's runtime calls this while it makes a thread, which may not run instrumented code
// yet.
INTERPOSED NOT_INSTRUMENTED int pthread_attr_destroy(pthread_attr_t* attributes)
    AS_DECLARED(pthread_attr_destroy(attributes)) {
    if (attributes == __atomic_load_n(&watchedAttributes, __ATOMIC_SEQ_CST)) {
        __atomic_store_n(&watchedDestroyed, true, __ATOMIC_SEQ_CST);
    }
    return nextAttrDestroy(attributes);
}

INTERPOSED int pthread_attr_setscope(pthread_attr_t* attributes, int scope)
    AS_DECLARED(pthread_attr_setscope(attributes, scope)) {
    static const auto next = nextDefinition<int (*)(pthread_attr_t*, int)>("pthread_attr_setscope");
    __atomic_store_n(&watchedDestroyed, false, __ATOMIC_SEQ_CST);
    __atomic_store_n(&watchedAttributes, attributes, __ATOMIC_SEQ_CST);
    const Lock lock(watch().mutex);
    watch().scope = scope;
    return next(attributes, scope);
}
