#include <CoreFoundation/CFArray.h>

#include <cassert>
#include <vector>

#include "corefoundation/object.h"

namespace {

const void* retainObject(CFAllocatorRef, const void* value) {
    return CFRetain(value);
}

void releaseObject(CFAllocatorRef, const void* value) {
    CFRelease(value);
}

}  // namespace

extern "C" const CFArrayCallBacks kCFTypeArrayCallBacks = {0, retainObject, releaseObject, nullptr,
                                                           nullptr};

struct __CFArray final : qor::corefoundation::Object {
    explicit __CFArray(const CFArrayCallBacks* given) noexcept
        : callBacks(given == nullptr ? CFArrayCallBacks{} : *given) {}

    explicit __CFArray(const __CFArray* other) : callBacks(other->callBacks) {
        values.reserve(other->values.size());
        for (const void* value : other->values)
            append(value);
    }

    ~__CFArray() override {
        for (const void* value : values)
            drop(value);
    }

    void append(const void* value) {
        values.push_back(value);  // before the retain, as it may run out of memory
        if (callBacks.retain != nullptr)
            values.back() = callBacks.retain(kCFAllocatorDefault, value);
    }

    void drop(const void* value) const {
        if (callBacks.release != nullptr)
            callBacks.release(kCFAllocatorDefault, value);
    }

    bool holds(CFIndex index) const {
        return index >= 0 && static_cast<std::size_t>(index) < values.size();
    }

    CFArrayCallBacks callBacks;
    std::vector<const void*> values;
};

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks* callBacks) {
    return qor::corefoundation::create<__CFArray>(callBacks).release();
}

CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef, CFIndex, CFArrayRef array) {
    return qor::corefoundation::create<__CFArray>(array).release();
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    return static_cast<CFIndex>(array->values.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    assert(array->holds(index));
    return array->holds(index) ? array->values[static_cast<std::size_t>(index)] : nullptr;
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value) {
    try {
        array->append(value);
    } catch (const std::bad_alloc&) {
        // The call has no way to report it; the array is as it was.
    }
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index) {
    assert(array->holds(index));
    if (!array->holds(index))
        return;
    const void* value = array->values[static_cast<std::size_t>(index)];
    array->values.erase(array->values.begin() + index);
    array->drop(value);
}
