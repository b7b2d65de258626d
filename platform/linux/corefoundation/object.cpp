#include "corefoundation/object.h"

#include <cassert>

namespace qor::corefoundation {

Object::~Object() {
    mark_ = 0;
}

bool Object::isLive() const noexcept {
    return mark_.load(std::memory_order_relaxed) == kLiveMark &&
           references_.load(std::memory_order_relaxed) > 0;
}

void Object::retain() const noexcept {
    assert(isLive() && "not an object, or one that was already freed");
    if (lifetime_ == Lifetime::process)
        return;
    references_.fetch_add(1, std::memory_order_relaxed);
}

void Object::release() const noexcept {
    assert(isLive() && "not an object, or one that was already freed");
    if (lifetime_ == Lifetime::process)
        return;
    // Release orders this thread's last use before the deletion; acquire lets the deleting thread
    // see the last use of every other one.
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

}  // namespace qor::corefoundation

using qor::corefoundation::Object;

const CFAllocatorRef kCFAllocatorDefault = nullptr;

CFTypeRef CFRetain(CFTypeRef object) {
    static_cast<const Object*>(object)->retain();
    return object;
}

void CFRelease(CFTypeRef object) {
    static_cast<const Object*>(object)->release();
}
