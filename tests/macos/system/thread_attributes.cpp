// Thread attributes: other numbers for the detach states, a scope that can only be the system's,
// and EINVAL for an object that was not initialised.
#include "thread_attributes.h"

#include <new>

#include "errors.h"
#include "symbol_table.h"

namespace system_library {
namespace {

constexpr int kScopeSystem = 1;
constexpr int kScopeProcess = 2;
constexpr size_t kSmallestStack = 8192;
constexpr size_t kPage = 4096;

bool live(const ThreadAttributes* attributes) {
    return attributes->signature == kAttributesSignature;
}

int initialise(ThreadAttributes* attributes) {
    new (attributes) ThreadAttributes;
    return 0;
}

int destroy(ThreadAttributes* attributes) {
    if (!live(attributes)) {
        return kErrorInvalid;
    }
    attributes->signature = 0;
    return 0;
}

int setDetachState(ThreadAttributes* attributes, int state) {
    if (!live(attributes) || (state != kJoinable && state != kDetached)) {
        return kErrorInvalid;
    }
    attributes->detachState = state;
    return 0;
}

int detachState(const ThreadAttributes* attributes, int* state) {
    if (!live(attributes)) {
        return kErrorInvalid;
    }
    *state = attributes->detachState;
    return 0;
}

int setScope(ThreadAttributes* attributes, int scope) {
    if (!live(attributes)) {
        return kErrorInvalid;
    }
    if (scope == kScopeProcess) {
        return kErrorNotSupported;
    }
    return scope == kScopeSystem ? 0 : kErrorInvalid;
}

int scope(const ThreadAttributes* attributes, int* result) {
    if (!live(attributes)) {
        return kErrorInvalid;
    }
    *result = kScopeSystem;
    return 0;
}

int setStackSize(ThreadAttributes* attributes, size_t size) {
    if (!live(attributes) || size < kSmallestStack || size % kPage != 0) {
        return kErrorInvalid;
    }
    attributes->stackSize = size;
    return 0;
}

int stackSize(const ThreadAttributes* attributes, size_t* size) {
    if (!live(attributes)) {
        return kErrorInvalid;
    }
    *size = attributes->stackSize;
    return 0;
}

const Registration registration{
    symbol("_pthread_attr_init", initialise),
    symbol("_pthread_attr_destroy", destroy),
    symbol("_pthread_attr_setdetachstate", setDetachState),
    symbol("_pthread_attr_getdetachstate", detachState),
    symbol("_pthread_attr_setscope", setScope),
    symbol("_pthread_attr_getscope", scope),
    symbol("_pthread_attr_setstacksize", setStackSize),
    symbol("_pthread_attr_getstacksize", stackSize),
};

}  // namespace
}  // namespace system_library
