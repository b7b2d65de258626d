/*
 * The base of every object that the C API hands out as an opaque pointer.
 *
 * An object starts with one reference, its creator's. References are counted atomically, so any
 * thread may give one back; what else a thread may do to an object is the object's own matter.
 * Object is always the first and only polymorphic base of an API type, so that the address the
 * caller holds is the address of the Object in it.
 */
#pragma once

#include <CoreFoundation/CFBase.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace qor::corefoundation {

class Object {
  public:
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    void retain() const noexcept;

    /* The last release deletes the object. */
    void release() const noexcept;

    /* Whether there is one reference. If it is the caller's, nobody else uses the object, and what
     * others did with it is over. */
    bool isHeldOnce() const noexcept { return references_.load(std::memory_order_acquire) == 1; }

  protected:
    /* An object of process lifetime ignores retain and release, as a literal has no owner. */
    enum class Lifetime { counted, process };

    explicit Object(Lifetime lifetime = Lifetime::counted) noexcept : lifetime_(lifetime) {}
    virtual ~Object();

  private:
    bool isLive() const noexcept;

    // Atomic, as a plain store by the destructor could be left out: nothing may read it any more.
    std::atomic<std::uint32_t> mark_{kLiveMark};
    const Lifetime lifetime_;
    mutable std::atomic<std::int32_t> references_{1};

    static constexpr std::uint32_t kLiveMark = 0x6f626a21;
};

/* One reference, given back at the end of the scope. */
struct GiveBack {
    void operator()(const Object* object) const noexcept { object->release(); }
};
template <typename T>
using Reference = std::unique_ptr<T, GiveBack>;

/* A new object with one reference, or null if memory is short. */
template <typename T, typename... Arguments>
Reference<T> create(Arguments&&... arguments) noexcept {
    try {
        return Reference<T>(new T(std::forward<Arguments>(arguments)...));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace qor::corefoundation
