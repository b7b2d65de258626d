// What a thread is to be like: macOS's pthread_attr_t, 64 bytes.
//
// Threads: any; an object belongs to who made it.
#ifndef THREAD_ATTRIBUTES_H
#define THREAD_ATTRIBUTES_H

#include <cstddef>

namespace system_library {

constexpr long kAttributesSignature = 0x54484441;
constexpr int kJoinable = 1;
constexpr int kDetached = 2;
constexpr size_t kDefaultStack = size_t{512} * 1024;

struct ThreadAttributes {
    long signature = kAttributesSignature;
    int detachState = kJoinable;
    size_t stackSize = kDefaultStack;  // bytes
};

static_assert(sizeof(ThreadAttributes) <= 64);

}  // namespace system_library

#endif
